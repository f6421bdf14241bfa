#!/usr/bin/perl
# The contact conversion: books made by DB_File and by Berkeley DB's own tools, of every page size and byte
# order, whole and damaged. Run as: address_book_test.pl --scripts FOLDER
use strict;
use warnings;

use Cwd ();
use DB_File;
use File::Temp ();
use Getopt::Long qw(GetOptions);
use Test::More;

my $scripts;
die "--scripts FOLDER is missing\n" if !GetOptions('scripts=s' => \$scripts) || !defined $scripts;
$scripts = Cwd::abs_path($scripts);
my $folder  = File::Temp->newdir;
my $book    = "$folder/addressbook.db";

sub card {
    my ($number, $note) = @_;
    my $text = "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Person $number\r\n";
    $text .= "NOTE:$note\r\n" if $note;
    return $text . "END:VCARD";
}

# Every seventh contact has a note that needs pages of its own.
sub note_of { my ($number) = @_; return $number % 7 ? '' : 'x' x 20000 }

sub make_book {
    my (%how) = @_;
    my $shape = DB_File::HASHINFO->new;
    $shape->{bsize}  = $how{page_size} || 4096;
    $shape->{lorder} = $how{order} if $how{order};
    $shape->{nelem} = $how{guess} if $how{guess};
    $shape->{ffactor} = $how{fill} if $how{fill};
    unlink $book;
    tie my %book, 'DB_File', $book, O_CREAT | O_RDWR, 0600, $shape or die "$book: $!";
    $book{"PAS-DB-VERSION\0"} = "0.2\0";
    $book{"pas-id-$_\0"} = card($_, note_of($_)) . "\0" for 1 .. $how{contacts};
    delete $book{"pas-id-$_\0"} for @{ $how{deleted} || [] };
    untie %book;
}

sub bytes_of { my ($path) = @_; open my $file, '<:raw', $path or die "$path: $!"; local $/; return scalar <$file> }
sub put_bytes { my ($path, $bytes) = @_; open my $file, '>:raw', $path or die "$path: $!"; print $file $bytes }

# Contacts and messages of the script on a file.
sub convert {
    my ($path) = @_;
    my $output = `perl $scripts/vcard2vcf.pl < '$path' 2> $folder/messages`;
    is $?, 0, 'the script ends well';
    my $messages = bytes_of("$folder/messages");
    unlike $messages, qr/^(?!address book: )./m, 'nothing but its own messages';
    return ([ split /(?<=^END:VCARD\n)/m, $output ], $messages);
}

sub numbers {
    my ($texts) = @_;
    return sort { $a <=> $b } map { /^FN:Person (\d+)\r?$/m ? $1 : () } @{$texts};
}

# ---- Whole books -----------------------------------------------------------------------------------------

for my $page_size (512, 1024, 4096, 16384, 65536) {
    for my $order (1234, 4321) {
        make_book(page_size => $page_size, order => $order, contacts => 100, deleted => [ 3, 14 ]);
        my ($cards, $messages) = convert($book);
        is_deeply [ numbers($cards) ], [ grep { $_ != 3 && $_ != 14 } 1 .. 100 ],
            "page size $page_size, byte order $order: every contact once, deleted ones skipped";
        is $messages, '', 'and nothing to complain about';
        is $cards->[$_], card((numbers([ $cards->[$_] ]))[0], note_of((numbers([ $cards->[$_] ]))[0])) =~ s/\r//gr . "\n",
            'a contact is whole' for 0 .. 20;
    }
}

make_book(contacts => 300, page_size => 1024);
my ($cards) = convert($book);
my @own_order = map { /Person (\d+)/ ? $1 : () } `db5.3_dump -p '$book'`;
is_deeply [ map { /Person (\d+)/ } @$cards ], \@own_order, "contacts come in the book's own order";

make_book(contacts => 0);
($cards, my $messages) = convert($book);
is_deeply $cards, [], 'an empty book has no contacts';
is $messages, '', 'and that is no trouble';

