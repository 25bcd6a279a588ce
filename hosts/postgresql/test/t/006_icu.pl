# Locales that ICU serves, beside the library's own: who gets them, and what refuses an index of theirs.
use strict;
use warnings;

use PostgreSQL::Test::Utils;
use Test::More;

use QbglServer;

my $tree = "$ENV{TESTDIR}/icu-quorbane";
my $node = new_server('icu', "qbgl.directory = '$tree'", 'max_parallel_workers_per_gather = 2', "jit = off");
$node->start;
sub ask { return $node->safe_psql('postgres', shift); }
my $loaded = q(SELECT count(*) > 0 FROM regexp_split_to_table(pg_read_file('/proc/self/maps'), '\n') line WHERE line LIKE '%qbgl_icu.so%');
my $sorted = q(SELECT string_agg(name::text, ' ') FROM (SELECT name FROM names ORDER BY name) names);
my $digest = q(SELECT md5(string_agg(name::text, ',')) FROM);

# Without the setting such a name is an error, and nothing else is ICU's.
ask(q(CREATE EXTENSION qbgl; SELECT qbgl.add_locale('cs_CZ.utf8')));
like(refused($node, q(SELECT qbgl.add_locale('cs_CZ.utf8@icu'))), qr/55000.*ICU's, which is not in use.*HINT.*qbgl\.icu = on/s,
	'nobody gets ICU without asking');
