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

# Without the setting such a name is an error, and nothing else is ICU's.
ask(q(CREATE EXTENSION qbgl; SELECT qbgl.add_locale('cs_CZ.utf8')));
like(refused($node, q(SELECT qbgl.add_locale('cs_CZ.utf8@icu'))), qr/55000.*ICU's, which is not in use.*HINT.*qbgl\.icu = on/s, 'nobody gets ICU unasked');
is(ask(qq(SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8'); $loaded)), "-1\nf", 'nor its library');
my $own = ask(q(SELECT qbgl.fingerprint('cs_CZ.utf8')));

# With it. 16,000 names of any length, with characters that no rule knows, in an index that workers build.
ask('ALTER DATABASE postgres SET qbgl.icu = on');
ask(q(SELECT qbgl.add_locale('cs_CZ.utf8@icu'), qbgl.add_locale('de_DE.utf8@icu', 1), qbgl.add_locale('sr_Latn_RS.utf8@icu');
	CREATE TABLE words (name qbgl.qtext COLLATE qbgl."cs_CZ@icu" PRIMARY KEY);
	INSERT INTO words VALUES ('hora'), ('chata'), ('🫨'), ('Čáp'), ('co');
	CREATE TABLE parts (name qbgl.qtext COLLATE qbgl."cs_CZ@icu") PARTITION BY RANGE (name); CREATE TABLE part PARTITION OF parts DEFAULT;
	CREATE TABLE names (name qbgl.qtext COLLATE qbgl."cs_CZ@icu");
	INSERT INTO names SELECT syllable || chr(200 + i * 7 % 20000) || i || repeat('y', i % 300)
	  FROM unnest('{cha,Ci,Če,ha,Iv,ži,zu,č}'::text[]) syllable, generate_series(1, 2000) i;
	CREATE EXTENSION amcheck;
	SET min_parallel_table_scan_size = 0; SET maintenance_work_mem = '64MB';
	ALTER TABLE names SET (parallel_workers = 2);
	CREATE INDEX names_name_idx ON names (name);
	ANALYZE names;));
my $by_key = ask(q(SELECT md5(string_agg(name::text, ',' ORDER BY qbgl.key(name::text, 'cs_CZ.utf8@icu'))) FROM names));
my $digest = q(SELECT md5(string_agg(name::text, ',')) FROM (SELECT name FROM names ORDER BY name) names);
my $parallel = 'SET parallel_setup_cost = 0; SET parallel_tuple_cost = 0; SET min_parallel_table_scan_size = 0; SET enable_indexscan = off; '
  . "SET enable_indexonlyscan = off; $digest";
for (
	[ q(SELECT string_agg(name::text, ' ') FROM (SELECT name FROM words ORDER BY name) words), '🫨 co Čáp hora chata' ],
	[ q(SELECT string_agg(name::text, ' ' ORDER BY name COLLATE qbgl."cs_CZ") FROM words), 'co Čáp hora chata 🫨' ],
	[ q(SELECT string_agg(name::text, ' ' ORDER BY name::text COLLATE "cs-CZ-x-icu") FROM words), '🫨 co Čáp hora chata' ],
	[ q(SET enable_seqscan = off; SELECT count(*) FROM words WHERE name LIKE 'c%'; SELECT count(*) FROM words WHERE name > 'h' AND name < 'i'), "2\n2" ],
	[ q(SELECT qbgl.upper('Straße', 'de_DE.utf8@icu'), upper('ß'::qbgl.qtext COLLATE qbgl."de_DE@icu_1"), qbgl.upper('ß', 'de_DE.utf8')), 'STRASSE|SS|ß' ],
	[ qq(SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8\@icu'), qbgl.fingerprint('cs_CZ.utf8') = '$own'; $loaded), "-1|t\nt" ],
	[ q(SELECT bt_index_parent_check('names_name_idx', true, true)), '' ],
	[ $parallel, $by_key ],
	[ "SET enable_seqscan = off; SET enable_sort = off; $digest", $by_key ])
{
	my ($query, $answer) = @$_;
	is(ask($query), $answer, $query);
}

# What may be wrong with the tree: the index is refused, and the reason is told.
(my $versionless = slurp_file("$tree/vrn/dll/qbgl_icu.so")) =~ s/glu_order_version/xlu_order_version/;
append_to_file("$tree/vrn/dll/versionless.so", $versionless);
my $query = q(SET enable_sort = off; SELECT name FROM names ORDER BY name LIMIT 1);
for (
	[ 'icudata', "packaged 71\n", qr/F0000.*icudata is for another version of ICU/s ],
	[ 'dllregistry', '', qr/F0000.*missing or damaged/s ],
	[ 'locmap', "serve *.utf8 LC_CTYPE\n", qr/F0000.*locmap does not serve it/s ],
	[ 'dllregistry', "versionless.so\n", qr/F0000.*cannot use.*does not tell the version/s ],
	[ 'dllregistry', "no.so\n", qr/F0000.*no\.so: cannot open shared object file.*HINT.*qbglc tree --icu/s ])
{
	my ($file, $content, $error) = @$_;
	my $sound = slurp_file("$tree/vrn/etc/$file");
	unlink "$tree/vrn/etc/$file";
	append_to_file("$tree/vrn/etc/$file", $content);
	like(refused($node, $query), $error, "an index is refused: $file");
	unlink "$tree/vrn/etc/$file";
	append_to_file("$tree/vrn/etc/$file", $sound);
}
ask(q(UPDATE qbgl.remembered_orders SET fingerprint = '0123456789abcdef' WHERE locale LIKE '%@icu'));
like(refused($node, $query), qr/55000.*has changed.*REINDEX/s, 'under rules of another ICU an index is refused');
ask(q(SET qbgl.allow_changed_order = on; REINDEX TABLE names; REINDEX TABLE words; SELECT qbgl.accept('cs_CZ.utf8@icu')));
is(ask($digest), $by_key, 'until the order is accepted');

# A session without ICU, beside others; one that changes its tree; locales that are loaded once, for all; no extension any more.
my $compare = q(SELECT qbgl.compare('h', 'ch', 'cs_CZ.utf8@icu'));
like(refused($node, "$compare; $query; SET qbgl.icu = off; $_"), qr/55000.*not in use/s, "a session without ICU gets no other order: $_")
  for $query, q(SELECT 'h'::qbgl.qtext < 'ch' COLLATE qbgl."cs_CZ@icu"), q(SET qbgl.icu = on; SELECT qbgl.compare('h', i::text, 'cs_CZ.utf8@icu'), set_config('qbgl.icu', 'off', false) FROM generate_series(1, 2) i);
ask(q(CREATE TABLE own AS SELECT name::text COLLATE "default" AS word, name COLLATE qbgl."cs_CZ" FROM words; CREATE INDEX own_key_idx ON own (qbgl.key(word, 'cs_CZ.utf8'));
	CREATE INDEX own_both_idx ON own (name, (name COLLATE qbgl."cs_CZ@icu")); CREATE INDEX names_upper_idx ON names (qbgl.upper(name::text COLLATE "C", 'cs_CZ.utf8@icu')); UPDATE qbgl.remembered_orders SET fingerprint = '0' WHERE locale = 'cs_CZ.utf8'));
my $check = q(SELECT string_agg(index || ' ' || right(reason, 15), ', ' ORDER BY index::text) FROM qbgl.check_indexes);
is(ask("SET qbgl.icu = off; $check('cs_CZ.utf8'); DROP INDEX own_both_idx; SELECT qbgl.accept('cs_CZ.utf8'); $check()"),
	"own_both_idx not in use here, own_key_idx o be built anew\n$own\n" . join(', ', map { "$_ not in use here" } qw(names_name_idx names_upper_idx words_pkey)), 'but has its own locales repaired');
like(refused($node, "$compare; SELECT qbgl.convert_to('dům', 'sjis')"), qr/22P05.*approximation/s, 'conversions stay what they are');
like(refused($node, "$compare; SET qbgl.directory = '/tmp'; $compare"), qr/55000.*cannot be ICU's.*has loaded ICU from/s, 'ICU is that of one tree');
$node->append_conf('postgresql.conf', "shared_preload_libraries = 'qbgl'\nqbgl.preload = 'cs_CZ.utf8\@icu'\nqbgl.icu = on");
$node->restart;
is(ask("$loaded; $parallel"), "t\n$by_key", 'a preloaded locale is there before it is asked for, and in workers');
is(ask("DROP EXTENSION qbgl CASCADE; CREATE EXTENSION qbgl; $compare"), '-1', 'the extension may go and come');

$node->stop;
done_testing();