# A guess of the number of contacts makes the book count them from there, and makes pages in advance.
for my $how ([ 'a guess', guess => 1000 ], [ 'a guess and a fill', guess => 1000, fill => 10 ],
             [ 'a small guess', guess => 20, fill => 4 ], [ 'a fill', fill => 10 ]) {
    my ($name, %how) = @$how;
    make_book(contacts => 60, page_size => 1024, %how, deleted => [ 3, 14 ]);
    ($cards, $messages) = convert($book);
    is_deeply [ numbers($cards) ], [ grep { $_ != 3 && $_ != 14 } 1 .. 60 ], "a book made with $name";
    is $messages, '', 'and nothing to complain about';

    my $bytes = bytes_of($book);
    my ($page) = grep { ord(substr $bytes, $_ * 1024 + 25, 1) == 13 && substr($bytes, $_ * 1024, 1024) =~ /Person (\d+)/ }
        reverse 1 .. length($bytes) / 1024 - 1;
    put_bytes($book, substr($bytes, 0, $page * 1024) . 'x' x 1024 . substr $bytes, ($page + 1) * 1024);
    ($cards, $messages) = convert($book);
    cmp_ok scalar @$cards, '<', 58, 'a page that is overwritten loses its contacts';
    like $messages, qr/^address book: page $page and its contacts are lost$/m, 'and that is said';
}

# A book of Berkeley DB's own making, with a checksum on every page and with duplicates.
sub load_book {
    my ($type, $settings, @records) = @_;
    unlink $book;
    my $hex = sub { return ' ' . unpack('H*', $_[0]) . "\n" };
    open my $load, '|-', "db5.3_load $settings '$book'" or die;
    print $load "VERSION=3\nformat=bytevalue\ntype=hash\n$type" . "HEADER=END\n", (map { $hex->($_) } @records), "DATA=END\n";
    close $load or die 'db5.3_load';
}

load_book('', '', map { ("id-$_\0", card($_, note_of($_)) . "\0") } 1 .. 50);
($cards) = convert($book);
is_deeply [ numbers($cards) ], [ 1 .. 50 ], 'a book that db5.3_load made';

load_book("chksum=1\n", '', map { ("id-$_\0", card($_, note_of($_)) . "\0") } 1 .. 50);
($cards) = convert($book);
is_deeply [ numbers($cards) ], [ 1 .. 50 ], 'pages with checksums';

load_book("duplicates=1\n", '', map { ("same\0", card($_) . "\0") } 1 .. 3);
($cards) = convert($book);
is_deeply [ numbers($cards) ], [ 1 .. 3 ], 'duplicates beside each other';

load_book("duplicates=1\ndb_pagesize=512\n", '', map { ("same\0", card($_) . "\0") } 1 .. 40);
($cards) = convert($book);
is_deeply [ numbers($cards) ], [ 1 .. 40 ], 'duplicates on pages of their own';

# Older libraries left the pairs of a page unsorted and said so in the page's type; the oldest had another first
# page. The rest of the format is the same.
sub as_older {
    my ($version, $bytes) = @_;
    for my $page (1 .. length($bytes) / 1024 - 1) {
        my $type = $page * 1024 + 25;
        substr($bytes, $type, 1) = chr 2 if ord(substr $bytes, $type, 1) == 13;
    }
    substr($bytes, 16, 4) = pack 'V', $version;
    if ($version == 5) {
        my ($last_bucket, $high_mask, $low_mask, $fill, $keys) = unpack 'x72 V5', $bytes;
        my $first = pack 'V13', 0, 0, 0, 0x061561, 5, 1024, 0, 0, $last_bucket, $high_mask, $low_mask, $fill, $keys;
        substr($bytes, 0, 1024) = $first . "\0" x (1024 - length $first);
    }
    return $bytes;
}

make_book(contacts => 60, page_size => 1024, deleted => [7]);
my $newest = bytes_of($book);
for my $version (5 .. 10) {
    put_bytes($book, as_older($version, $newest));
    ($cards, $messages) = convert($book);
    is_deeply [ numbers($cards) ], [ 1 .. 6, 8 .. 60 ], "hash version $version";
    is $messages, '', 'and nothing to complain about';
}

# ---- Damage ----------------------------------------------------------------------------------------------

make_book(contacts => 60, page_size => 1024);
my $whole = bytes_of($book);
my %good = map { $_ => 1 } @{ (convert($book))[0] };

