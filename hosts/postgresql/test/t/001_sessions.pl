# What may happen to a session: it runs out of time or memory, it is killed, the data are replaced under it.
use strict;
use warnings;

use PostgreSQL::Test::Utils;
use Test::More;
use Time::HiRes qw(time);

use QbglServer;

my $CZECH = 'cs_cz/e01c.lco';
my $tree = new_tree('tree', $CZECH, 'de_de/e01c.lco');
my $node = new_server('sessions', "qbgl.directory = '$tree'", 'restart_after_crash = on');
$node->start;
$node->safe_psql('postgres', 'CREATE EXTENSION qbgl');

# Time. Every row has work of its own, or the planner does all of it once and a fast machine is done before the timeout.
for my $work (
	"SELECT sum(qbgl.compare(md5(a::text), md5(b::text), 'cs_CZ.utf8')) FROM generate_series(1, 30000) a, generate_series(1, 30000) b",
	"SELECT count(DISTINCT qbgl.key(md5(a::text), 'cs_CZ.utf8')) FROM generate_series(1, 30000000) a",
	"SELECT sum(length(qbgl.convert_to(repeat('word ', 20000000 + a), 'ucs2'))) FROM generate_series(1, 1000000) a")
{
	my $start = time;
	my $error = refused($node, "SET statement_timeout = '200ms'; $work");
	like($error, qr/57014.*statement timeout/, 'a statement ends at its timeout: ' . substr($work, 0, 40));
	cmp_ok(time - $start, '<', 60, 'and long before it would be done');
}

# Memory: the address space of a backend is closed before it has loaded a locale, and opened again.
my $limited = $node->background_psql('postgres', on_error_stop => 0);
my $backend = $limited->query_safe('SELECT pg_backend_pid()');
$limited->query_safe("SELECT count(*) FROM qbgl.codesets()");
my ($pages) = split(' ', slurp_file("/proc/$backend/statm"));
system_or_bail('prlimit', "--pid=$backend", '--as=' . ($pages * 4096 + 200_000) . ':unlimited');
$limited->query("SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8')");
like($limited->{stderr}, qr/out of memory/, 'a locale for which there is no memory is an error');
$limited->{stderr} = '';
is($limited->query('SELECT 1 + 1'), '2', 'and the session goes on');
system_or_bail('prlimit', "--pid=$backend", '--as=unlimited:unlimited');
is($limited->query("SELECT qbgl.compare('ch', 'h', 'cs_CZ.utf8')"), '1', 'with memory the same session orders');
$limited->quit;

# A backend that is killed takes no other session's work with it but by the server's own restart.
my $killed = $node->background_psql('postgres', on_error_stop => 0);
$backend = $killed->query_safe("SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8') + pg_backend_pid() + 1");
kill 'KILL', $backend;
ok($node->poll_query_until('postgres', "SELECT qbgl.compare('ch', 'h', 'cs_CZ.utf8') = 1"), 'the server recovers from a killed backend');
eval { $killed->quit };

# Data that are replaced: who has loaded them goes on with them, who comes later has the new ones.
my $earlier = $node->background_psql('postgres');
is($earlier->query_safe("SELECT qbgl.compare('ch', 'h', 'cs_CZ.utf8')"), '1', 'a session has the Czech order');
replace_locale($tree, 'de_de/e01c.lco', $CZECH);
is($earlier->query_safe("SELECT qbgl.compare('ch', 'h', 'cs_CZ.utf8')"), '1', 'and keeps it when the object is replaced');
is($node->safe_psql('postgres', "SELECT qbgl.compare('ch', 'h', 'cs_CZ.utf8')"), '-1', 'a later session has the other');
append_to_file("$tree/vrn/lc11/broken", "no object\n");
rename("$tree/vrn/lc11/broken", "$tree/vrn/lc11/$CZECH");
like(refused($node, "SELECT qbgl.key('a', 'cs_CZ.utf8')"), qr/ERROR:\s+F0000|42704/, 'an object that is none is an error');
is($earlier->query_safe("SELECT qbgl.compare('ch', 'h', 'cs_CZ.utf8')"), '1', 'which the earlier session does not see');
$earlier->quit;

# An order that is accepted while a session is open that has the old data: what that one wrote would stand where no one looks for it.
replace_locale($tree, $CZECH, $CZECH);
$node->safe_psql('postgres', q(SELECT qbgl.add_locale('cs_CZ.utf8'); CREATE TABLE kept (name qbgl.qtext COLLATE qbgl."cs_CZ" PRIMARY KEY);
	INSERT INTO kept VALUES ('chata'), ('had'), ('ivan')));
my $open = $node->background_psql('postgres', on_error_stop => 0);
is($open->query_safe(q(SELECT count(*) FROM kept WHERE name OPERATOR(qbgl.>) 'h')), '3', 'a session works under the remembered order');
replace_locale($tree, 'de_de/e01c.lco', $CZECH);
$node->safe_psql('postgres', q(SET qbgl.allow_changed_order = on; REINDEX TABLE kept; SELECT qbgl.accept('cs_CZ.utf8')));
$open->query("INSERT INTO kept VALUES ('co')");
like($open->{stderr}, qr/has changed/, 'and is refused once another one is accepted');
$open->quit;

$node->stop;
done_testing();
