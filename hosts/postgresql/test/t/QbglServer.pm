# Servers with the extension, and trees of data of their own.
package QbglServer;

use strict;
use warnings;

use Exporter 'import';
use File::Copy;
use File::Path qw(make_path);
use PostgreSQL::Test::Cluster;
use PostgreSQL::Test::Utils;

our @EXPORT = qw(new_server new_tree replace_locale fill_people refused);

# A cluster of UTF-8 that is not started yet; lines for its configuration may follow.
sub new_server
{
	my ($name, @settings) = @_;
	my $node = PostgreSQL::Test::Cluster->new($name);

	$node->init(allows_streaming => 1, extra => [ '--encoding=UTF8', '--locale=C.UTF-8' ]);
	$node->append_conf('postgresql.conf', "$_\n") for 'search_path = \'"$user", public, qbgl\'', @settings;
	return $node;
}

# Puts the object of one locale into the place of another, as an installation does: the file is a new one.
sub replace_locale
{
	my ($tree, $from, $to) = @_;
	my $folder = "$tree/vrn/lc11";

	make_path("$folder/" . substr($to, 0, 5));
	copy("$ENV{QBGL_TREE}/vrn/lc11/$from", "$folder/new") or die "$from: $!";
	rename("$folder/new", "$folder/$to") or die "$to: $!";
	return;
}

# A tree with the locales of some files ("cs_cz/e01c.lco"), without conversions.
sub new_tree
{
	my ($name, @locales) = @_;
	my $tree = "$ENV{TESTDIR}/$name";

	make_path("$tree/vrn/lc11", "$tree/vrn/cm3");
	copy("$ENV{QBGL_TREE}/vrn/cm3/registry", "$tree/vrn/cm3/registry") or die "registry: $!";
	copy("$ENV{QBGL_TREE}/vrn/lc11/default.lco", "$tree/vrn/lc11/default.lco") or die "default.lco: $!";
	replace_locale($tree, $_, $_) for @locales;
	return $tree;
}

# A table of 16,000 names in the Czech order, with an index, and one of texts with an index of keys.
sub fill_people
{
	my ($node) = @_;

	$node->safe_psql('postgres', q(
		CREATE EXTENSION qbgl;
		SELECT qbgl.add_locale('cs_CZ.utf8');
		CREATE TABLE people (name qbgl.qtext COLLATE qbgl."cs_CZ");
		INSERT INTO people SELECT syllable || i
		  FROM unnest('{cha,Ci,Če,ha,Iv,ži,zu,č}'::text[]) syllable, generate_series(1, 2000) i;
		CREATE INDEX people_name_idx ON people (name);
		CREATE TABLE words AS SELECT name::text COLLATE "default" AS word FROM people;
		CREATE INDEX words_key_idx ON words (qbgl.key(word, 'cs_CZ.utf8'));
		ANALYZE people;
		ANALYZE words;));
	return;
}

# What the server says when it refuses a statement; empty where it does not.
sub refused
{
	my ($node, $statement) = @_;
	my ($result, $output, $error) = $node->psql('postgres', "\\set VERBOSITY verbose\n$statement");

	return $result == 0 ? '' : $error;
}

1;