put_bytes($book, substr $whole, 0, int(length($whole) * 0.6) + 100);
($cards, $messages) = convert($book);
cmp_ok scalar @$cards, '>', 5, 'a book that is cut off yields what is left';
is_deeply [ grep { !$good{$_} } @$cards ], [], 'and only whole contacts';
like $messages, qr/^address book: the file is cut off$/m, 'and says so';

put_bytes($book, ("\0" x 1024) . substr $whole, 1024);
($cards, $messages) = convert($book);
is_deeply [ numbers($cards) ], [ 1 .. 60 ], 'a book without its first page yields everything';
like $messages, qr/first page is damaged/, 'and says so';

srand 11;
for my $round (1 .. 40) {
    my $bytes = $whole;
    substr($bytes, 26 + int rand(length($bytes) - 26), 1) = chr int rand 256 for 1 .. 30;
    $bytes = substr $bytes, 0, int rand length $bytes if $round % 4 == 0;
    put_bytes($book, $bytes);
    ($cards) = convert($book);
    my @garbage = grep { !/\ABEGIN:VCARD\n[^\0]*END:VCARD\n\z/ } @$cards;
    is_deeply \@garbage, [], "damage $round: no garbage";
}

# Nothing in a page's header or in the first page is needed so much that a contact gets lost with it, and what
# was deleted does not come back.
make_book(contacts => 60, page_size => 1024, deleted => [ 5, 17, 33 ]);
my $damaged = bytes_of($book);
my @kept = numbers((convert($book))[0]);
require "$scripts/AddressBook.pm";    ## no critic (RequireBarewordIncludes): where it lies is an option of this test

sub numbers_and_messages {
    my ($bytes) = @_;
    my $messages = '';
    open my $file, '<', \$bytes or die;
    local *STDERR;
    open STDERR, '>', \$messages or die;
    my @cards = AddressBook::vcards($file);
    return ([ numbers(\@cards) ], $messages);
}

my %differing;
for my $at (0 .. length($damaged) - 1) {
    next unless $at < 256 || ($at % 1024 < 26 && $at % 7 == 0);
    for my $bit (0, 4, 7) {
        my $flipped = $damaged ^ "\0" x $at . chr(1 << $bit);
        my ($found) = numbers_and_messages($flipped);
        $differing{$at} = "@$found" if "@$found" ne "@kept";
    }
}
is_deeply \%differing, {}, 'one damaged byte in a header loses no contact and brings none back';

# Between a page's index and its records lies what stood in the library's memory, when it is unlucky an older index
# and the older records that it leads to, in place: of contacts that have gone to another page, or for good.
sub with_old_copies {
    my ($bytes, @records) = @_;
    for my $begin (map { $_ * 1024 } hash_pages($bytes)) {
        my ($entries, $free) = unpack 'v2', substr $bytes, $begin + 20, 4;
        my ($index, @left) = (26 + 2 * $entries, @records);
        while (@left && $free - length("@left[0, 1]") > $index + 4) {
            for my $item (splice @left, 0, 2) {
                $free -= length $item;
                substr($bytes, $begin + $free, length $item) = $item;
                substr($bytes, $begin + $index, 2) = pack 'v', $free;
                $index += 2;
            }
        }
    }
    return $bytes;
}

sub hash_pages { my ($bytes) = @_; return grep { ord(substr $bytes, $_ * 1024 + 25, 1) == 13 } 1 .. length($bytes) / 1024 - 1 }

# What differs from `expected` when one bit of these bytes of a hash page's header is another.
sub differing_by_bits {
    my ($bytes, $expected, @places) = @_;
    my %differing;
    for my $page (hash_pages($bytes)) {
        for my $case (map { my $place = $_; map { [ $place, $_ ] } 0 .. 7 } @places) {
            my ($place, $bit) = @$case;
            my ($found) = numbers_and_messages($bytes ^ "\0" x ($page * 1024 + $place) . chr(1 << $bit));
            $differing{"page $page, $place, bit $bit"} = "@$found" if "@$found" ne $expected;
        }
    }
    return \%differing;
}

