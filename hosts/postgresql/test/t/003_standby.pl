# A standby, and a base backup, on a machine with another tree: the case that corrupts answers without a word elsewhere.
use strict;
use warnings;

use PostgreSQL::Test::Utils;
use Test::More;

use QbglServer;

my $CZECH = 'cs_cz/e01c.lco';
my $QUERY = q(SELECT count(*) FROM people WHERE name >= 'ch' AND name < 'i');

my $WORDS = q(SELECT md5(string_agg(word, ',')) FROM (SELECT word FROM words ORDER BY qbgl.key(word, 'cs_CZ.utf8')) words);

my $tree = new_tree('another', 'de_de/e01c.lco');
replace_locale($tree, 'de_de/e01c.lco', $CZECH);

my $primary = new_server('primary');
$primary->start;
fill_people($primary);
my $answer = $primary->safe_psql('postgres', $QUERY);
$primary->backup('backup');

my %standbys;
for my $name (qw(same another))
{
	my $standby = PostgreSQL::Test::Cluster->new($name);
	$standby->init_from_backup($primary, 'backup', has_streaming => 1);
	$standby->append_conf('postgresql.conf', "qbgl.directory = '$tree'") if $name eq 'another';
	$standby->start;
	$primary->wait_for_catchup($standby);
	$standbys{$name} = $standby;
}
is($standbys{same}->safe_psql('postgres', $QUERY), $answer, 'a standby with the same tree answers as the primary does');

my $another = $standbys{another};
for my $query (
	$QUERY,
	"SELECT name FROM people WHERE name = 'chata'",
	"SELECT name FROM people WHERE name LIKE 'ch%'",
	"SELECT word FROM words ORDER BY qbgl.key(word, 'cs_CZ.utf8') LIMIT 1",
	'SELECT count(*) FROM (SELECT name FROM people ORDER BY name) names',
	'SET enable_sort = off; SELECT name FROM people ORDER BY name LIMIT 1')
{
	like(refused($another, $query), qr/55000.*REINDEX/s, "a standby with another tree refuses: $query");
}
is($another->safe_psql('postgres', 'COPY people TO STDOUT') =~ tr/\n//, '15999', 'rows can be had without an order');
like(refused($another, "SET qbgl.allow_changed_order = on; SELECT qbgl.accept('cs_CZ.utf8')"), qr/ERROR/, 'it cannot accept the order');

# Promoted, it can: indexes are rebuilt, and only then the order is accepted.
$another->promote;
like(refused($another, $QUERY), qr/REINDEX/, 'a promoted standby refuses as well');
like(refused($another, "SELECT qbgl.accept('cs_CZ.utf8')"), qr/ERROR/, 'an order is not accepted while an index has the other');
is($another->safe_psql('postgres', 'SET qbgl.allow_changed_order = on; SELECT index FROM qbgl.check_indexes() ORDER BY index::text'),
	"people_name_idx\nwords_key_idx", 'both indexes are to be built anew');
# What no one can tell of, keys, is built anew by the acceptance itself.
$another->safe_psql('postgres', q(SET qbgl.allow_changed_order = on; REINDEX TABLE people; SELECT qbgl.accept('cs_CZ.utf8')));
isnt($another->safe_psql('postgres', $QUERY), $answer, 'after REINDEX it answers, in the other order');
is($another->safe_psql('postgres', "SET enable_sort = off; $WORDS"), $another->safe_psql('postgres', "SET enable_indexscan = off; $WORDS"),
	'the index of keys has the other order, too');
is($another->safe_psql('postgres', "CREATE EXTENSION amcheck; SELECT bt_index_check('people_name_idx', true)"), '', 'from a sound index');
$_->stop for values %standbys, $primary;
done_testing();
