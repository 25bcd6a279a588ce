# Partitions on other servers: who sorts, who is asked, and a server with another order.
use strict;
use warnings;

use PostgreSQL::Test::Utils;
use Test::More;

use QbglServer;

my $CZECH = 'cs_cz/e01c.lco';
my $ORDER = 'SELECT name FROM parts ORDER BY name';

my $tree = new_tree('another', 'de_de/e01c.lco');
replace_locale($tree, 'de_de/e01c.lco', $CZECH);
my $node = new_server('node');
my $far = new_server('far');
for my $server ($node, $far)
{
	$server->start;
	fill_people($server);
}
$node->safe_psql('postgres', q(CREATE EXTENSION postgres_fdw; CREATE TABLE parts (name qbgl.qtext COLLATE qbgl."cs_CZ") PARTITION BY HASH (name)));
my $options = $node->safe_psql('postgres', "SELECT qbgl.foreign_options('cs_CZ.utf8')");
$node->safe_psql('postgres', sprintf(q(
	CREATE SERVER far FOREIGN DATA WRAPPER postgres_fdw OPTIONS (host '%s', port '%s', dbname 'postgres', extensions 'qbgl',
	  options '%s', use_remote_estimate 'true', batch_size '1000');
	CREATE USER MAPPING FOR CURRENT_USER SERVER far;
	CREATE FOREIGN TABLE parts_far PARTITION OF parts FOR VALUES WITH (MODULUS 2, REMAINDER 0) SERVER far OPTIONS (table_name 'far_names');
	CREATE TABLE parts_near PARTITION OF parts FOR VALUES WITH (MODULUS 2, REMAINDER 1);
	CREATE INDEX ON parts_near (name);), $far->host, $far->port, $options));
$far->safe_psql('postgres', 'CREATE TABLE far_names (name qbgl.qtext COLLATE qbgl."cs_CZ"); CREATE INDEX ON far_names (name)');
$node->safe_psql('postgres', 'INSERT INTO parts SELECT name FROM people; ANALYZE parts; ANALYZE parts_near');
$far->safe_psql('postgres', 'ANALYZE far_names');

my $plan = $node->safe_psql('postgres', "SET enable_sort = off; EXPLAIN (VERBOSE, COSTS OFF) $ORDER");
like($plan, qr/Merge Append.*Foreign Scan.*Remote SQL: SELECT name FROM public.far_names ORDER BY name ASC/s, 'each server sorts its own');
unlike($plan, qr/-> +Sort/, 'and nothing is sorted above');
is($node->safe_psql('postgres', $ORDER), $node->safe_psql('postgres', 'SELECT name FROM people ORDER BY name'), 'merged, the order is that of one table');
like($node->safe_psql('postgres', "EXPLAIN (VERBOSE, COSTS OFF) SELECT * FROM parts_far WHERE name >= 'ch' AND name < 'i'"),
	qr/Remote SQL: .*WHERE.*OPERATOR\(qbgl\.>=\).*OPERATOR\(qbgl\.<\)/, 'comparisons go to the other server');

# The other server gets other data.
$far->append_conf('postgresql.conf', "qbgl.directory = '$tree'");
$far->restart;
for my $query ($ORDER, 'SELECT name FROM parts_far ORDER BY name LIMIT 1', "SELECT count(*) FROM parts_far WHERE name > 'ch'")
{
	like(refused($node, $query), qr/order of the locale "cs_CZ.utf8"/, "a server with another order is refused: $query");
}
# Also when that server has accepted its own order.
$far->safe_psql('postgres', q(SET qbgl.allow_changed_order = on; REINDEX TABLE people; REINDEX TABLE far_names; SELECT qbgl.accept('cs_CZ.utf8')));
is($far->safe_psql('postgres', "SELECT count(*) > 0 FROM far_names WHERE name > 'ch'"), 't', 'it serves others under its own order');
like(refused($node, $_), qr/not the one that is required/, "but not a connection that requires another: $_")
  for $ORDER, 'SET enable_seqscan = off; SELECT name FROM parts_far ORDER BY name LIMIT 1';

$_->stop for $node, $far;
done_testing();