for my $how ([ 'a book', [ 20, 21, 22, 23 ] ], [ 'a book that counts its contacts from a guess', [ 20, 21 ], guess => 100 ]) {
    my ($name, $places, %how) = @$how;
    make_book(contacts => 34, page_size => 1024, deleted => [ 5, 17, 33 ], %how);
    my @records = map { ("\1pas-id-$_\0", "\1" . card($_) . "\0") } 1, 33, 2, 17, 3, 5, 4;
    my $unlucky = with_old_copies(bytes_of($book), @records);
    my ($numbers, $messages) = numbers_and_messages($unlucky);
    is_deeply [ $numbers, $messages ], [ [ grep { !/^(?:5|17|33)$/ } 1 .. 34 ], '' ], "$name with old copies between";
    is_deeply differing_by_bits($unlucky, "@$numbers", @$places), {}, 'they do not come back when its header is damaged';

    # Each place where a damaged "free" may meet the begin of another record.
    my ($page) = hash_pages($unlucky);
    my @offsets = unpack 'x26 v' . unpack('x20 v', substr $unlucky, $page * 1024), substr $unlucky, $page * 1024, 1024;
    my @lost = grep {
        substr(my $bytes = $unlucky, $page * 1024 + 22, 2) = pack 'v', $_;
        my ($found) = numbers_and_messages($bytes);
        "@$found" ne "@$numbers";
    } @offsets, 1024;
    is_deeply \@lost, [], 'and none gets lost' if !$how{guess};
}

# On a page that has lost all of its contacts too.
make_book(contacts => 2, page_size => 1024, deleted => [ 1, 2 ]);
my $empty = with_old_copies(bytes_of($book), map { ("\1pas-id-$_\0", "\1" . card($_) . "\0") } 1, 2);
is scalar(grep { !unpack 'x20 v', substr $empty, $_ * 1024, 1024 } hash_pages($empty)), 1, 'a page without contacts';
is_deeply differing_by_bits($empty, '', 20 .. 23), {}, 'to which none come back';
my ($emptied) = grep { !unpack 'x20 v', substr $empty, $_ * 1024, 1024 } hash_pages($empty);
substr($empty, $emptied * 1024 + 20, 1) = "\1";
put_bytes($book, substr $empty, 0, $emptied * 1024 + 1000);
is_deeply +(convert($book))[0], [], 'nor when it is cut off as well';

# A count that fits nowhere loses nothing, even when the book's own agrees with it.
make_book(contacts => 10, page_size => 1024);
my $agreeing = bytes_of($book);
for my $place ([ 1024 * (hash_pages($agreeing))[0] + 20, 'v', 1000 ], [ 88, 'V', 500 ]) {
    my ($at, $format, $more) = @$place;
    substr($agreeing, $at, length pack $format, 0) = pack $format, $more + unpack "x$at $format", $agreeing;
}
is_deeply +(numbers_and_messages($agreeing))[0], [ 1 .. 10 ], 'a count that is far too high';

# A record that both count and "free" lead to once more comes once, and another value of its key comes too.
make_book(contacts => 10, page_size => 1024);
my ($only) = hash_pages(bytes_of($book));
my $twice = with_old_copies(bytes_of($book), map { ("\1pas-id-$_->[0]\0", "\1" . card($_->[1]) . "\0") } [ 1, 1 ], [ 2, 99 ]);
substr($twice, $only * 1024 + 20, 4) = pack 'v2', unpack('v', substr $twice, $only * 1024 + 20, 2) + 4, 1;
my ($found, $said) = numbers_and_messages($twice);
is_deeply $found, [ 1 .. 10, 99 ], 'the same record comes once, another of its key as well';

($found, $said) = numbers_and_messages(substr($damaged, 0, 1024) . "\0" x 1024 . substr $damaged, 2048);
cmp_ok scalar @$found, '<', @kept, 'a page that is wiped out loses its contacts';
like $said, qr/^address book: page 1 and its contacts are lost$/m, 'and that is said';

# Chains of pages that lead back to themselves; the way back through a chain tells its way on.
sub looping {
    my ($bytes, @places) = @_;
    for my $page (grep { ord(substr $bytes, $_ * 1024 + 25, 1) == 7 } 1 .. length($bytes) / 1024 - 1) {
        substr($bytes, $page * 1024 + $_, 4) = pack 'V', $page for @places;
    }
    return $bytes;
}
my ($next, $previous) = (16, 12);
put_bytes($book, looping($whole, $next));
($cards) = convert($book);
is_deeply [ numbers($cards) ], [ 1 .. 60 ], 'a chain that leads nowhere is found by its way back';
put_bytes($book, looping($whole, $next, $previous));
($cards) = convert($book);
is_deeply [ grep { $_ % 7 == 0 } numbers($cards) ], [], 'a chain that never ends is given up';
cmp_ok scalar @$cards, '>=', 50, 'and the others stay';

