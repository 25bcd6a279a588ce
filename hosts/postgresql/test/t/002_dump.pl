# A dump, and an upgrade of the cluster: what they carry answers right from its first query on, and under other data it refuses.
use strict;
use warnings;

use PostgreSQL::Test::Utils;
use Test::More;

use QbglServer;

my $CZECH = 'cs_cz/e01c.lco';
my $QUESTION = q(SELECT count(*), min(name), max(name) FROM people WHERE name >= 'ch' AND name < 'i');
my $ORDER = q(SELECT md5(string_agg(name::text, ',' ORDER BY name)) FROM people);

my $old = new_server('old');
$old->start;
fill_people($old);
my $answer = $old->safe_psql('postgres', $QUESTION);
my $order = $old->safe_psql('postgres', $ORDER);
like($answer, qr/^\d{3,}\|ch/, 'names between ch and i');
is($old->safe_psql('postgres', "SET enable_indexscan = off; SET enable_bitmapscan = off; SET enable_indexonlyscan = off; $QUESTION"),
	$answer, 'are the same without the index');

# Plain, and in a database that is made anew by the dump itself.
my $dump = "$ENV{TESTDIR}/dump.sql";
$old->command_ok([ 'pg_dump', '-f', $dump, 'postgres' ], 'the database is dumped');
$old->safe_psql('postgres', 'CREATE DATABASE restored TEMPLATE template0');
$old->command_ok([ 'psql', '-X', '-q', '-v', 'ON_ERROR_STOP=1', '-d', 'restored', '-f', $dump ], 'and restored');
is($old->safe_psql('restored', $QUESTION), $answer, 'the restored database answers right from its first query on');
is($old->safe_psql('restored', $ORDER), $order, 'in the same order');
my ($explained) = $old->safe_psql('restored', "SET enable_seqscan = off; EXPLAIN (COSTS OFF) $QUESTION");
like($explained, qr/Index (Only )?Scan/, 'from its index');
is($old->safe_psql('restored', 'SELECT * FROM qbgl.check_indexes()'), '', 'all of whose indexes are of the present order');
unlike(refused($old, '\c restored' . "\nSELECT count(*) FROM people WHERE name::text < ('b' COLLATE qbgl.\"cs_CZ\")"),
	qr/^$/, 'and text\'s own operators keep refusing the collation');

# The dump is restored on a machine with other data: it is taken in, and not used.
my $tree = new_tree('other', 'de_de/e01c.lco');
replace_locale($tree, 'de_de/e01c.lco', $CZECH);
my $other = new_server('other', "qbgl.directory = '$tree'");
$other->start;
$other->psql('postgres', "\\i $dump");
like(refused($other, $QUESTION), qr/REINDEX/, 'a dump under other data is refused, and REINDEX is named');
$other->stop;

$old->stop;
my $new = new_server('new');
my $bin = $old->config_data('--bindir');
chdir($ENV{TESTDIR});
command_ok(
	[
		'pg_upgrade', '--no-sync', '-d', $old->data_dir, '-D', $new->data_dir, '-b', $bin, '-B', $bin,
		'-s', $new->host, '-p', $old->port, '-P', $new->port
	],
	'the cluster is upgraded');
$new->start;
is($new->safe_psql('postgres', $QUESTION), $answer, 'the upgraded cluster answers right from its first query on');
is($new->safe_psql('postgres', $ORDER), $order, 'in the same order');
$new->append_conf('postgresql.conf', "qbgl.directory = '$tree'");
$new->restart;
like(refused($new, $QUESTION), qr/REINDEX/, 'and under other data refuses');
$new->stop;
done_testing();
