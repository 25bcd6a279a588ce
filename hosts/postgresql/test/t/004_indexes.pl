# Indexes after random work, partitions, and plans with parallel workers, each compared with the keys' bytes.
use strict;
use warnings;

use PostgreSQL::Test::Utils;
use Test::More;

use QbglServer;

my $node = new_server('indexes', "autovacuum = off", 'max_parallel_workers_per_gather = 2');
$node->start;
fill_people($node);
$node->safe_psql('postgres', 'CREATE EXTENSION amcheck; CREATE INDEX people_hash ON people USING hash (name); ANALYZE people');
sub ask { return $node->safe_psql('postgres', shift); }
sub digest { return "SELECT md5(string_agg(name::text, ',' ORDER BY $_[0])) FROM $_[1]"; }

# Random inserts, updates and deletes; texts of bytes that no rule knows among them.
for my $round (1 .. 5)
{
	ask(qq(
		SELECT setseed(0.$round);
		INSERT INTO people (name) SELECT chr(97 + (random() * 25)::int) || chr((random() * 40000)::int + 200) || md5(random()::text)
		  FROM generate_series(1, 2000);
		INSERT INTO people (name) SELECT chr(128512 + (random() * 70)::int) || repeat('x', (random() * 300)::int) FROM generate_series(1, 500);
		UPDATE people SET name = 'ch' || name WHERE random() < 0.1;
		DELETE FROM people WHERE random() < 0.1;));
	ask('VACUUM people') if $round == 3;
	is(ask("SELECT bt_index_parent_check('people_name_idx', true, true)"), '', "the index is sound after round $round");
}
my $by_key = ask(digest("qbgl.key(name::text, 'cs_CZ.utf8')", 'people'));
is(ask('SET enable_seqscan = off; SET enable_sort = off; ' . "SELECT md5(string_agg(name::text, ',')) FROM (SELECT name FROM people ORDER BY name) names"),
	$by_key, 'its order is that of the keys');
is(ask('SET enable_indexscan = off; SET enable_indexonlyscan = off; ' . "SELECT md5(string_agg(name::text, ',')) FROM (SELECT name FROM people ORDER BY name) names"),
	$by_key, 'and so is that of a sort');
is(ask("SET work_mem = '64kB'; SET enable_indexscan = off; SET enable_indexonlyscan = off; SELECT md5(string_agg(name::text, ',')) FROM (SELECT name FROM people ORDER BY name) names"),
	$by_key, 'and of one on disk');

# Parallel workers.
my $parallel = 'SET parallel_setup_cost = 0; SET parallel_tuple_cost = 0; SET min_parallel_table_scan_size = 0; SET enable_indexscan = off; '
  . 'SET enable_indexonlyscan = off;';
for ([ 'SELECT name FROM people ORDER BY name', qr/Gather Merge.*Parallel Seq Scan/s ],
	[ "SELECT count(*) FROM people WHERE name > 'ch'", qr/Partial Aggregate.*Parallel Seq Scan/s ],
	[ "SELECT count(*) FROM people WHERE qbgl.compare(name::text, 'ch', 'cs_CZ.utf8') > 0", qr/Partial Aggregate.*Parallel Seq Scan/s ])
{
	my ($query, $plan) = @$_;
	like(ask("$parallel EXPLAIN (COSTS OFF) $query"), $plan, "workers take part: $query");
	is(ask("$parallel $query"), ask("SET max_parallel_workers_per_gather = 0; $query"), 'and change nothing');
}
ask("$parallel SET maintenance_work_mem = '64MB'; SET min_parallel_index_scan_size = 0; ALTER TABLE people SET (parallel_workers = 2); "
	  . 'CREATE INDEX people_parallel ON people (name)');
is(ask("SELECT bt_index_parent_check('people_parallel', true, true)"), '', 'an index that workers built is sound');

# Partitions.
ask(q(
	CREATE TABLE ranges (name qbgl.qtext COLLATE qbgl."cs_CZ") PARTITION BY RANGE (name);
	CREATE TABLE ranges_1 PARTITION OF ranges FOR VALUES FROM (MINVALUE) TO ('ch');
	CREATE TABLE ranges_2 PARTITION OF ranges FOR VALUES FROM ('ch') TO ('p');
	CREATE TABLE ranges_3 PARTITION OF ranges FOR VALUES FROM ('p') TO (MAXVALUE);
	CREATE TABLE hashes (name qbgl.qtext COLLATE qbgl."cs_CZ") PARTITION BY HASH (name);
	CREATE TABLE hashes_0 PARTITION OF hashes FOR VALUES WITH (MODULUS 2, REMAINDER 0);
	CREATE TABLE hashes_1 PARTITION OF hashes FOR VALUES WITH (MODULUS 2, REMAINDER 1);
	INSERT INTO ranges SELECT name FROM people;
	INSERT INTO hashes SELECT name FROM people;
	CREATE INDEX ON ranges (name);
	ANALYZE ranges;));
for my $table (qw(ranges hashes))
{
	is(ask("SELECT md5(string_agg(name::text, ',')) FROM (SELECT name FROM $table ORDER BY name) names"), $by_key, "$table are in order");
}
is(ask("SELECT count(*) FROM ranges_2 WHERE name < 'h'"), '0', 'in the range from ch nothing is before h');
like(ask("EXPLAIN (COSTS OFF) SELECT * FROM ranges WHERE name >= 'ch' AND name < 'i'"), qr/^(?!.*ranges_[13]).*ranges_2/s, 'a range of names reads one partition');
like(ask("EXPLAIN (COSTS OFF) SELECT * FROM hashes WHERE name = 'chata'"), qr/^(?!.*hashes_0.*hashes_1).*hashes_\d/s, 'one name reads one partition');
unlike(ask('SET enable_seqscan = off; EXPLAIN (COSTS OFF) SELECT * FROM ranges ORDER BY name'), qr/Sort|Merge Append/, 'ranges follow one another');

$node->stop;
done_testing();