# Vertical tabs and form feeds count as text.
make_book(contacts => 0);
tie my %one, 'DB_File', $book, O_RDWR, 0600 or die;
$one{"id\0"} = card(1, "a\x0bb\x0cc") . "\0";
untie %one;
($cards) = convert($book);
is_deeply [ numbers($cards) ], [1], 'a contact with a vertical tab in its note';

# ---- Contacts that are not quite in order ------------------------------------------------------------------

# A book that holds these texts, in the order of their keys' numbers as the script has them.
sub convert_texts {
    my (@texts) = @_;
    make_book(contacts => 0);
    tie my %texts, 'DB_File', $book, O_RDWR, 0600 or die;
    $texts{"pas-id-$_\0"} = $texts[ $_ - 1 ] . "\0" for 1 .. @texts;
    untie %texts;
    my ($cards, $messages) = convert($book);
    return (join('', sort @$cards), $messages);
}

my $ann = "BEGIN:VCARD\nFN:Ann Lee\nTEL:1\nEND:VCARD\n";
my $bob = "BEGIN:VCARD\nFN:Bob\nEND:VCARD\n";
my %not_quite = (
    'a control character'       => "BEGIN:VCARD\r\nFN:Ann\x01 Lee\r\nTEL:1\r\nEND:VCARD",
    'a NUL'                     => "BEGIN:VCARD\r\nFN:Ann Lee\0\r\nTEL:1\r\nEND:VCARD",
    'a leading blank'           => " BEGIN:VCARD\r\nFN:Ann Lee\r\nTEL:1\r\nEND:VCARD",
    'a leading line'            => "\r\nBEGIN:VCARD\r\nFN:Ann Lee\r\nTEL:1\r\nEND:VCARD",
    'a blank before each line'  => " BEGIN:VCARD\r\n FN:Ann \r\n  Lee\r\n TEL:1\r\n END:VCARD",
    'a blank before the second' => "BEGIN:VCARD\r\n FN:Ann Lee\r\nTEL:1\r\nEND:VCARD",
    'a blank before the last'   => "BEGIN:VCARD\r\nFN:Ann Lee\r\nTEL:1\r\n END:VCARD",
);
for my $what (sort keys %not_quite) {
    my ($text, $said) = convert_texts($not_quite{$what}, $bob);
    is $text, $ann . $bob, "a contact with $what";
    is $said, '', 'and nothing to complain about';
    put_bytes($book, "$bob$not_quite{$what}\r\n$bob");
    my ($cards) = convert($book);
    is join('', @$cards), $bob . $ann . $bob, "and in a file of vCards";
}

for my $agent ("AGENT:\r\nBEGIN:VCARD\r\nFN:Eve\r\nEND:VCARD\r\n", "AGENT:BEGIN:VCARD\r\nFN:Eve\r\nEND:VCARD\r\n",
               "item1.AGENT;X=y:\r\n\r\nBEGIN:VCARD\r\nFN:Eve\r\nEND:VCARD\r\n") {
    my $with_agent = "BEGIN:VCARD\r\nFN:Ann Lee\r\n${agent}TEL:1\r\nEND:VCARD";
    my ($text, $said) = convert_texts($with_agent, $bob);
    is $text, $ann . $bob, 'a contact with an agent keeps the rest';
    is $said, "address book: the contact Eve is left out: it stands inside another as its agent\n", 'and the agent is named';
    put_bytes($book, "$with_agent\r\n$bob");
    ($cards, $said) = convert($book);
    is join('', @$cards), $ann . $bob, 'and in a file of vCards';
    like $said, qr/contact Eve/, 'named there as well';
}

my $agents_agent = "AGENT:\nBEGIN:VCARD\nFN:Eve\nAGENT:\nBEGIN:VCARD\nFN:Ida\nEND:VCARD\nEND:VCARD\n";
my ($text, $names) = convert_texts($ann =~ s/(?=TEL)/$agents_agent/r);
is $text, $ann, "an agent's agent";
like $names, qr/contact Ida .*contact Eve /s, 'and both are named';

