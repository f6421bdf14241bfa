#!/usr/bin/perl
# Contacts as XML: every field, every encoding, whatever a contact holds. Each document is held against the
# schema by xmllint. Run as: vcard2xml_test.pl --scripts FOLDER --docs FOLDER
use strict;
use warnings;

use DB_File;
use File::Temp ();
use Getopt::Long qw(GetOptions);
use Test::More;

my ($scripts, $docs);
die "--scripts FOLDER or --docs FOLDER is missing\n"
    if !GetOptions('scripts=s' => \$scripts, 'docs=s' => \$docs) || !defined $scripts || !defined $docs;
my $folder = File::Temp->newdir;

sub bytes_of { my ($path) = @_; open my $file, '<:raw', $path or die "$path: $!"; local $/; return scalar <$file> }
sub put_bytes { my ($path, $bytes) = @_; open my $file, '>:raw', $path or die "$path: $!"; print $file $bytes }

# The document for an address book in a file, checked by the schema.
sub convert_file {
    my ($path) = @_;
    my $output = `perl $scripts/vcard2xml.pl < '$path' 2> $folder/messages`;
    is $?, 0, 'the script ends well';
    put_bytes("$folder/out.xml", $output);
    is `xmllint --noout --schema $docs/contacts.xsd $folder/out.xml 2>&1`, "$folder/out.xml validates\n", 'the schema holds';
    return $output;
}

sub convert {
    my (@lines) = @_;
    put_bytes("$folder/book", join('', map { "$_\r\n" } 'BEGIN:VCARD', 'VERSION:3.0', @lines, 'END:VCARD'));
    return convert_file("$folder/book");
}

sub contact { my ($inner) = @_; return qq(<?xml version="1.0" encoding="UTF-8"?>\n<contacts>\n  <contact>\n$inner  </contact>\n</contacts>\n) }

is convert(
    'FN:Ann Lee', 'N:Lee;Ann;;;', 'EMAIL;TYPE=INTERNET:ann@home.example', 'EMAIL;TYPE=INTERNET:ann.lee@work.example',
    'TEL;TYPE=CELL:+49 170 5550100', 'TEL;TYPE=WORK,FAX:+49 30 5550101',
    'ADR;TYPE=HOME:;;12 Main Street;Berlin;;10115;Germany', 'ORG:Lee & Sons;Sales', 'TITLE:Manager',
    'BDAY:1970-05-10', 'URL:http://ann.example/', 'NOTE:Likes tea.\nNot before nine.'
), bytes_of("$docs/contacts.md") =~ s/\A.*?```xml\n(.*?)```.*\z/$1/sr, 'the example of the description';

is convert('FN:a\, b\; c\\\\d <e> "f" & \'g\''),
    contact("    <displayName>a, b; c\\d &lt;e&gt; &quot;f&quot; &amp; &apos;g&apos;</displayName>\n"), 'escapes';
is convert('N:a\;b;c'), contact("    <name>\n      <family>a;b</family>\n      <given>c</given>\n    </name>\n"),
    'a semicolon inside a part';
is convert('ORG:Company;Sales;East'), contact("    <organization>\n      <company>Company</company>\n"
    . "      <unit>Sales</unit>\n      <unit>East</unit>\n    </organization>\n"), 'every level of an organization';
is convert('FN:', 'N:;;;;', 'TEL:', 'X-OTHER:x'), contact(''), 'what is empty or unknown is left out';

my %kinds = ('TYPE=HOME' => 'home', 'TYPE=WORK,VOICE' => 'work', 'TYPE=HOME;TYPE=FAX' => 'homefax', 'FAX' => 'fax',
    'PAGER' => 'pager', 'CAR' => 'car', 'ISDN' => 'isdn', 'HOME;CELL' => 'cell', 'X=y' => 'other');
for my $types (sort keys %kinds) {
    is convert("TEL;$types:1"), contact(qq(    <phone type="$kinds{$types}">1</phone>\n)), "a phone of $types";
}
for my $types ('TYPE="HOME,FAX"', 'TYPE="HOME","FAX"', 'X="a;b";TYPE="FAX,HOME,VOICE"') {
    is convert("TEL;$types:1"), contact(qq(    <phone type="homefax">1</phone>\n)), "a phone of $types";
}
is convert('ADR;TYPE=WORK:box;ext;street;city;region;code;land'),
    contact('    <address type="work">' . "\n" . join('', map { "      <$_->[0]>$_->[1]</$_->[0]>\n" } (
        [ postOfficeBox => 'box' ], [ extended => 'ext' ], [ street => 'street' ], [ city => 'city' ],
        [ region => 'region' ], [ postalCode => 'code' ], [ country => 'land' ])) . "    </address>\n"), 'an address';

is convert("FN:\xE6\x9C\x8B\xE5\x8F\x8B"), contact("    <displayName>\xE6\x9C\x8B\xE5\x8F\x8B</displayName>\n"), 'UTF-8';
is convert("FN:\xC5\xF3\xD3\xD1"), contact("    <displayName>\xE6\x9C\x8B\xE5\x8F\x8B</displayName>\n"), 'GB2312';
is convert("FN:\xE9F;\x81\x5C"), contact("    <displayName>\xE9\x95\x95;\xE4\xB9\x97</displayName>\n"), 'characters beyond GB2312';
is convert("FN:a\xFF"), contact("    <displayName>a\xEF\xBF\xBD</displayName>\n"), 'neither';
is convert("FN:Zo\xEB"), contact("    <displayName>Zo\xEF\xBF\xBD</displayName>\n"), 'half a character';
is convert("FN:a\xED\xA0\x80\x0B\x1Bb"), contact("    <displayName>ab</displayName>\n"), 'half a pair and control characters';
is convert("FN:a\xEF\xBF\xBFb\tc"), contact("    <displayName>ab\tc</displayName>\n"), 'a code that is no character';
is convert('NOTE;ENCODING=QUOTED-PRINTABLE:a=3Db=0Ac'), contact("    <note>a=b\nc</note>\n"), 'quoted-printable';
is convert("FN;CHARSET=ISO-8859-1:M\xFCller", "N;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCller;J=F6rg"),
    contact("    <displayName>M\xC3\xBCller</displayName>\n    <name>\n      <family>M\xC3\xBCller</family>\n"
        . "      <given>J\xC3\xB6rg</given>\n    </name>\n"), 'a character set that is told';
is convert('NOTE;ENCODING=b:TGlrZXMgdGVhLg=='), contact("    <note>Likes tea.</note>\n"), 'base64';
is convert('FN:</contact></contacts><!--'),
    contact("    <displayName>&lt;/contact&gt;&lt;/contacts&gt;&lt;!--</displayName>\n"), 'a hostile name';

tie my %book, 'DB_File', "$folder/book.db", O_CREAT | O_RDWR, 0600, $DB_HASH or die;
$book{"PAS-DB-VERSION\0"} = "0.2\0";
$book{"id-$_\0"} = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Person $_\r\nEND:VCARD\0" for 1 .. 50;
untie %book;
my $output = convert_file("$folder/book.db");
is scalar(() = $output =~ /<contact>/g), 50, 'one element for each contact of a real address book';

ok system("perl $scripts/vcard2xml.pl < '$folder/book.db' > /dev/full 2> $folder/messages") != 0, 'a full disk is a failure';
like bytes_of("$folder/messages"), qr/^address book: the contacts could not be written: /, 'and is said';

put_bytes("$folder/empty", '');
is convert_file("$folder/empty"), qq(<?xml version="1.0" encoding="UTF-8"?>\n<contacts>\n</contacts>\n), 'no contacts';

done_testing;