is(ask(qq(SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8'); $loaded)), "-1\nf", 'and whoever does not ask never has it');
my $own = ask(q(SELECT qbgl.fingerprint('cs_CZ.utf8')));

# With it.
ask('ALTER DATABASE postgres SET qbgl.icu = on');
ask(q(
	SELECT qbgl.add_locale('cs_CZ.utf8@icu'), qbgl.add_locale('de_DE.utf8@icu', 1), qbgl.add_locale('sr_Latn_RS.utf8@icu');
	CREATE TABLE names (name qbgl.qtext COLLATE qbgl."cs_CZ@icu" PRIMARY KEY);
	INSERT INTO names VALUES ('hora'), ('chata'), ('🫨'), ('Čáp'), ('co');));
for (
	[ $sorted, '🫨 co Čáp hora chata' ],
	[ q(SELECT string_agg(name::text, ' ' ORDER BY name COLLATE qbgl."cs_CZ") FROM names), 'co Čáp hora chata 🫨' ],
	[ q(SELECT string_agg(name::text, ' ' ORDER BY name::text COLLATE "cs-CZ-x-icu") FROM names), '🫨 co Čáp hora chata' ],
	[ q(SET enable_seqscan = off; SELECT count(*) FROM names WHERE name > 'h' AND name < 'i'), '2' ],
	[ q(SELECT count(*) FROM names WHERE name LIKE 'c%'), '2' ],
	[ q(SELECT qbgl.upper('Straße', 'de_DE.utf8@icu'), upper('ß'::qbgl.qtext COLLATE qbgl."de_DE@icu_1"), qbgl.upper('ß', 'de_DE.utf8')), 'STRASSE|SS|ß' ],
	[ qq(SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8\@icu'), qbgl.fingerprint('cs_CZ.utf8') = '$own'; $loaded), "-1|t\nt" ],
	[ q(SELECT qbgl.convert_to('dům', '8859-2')), '\x64f96d' ],
	[ q(DROP EXTENSION qbgl CASCADE; CREATE EXTENSION qbgl; SELECT qbgl.compare('h', 'ch', 'cs_CZ.utf8@icu')), '-1' ])
{
	my ($query, $answer) = @$_;
	is(ask($query), $answer, $query);
}

# An index of 16,000 names by hand and by workers; of texts with bytes that no rule knows, and of long ones.
ask(q(
	SELECT qbgl.add_locale('cs_CZ.utf8@icu');
	DROP TABLE names;
	CREATE TABLE names (name qbgl.qtext COLLATE qbgl."cs_CZ@icu");
	INSERT INTO names SELECT syllable || chr(200 + i * 7 % 20000) || i || repeat('y', i % 300)
	  FROM unnest('{cha,Ci,Če,ha,Iv,ži,zu,č}'::text[]) syllable, generate_series(1, 2000) i;
	CREATE EXTENSION amcheck;
	SET min_parallel_table_scan_size = 0; SET maintenance_work_mem = '64MB';
	ALTER TABLE names SET (parallel_workers = 2);
	CREATE INDEX names_name_idx ON names (name);
	ANALYZE names;));
is(ask(q(SELECT bt_index_parent_check('names_name_idx', true, true))), '', 'an index that workers built is sound');
my $parallel = 'SET parallel_setup_cost = 0; SET parallel_tuple_cost = 0; SET min_parallel_table_scan_size = 0; SET enable_indexscan = off; '
  . 'SET enable_indexonlyscan = off;';
my $by_key = ask(q(SELECT md5(string_agg(name::text, ',' ORDER BY qbgl.key(name::text, 'cs_CZ.utf8@icu'))) FROM names));
is(ask("$parallel $digest (SELECT name FROM names ORDER BY name) names"), $by_key, 'workers sort as the keys do');
is(ask("SET enable_seqscan = off; SET enable_sort = off; $digest (SELECT name FROM names ORDER BY name) names"), $by_key, 'and so does the index');

# Loaded once, for all.
$node->append_conf('postgresql.conf', "shared_preload_libraries = 'qbgl'\nqbgl.preload = 'cs_CZ.utf8\@icu'\nqbgl.icu = on");
$node->restart;
is(ask($loaded), 't', 'a preloaded locale is there before it is asked for');
is(ask("$parallel $digest (SELECT name FROM names ORDER BY name) names"), $by_key, 'and is the same');
$node->append_conf('postgresql.conf', "shared_preload_libraries = ''\nqbgl.preload = ''");
$node->restart;

# What may be wrong with the tree: the index is refused, and the reason is told.
my $query = q(SET enable_sort = off; SELECT name FROM names ORDER BY name LIMIT 1);
for (
	[ "$tree/vrn/etc/icudata", "packaged 71\n", qr/F0000.*icudata is for another version of ICU/s ],
	[ "$tree/vrn/etc/dllregistry", '', qr/F0000.*missing or damaged/s ],
	[ "$tree/vrn/etc/locmap", "serve *.utf8 LC_CTYPE\n", qr/F0000.*locmap does not serve it/s ],
	[ "$tree/vrn/etc/dllregistry", "no.so\n", qr/F0000.*no\.so: cannot open shared object file.*HINT.*qbglc tree --icu/s ])
{
	my ($file, $content, $error) = @$_;
	my $sound = slurp_file($file);
	unlink $file;
	append_to_file($file, $content);
	like(refused($node, $query), $error, "an index is refused: $file");
	unlink $file;
	append_to_file($file, $sound);
}
isnt(ask($query), '', 'with what was there it is not');
ask(q(UPDATE qbgl.remembered_orders SET fingerprint = '0123456789abcdef' WHERE locale LIKE '%@icu'));
like(refused($node, $query), qr/55000.*has changed.*REINDEX/s, 'under rules of another ICU an index is refused');
ask(q(SET qbgl.allow_changed_order = on; REINDEX TABLE names; SELECT qbgl.accept('cs_CZ.utf8@icu')));
isnt(ask($query), '', 'until the order is accepted');

# A session that changes its mind, or the tree.
like(refused($node, "SET qbgl.icu = off; $query"), qr/55000.*not in use/s, 'a session without ICU gets no other order');
is(ask("SELECT qbgl.add_locale('sk_SK.utf8'); SET qbgl.icu = off; SELECT qbgl.add_locale('pl_PL.utf8')"), "\"sk_SK\"\n\"pl_PL\"",
	'but all others');
like(refused($node, "SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8\@icu'); SET qbgl.directory = '/tmp'; SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8\@icu')"),
	qr/55000.*cannot be ICU's.*has loaded ICU from/s, 'ICU is that of one tree');

$node->stop;
done_testing();