(undef, $names) = convert_texts("BEGIN:VCARD\nFN:Ann\n$agents_agent" . 'NOTE:' . 'x' x 20000 . "\nEND:VCARD");
is scalar(() = $names =~ /contact/g), 2, 'an agent in a contact on pages of its own is named once';

for my $case (
    [ "FN:Ann Lee\r\n",                             'the contact Ann Lee' ],
    [ "TEL:1\r\nN:Lee;Ann;;Dr.;\r\n",              'the contact Lee Ann Dr.' ],
    [ "N:;;;;\r\nEMAIL:ann\@home.example\r\n",     'the contact ann@home.example' ],
    [ "FN;CHARSET=ISO-8859-1:M\xFCller\r\n",       "the contact M\xC3\xBCller" ],
    [ "FN;ENCODING=QUOTED-PRINTABLE:M=C3=BCller\n", "the contact M\xC3\xBCller" ],
    [ "FN:\x1b[31mAnn\r\n",                        'the contact [31mAnn' ],
    [ '',                                           'the contact pas-id-1' ],
) {
    my ($lines, $who) = @$case;
    my ($text, $said) = convert_texts("BEGIN:VCARD\r\n${lines}NO END", $bob);
    is $text, $bob, 'a contact without its end is left out';
    like $said, qr/\Aaddress book: \Q$who\E is left out: it is damaged, on page \d+\n\z/, 'and named';
}

($text, $said) = convert_texts("BEGIN:VCARD\nFN:Ann\n" . "\x01\x02a" x 50 . "\nEND:VCARD");
is $text, '', 'what is mostly no text is no contact';
like $said, qr/the contact Ann is left out/, 'and is named';

# The contact whose pages are lost is named by what stood on the first of them.
make_book(contacts => 20, page_size => 1024);
my $long = bytes_of($book);
for my $page (reverse 1 .. length($long) / 1024 - 1) {
    next unless ord(substr $long, $page * 1024 + 25, 1) == 7;
    substr($long, $page * 1024, 1024) = "\0" x 1024;
    last;
}
put_bytes($book, $long);
($cards, $messages) = convert($book);
is scalar @$cards, 19, 'a contact whose last page is lost';
like $messages, qr/\Aaddress book: the contact Person (?:7|14) is left out: it is damaged, on page \d+\n\z/, 'is named';

# Its first page lost, its key is what is left.
my ($first) = grep { ord(substr $long, $_ * 1024 + 25, 1) == 7 && substr($long, $_ * 1024, 1024) =~ /FN:Person 7\r/ }
    1 .. length($long) / 1024 - 1;
make_book(contacts => 20, page_size => 1024);
$long = bytes_of($book);
substr($long, $first * 1024, 1024) = "\0" x 1024;
put_bytes($book, $long);
($cards, $messages) = convert($book);
like $messages, qr/^address book: the contact pas-id-7 is left out: /m, 'a contact whose first page is lost is named by its key';

# ---- Plain vCards, and other things ----------------------------------------------------------------------

put_bytes($book, card(1) . "\r\n\r\n" . card(2) . "\r\n");
($cards) = convert($book);
is_deeply [ numbers($cards) ], [ 1, 2 ], 'plain vCards';

put_bytes($book, "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Per\r\n son 5\r\nEND:VCARD\r\n");
($cards) = convert($book);
is $cards->[0], "BEGIN:VCARD\nVERSION:3.0\nFN:Person 5\nEND:VCARD\n", 'folded lines are joined';

put_bytes($book, "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:a\rEND:VCARD\rBEGIN:VCARD\rFN:forged\r\nEND:VCARD\r\n");
($cards) = convert($book);
is_deeply [ map { /^(BEGIN|END)/mg } @$cards ], [ 'BEGIN', 'END' ], 'a carriage return in a value forges no line';

put_bytes($book, card(1) . "\r\nBEGIN:VCARD\r\nFN:cut off");
($cards, $messages) = convert($book);
is_deeply [ numbers($cards) ], [1], 'a plain file that is cut off';
is $messages, "address book: the contact cut off is left out: it is cut off or damaged\n", 'and says whom it has lost';

put_bytes($book, "BEGIN:VCARD\r\nFN:cut off\r\n" . card(2) . "\r\n");
($cards, $messages) = convert($book);
is_deeply [ numbers($cards) ], [2], 'the contact behind one that is cut off';
is $messages, "address book: the contact cut off is left out: it is cut off or damaged\n", 'and says whom it has lost';

put_bytes($book, "\x89PNG no address book at all");
($cards, $messages) = convert($book);
is_deeply $cards, [], 'something else';
like $messages, qr/no address book and no vCard/, 'and says so';

put_bytes($book, '');
($cards, $messages) = convert($book);
is_deeply [ $cards, $messages ], [ [], '' ], 'nothing';

# ---- Values that tell their encoding ------------------------------------------------------------------------

# What the script makes of the lines of a contact, converted from GB2312 as the caller does, and what python's
# vobject reads there.
sub lines_of {
    my (@lines) = @_;
    put_bytes($book, join '', map { "$_\r\n" } 'BEGIN:VCARD', 'VERSION:3.0', 'FN:x', @lines, 'END:VCARD');
    my ($cards) = convert($book);
    put_bytes("$folder/contacts.vcf", $cards->[0]);
    my $converted = `iconv -c -f GB2312 -t utf-8 $folder/contacts.vcf`;
    put_bytes("$folder/contacts.vcf", $converted);
    return $converted =~ s/\A(?:.*\n){3}|END:VCARD\n\z//gr;
}

sub note_read_by_others {
    my $read = 'vobject.readOne(open(sys.argv[1], encoding="utf-8", newline="")).note.value';
    return `PYTHONIOENCODING=utf-8 /usr/bin/python3 -c 'import sys, vobject; print(end=$read)' $folder/contacts.vcf 2>&1`;
}

my $qp = ';CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE';
for my $case (
    [ "NOTE;CHARSET=ISO-8859-1:M\xFCller", "NOTE:M\xC3\xBCller", "M\xC3\xBCller" ],
    [ "NOTE;CHARSET=ISO-8859-1;X=y;ENCODING=QUOTED-PRINTABLE:M=FCller", "NOTE;X=y:M\xC3\xBCller", "M\xC3\xBCller" ],
    [ "NOTE;CHARSET=UTF-8:M\xC3\xBCller", "NOTE:M\xC3\xBCller", "M\xC3\xBCller" ],
    [ "NOTE;CHARSET=ISO-8859-1:\xC5se", "NOTE$qp:=C3=85se", "\xC3\x85se" ],
    [ "NOTE;CHARSET=UTF-8:a\xE3\x83\xBBb", "NOTE$qp:a=E3=83=BBb", "a\xE3\x83\xBBb" ],
    [ 'NOTE;ENCODING=b:TcO8bGxlcg==', "NOTE:M\xC3\xBCller", "M\xC3\xBCller" ],
    [ 'NOTE;BASE64:TcO8bGxlcg==', "NOTE:M\xC3\xBCller", "M\xC3\xBCller" ],
    [ 'NOTE;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:a=0Ab', "NOTE$qp:a=0D=0Ab", "a\r\nb" ],
    [ "NOTE:\xC5\xF3\xD3\xD1", "NOTE:\xE6\x9C\x8B\xE5\x8F\x8B", "\xE6\x9C\x8B\xE5\x8F\x8B" ],
) {
    my ($line, $written, $read) = @$case;
    is lines_of($line), "$written\n", "$line is written";
    is note_read_by_others() =~ s/\r?\n/\r\n/gr, $read, 'and read by others';
}
for my $line ('PHOTO;ENCODING=b:TcO8bGxlcg==', 'X-ICON;ENCODING=b:AAECAw==', 'NOTE;ENCODING=QUOTED-PRINTABLE:a=3Db') {
    is lines_of($line), "$line\n", "$line stays";
}
is lines_of("item1.TEL;TYPE=\"a;b\";CHARSET=UTF-8:1"), "item1.TEL;TYPE=\"a;b\":1\n", 'group and other parameters stay';

put_bytes("$folder/nested", "BEGIN:VCARD\nFN:A\nAGENT:\n" x 12000 . "END:VCARD\n" x 12000 . $bob);
is `ulimit -t 5; perl $scripts/vcard2vcf.pl < '$folder/nested' 2> $folder/messages`, "BEGIN:VCARD\nFN:A\nEND:VCARD\n$bob",
    'contacts in each other, thousands deep, are given up in time';

ok system("perl $scripts/vcard2vcf.pl < '$book' > /dev/full 2> $folder/messages") != 0, 'a full disk is a failure';
like bytes_of("$folder/messages"), qr/^address book: the contacts could not be written: /, 'and is said';

# ---- Properties ------------------------------------------------------------------------------------------

my @properties = AddressBook::properties(
    "BEGIN:VCARD\r\nVERSION:3.0\r\nitem1.TEL;TYPE=HOME,VOICE:1:2\r\nEMAIL;INTERNET;X=\"a:b\":a\@b\r\n"
        . "NOTE;ENCODING=QUOTED-PRINTABLE:a=3Db\r\nEND:VCARD\r\n");
is_deeply [ map { $_->{name} } @properties ], [ 'TEL', 'EMAIL', 'NOTE' ], 'names without their group';
is_deeply $properties[0]{params}, { TYPE => [ 'HOME', 'VOICE' ] }, 'parameters';
is $properties[0]{value}, '1:2', 'a value may hold a colon';
is_deeply $properties[1]{params}, { TYPE => ['INTERNET'], X => ['a:b'] }, 'a bare parameter is a type';
is $properties[2]{value}, 'a=b', 'quoted-printable';

@properties = AddressBook::properties(
    "BEGIN:VCARD\r\nTEL;TYPE=\"HOME,FAX\";X=\"a;b\",c:1\r\nNOTE;ENCODING=b:YSxi\r\nNOTE;BASE64:YSxi\r\n"
        . "NOTE;ENCODING=base64:YS\r\n xi\r\nTEL;X=\"a:1\r\nTEL;X=a\";b:1\r\nEND:VCARD\r\n");
is_deeply $properties[0]{params}, { TYPE => ['HOME,FAX'], X => [ 'a;b', 'c' ] }, 'what stands in quotes is one value';
is_deeply [ map { $_->{value} } @properties[ 1 .. 3 ] ], [ ('a,b') x 3 ], 'base64';
is_deeply [ map { $_->{params} } @properties[ 4, 5 ] ], [ { X => ['"a'] }, { X => ['a"'], TYPE => ['b'] } ],
    'a quote without its pair';

sub text_of { my ($line) = @_; return AddressBook::text_of(AddressBook::property($line)) }
is text_of("FN;CHARSET=ISO-8859-1:M\xFCller"), "M\x{fc}ller", 'the character set that is told';
is text_of("FN;charset=windows-1251:\xC0\xED\xED\xE0"), "\x{410}\x{43d}\x{43d}\x{430}", 'and another';
is text_of("FN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BCller"), "M\x{fc}ller", 'behind quoted-printable';
is text_of('FN;CHARSET="ISO-8859-1";ENCODING=B:TfxsbGVy'), "M\x{fc}ller", 'and behind base64';
is text_of("FN;CHARSET=UTF-8:\xC5\xF3\xD3\xD1"), "\x{670b}\x{53cb}", 'a wrong one';
is text_of("FN;CHARSET=nonsense:M\xC3\xBCller"), "M\x{fc}ller", 'an unknown one';

sub note_in {
    my ($version, $lines) = @_;
    my ($note) = AddressBook::properties("BEGIN:VCARD\r\nVERSION:$version\r\n$lines\r\nEND:VCARD");
    return $note->{value};
}

for my $case (
    [ '3.0', "NOTE:one\r\n two", 'onetwo' ],
    [ '3.0', "NOTE:one\r\n  two", 'one two' ],
    [ '3.0', "NOTE:a=\r\n b", 'a=b' ],
    [ '3.0', "NOTE;ENCODING=QUOTED-PRINTABLE:one=\r\ntwo=\r\n =3Dthree", 'onetwo=three' ],
    [ '2.1', "NOTE:one\r\n two", 'one two' ],
    [ '2.1', "NOTE;QUOTED-PRINTABLE:one=\r\ntwo=0D=0A=\r\n three", "onetwo\r\n three" ],
    [ '2.1', "NOTE;QUOTED-PRINTABLE:ends badly=", 'ends badly=' ],
) {
    my ($version, $lines, $value) = @$case;
    is note_in($version, $lines), $value, "version $version: " . $lines =~ s/\r\n/|/gr;
}

done_testing;
