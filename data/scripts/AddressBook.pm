package AddressBook;

use strict;
use warnings;

use MIME::QuotedPrint ();

=head1 NAME

AddressBook - reads the contacts of a migration archive

=head1 SYNOPSIS

    use lib '/usr/local/brindle';
    use AddressBook;

    for my $card (AddressBook::vcards(\*STDIN)) {
        for my $property (AddressBook::properties($card)) {
            print "$property->{name}: $property->{value}\n";
        }
    }

=head1 DESCRIPTION

An Evolution address book is a Berkeley DB hash file: keys are contact ids, values are vCards, both with a
NUL behind them, and one record tells the version of the book. This module reads such a file from a stream,
with core Perl alone, so that a damaged one still yields every contact that can be read: page by page, every
offset checked, every chain followed once. Plain vCards are taken as well.

Read are files of either byte order and any page size, of hash versions 5 to 10 (libraries 2 to 5.3 and
later), with values that lie on pages of their own and with duplicates. Encrypted files are not.

=head1 FUNCTIONS

=over

=item vcards($handle)

All vCards of the book in its own order, each from BEGIN:VCARD to END:VCARD as the bytes it holds, without
the NUL. What cannot be read is told on standard error and left out; a text that is not exactly one vCard is
never returned.

=item properties($vcard)

The properties of one vCard in their order, unfolded, as hash references:

    name    upper case, without a group ("item1.TEL" gives "TEL")
    params  hash of upper-case parameter names to lists of values; a bare "HOME" is a TYPE
    value   text, quoted-printable decoded; escapes of the value (\, \; \n) are left as they are

BEGIN, END and VERSION are left out.

=back

=cut

use constant {
    HASH_MAGIC    => 0x061561,
    PAGE_HEADER   => 26,
    CHECKSUM_SIZE => 6,          # behind the header, when pages carry a checksum
    LONGEST_VALUE => 64 << 20,
};

# Page types
use constant { HASH_UNSORTED => 2, HASH_SORTED => 13, OVERFLOW => 7 };

# Pages of duplicates: leaves in their four kinds, and the two kinds of pages above them
my %is_leaf  = map { $_ => 1 } 1, 5, 6, 12;
my %is_inner = map { $_ => 1 } 3, 4;

# Item types on a hash page
use constant { KEYDATA => 1, DUPLICATE => 2, OFFPAGE => 3, OFFDUP => 4 };

sub vcards {
    my ($handle) = @_;
    binmode $handle;
    my $bytes = do { local $/; <$handle> };
    $bytes = '' unless defined $bytes;
    my $book = open_book($bytes);
    return $book ? cards_of_book($book) : plain_cards($bytes);
}

sub properties {
    my ($card) = @_;
    my @properties;
    for my $line (split /\r?\n/, unfolded($card)) {
        my ($head, $value) = split_at_colon($line);
        next unless defined $value;
        my ($name, @words) = split /;/, $head;
        next unless defined $name && length $name;
        $name =~ s/^.*\.//;
        next if $name =~ /^(?:BEGIN|END|VERSION)$/i;
        my $params = params_of(@words);
        if (grep { /^QUOTED-PRINTABLE$/i } @{ $params->{ENCODING} || [] }, @{ $params->{TYPE} || [] }) {
            $value = MIME::QuotedPrint::decode($value);
        }
        push @properties, { name => uc $name, params => $params, value => $value };
    }
    return @properties;
}

# A vCard with each property on one line. Version 2.1 keeps the blank that a fold begins with, and breaks
# quoted-printable values with "=".
sub unfolded {
    my ($card) = @_;
    if ($card =~ /^VERSION:2\.1\s*$/mi) {
        $card =~ s/\r?\n(?=[ \t])//g;
        1 while $card =~ s/^([^:\n]*QUOTED-PRINTABLE[^:\n]*:[^\n]*)=\r?\n/$1/mi;
    } else {
        $card =~ s/\r?\n[ \t]//g;
    }
    return $card;
}

# ---- vCard lines -----------------------------------------------------------------------------------------

# The colon that ends the name is the first one outside quotes.
sub split_at_colon {
    my ($line) = @_;
    return $line =~ /^((?:[^":]|"[^"]*")*):(.*)$/s ? ($1, $2) : ($line, undef);
}

sub params_of {
    my %params;
    for my $word (@_) {
        my ($name, $values) = $word =~ /^([^=]*)=(.*)$/s ? ($1, $2) : ('TYPE', $word);
        my @values = map { s/^"(.*)"$/$1/r } split /,/, $values;
        push @{ $params{ uc $name } }, @values;
    }
    return \%params;
}

# ---- Plain vCards ----------------------------------------------------------------------------------------

sub plain_cards {
    my ($bytes) = @_;
    my @cards;
    while ($bytes =~ /^(BEGIN:VCARD[ \t]*\r?\n.*?^END:VCARD)[ \t]*\r?$/gmsi) {
        push @cards, $1 if is_card($1);
    }
    my $begun = () = $bytes =~ /^BEGIN:VCARD/gmi;
    complain("no address book and no vCard") if !$begun && $bytes =~ /\S/;
    complain(($begun - @cards) . " contacts could not be read") if $begun > @cards;
    return @cards;
}

# Exactly one vCard and nothing that no text has.
sub is_card {
    my ($text) = @_;
    return 0 unless $text =~ /\ABEGIN:VCARD\s.*^END:VCARD\s*\z/msi;
    return 0 if $text =~ /[\x00-\x08\x0b\x0c\x0e-\x1f]/;
    my $begun = () = $text =~ /^BEGIN:VCARD/gmi;
    return $begun == 1;
}

sub complain { print STDERR "address book: $_[0]\n" }

# ---- The file as pages -----------------------------------------------------------------------------------

# What is known of the file: bytes, u16 and u32 (unpack letters of its byte order), page_size, pages, header
# (bytes before a page's items), order (hash pages in the order of their buckets). Nothing for a file that is
# no such database.
sub open_book {
    my ($bytes) = @_;
    my $book = known_book($bytes) || guessed_book($bytes) || return;
    $book->{bytes} = $bytes;
    $book->{pages} = int((length($bytes) + $book->{page_size} - 1) / $book->{page_size});
    complain('the file is cut off') if length($bytes) % $book->{page_size};
    return $book;
}

sub known_book {
    my ($bytes) = @_;
    return if length $bytes < 72;
    for my $order ([ 'v', 'V' ], [ 'n', 'N' ]) {
        my ($u16, $u32) = @$order;
        my ($magic, $version, $page_size) = unpack "x12 $u32 $u32 $u32", $bytes;
        next unless $magic == HASH_MAGIC;
        next unless is_page_size($page_size);
        my $flags = $version > 5 ? ord substr($bytes, 26, 1) : 0;
        return {
            u16       => $u16,
            u32       => $u32,
            page_size => $page_size,
            header    => PAGE_HEADER + ($flags & 1 ? CHECKSUM_SIZE : 0),
            order     => [ $version > 5 ? bucket_pages($bytes, $u32) : () ],
            last_page => $version > 5 ? unpack("x32 $u32", $bytes) : 0,
        };
    }
    return;
}

sub is_page_size { my ($size) = @_; return $size >= 512 && $size <= 65536 && !($size & ($size - 1)) }

# First pages of the buckets, in the order in which the database itself lists its contacts.
sub bucket_pages {
    my ($bytes, $u32) = @_;
    return if length $bytes < 224;
    my $last_bucket = unpack "x72 $u32", $bytes;
    my @spares = unpack "x96 ${u32}32", $bytes;
    return if $last_bucket > length($bytes) / 512;
    my @pages;
    for my $bucket (0 .. $last_bucket) {
        my $power = 0;
        $power++ while (1 << $power) < $bucket + 1;
        push @pages, $bucket + ($spares[$power] || 0);
    }
    return @pages;
}

# Without a readable first page: the size and byte order for which most pages know their own number.
sub guessed_book {
    my ($bytes) = @_;
    return if $bytes =~ /\A\s*BEGIN:VCARD/i;
    my ($best, $most) = (undef, 0);
    for my $page_size (map { 512 << $_ } 0 .. 7) {
        for my $order ([ 'v', 'V' ], [ 'n', 'N' ]) {
            my $book = { u16 => $order->[0], u32 => $order->[1], page_size => $page_size,
                         header => PAGE_HEADER, order => [], last_page => 0 };
            my $pages = int(length($bytes) / $page_size);
            my $right = grep { knows_its_number($bytes, $book, $_) } 1 .. $pages - 1;
            ($best, $most) = ($book, $right * $page_size) if $right * $page_size > $most;
        }
    }
    complain('the first page is damaged') if $best;
    return $best;
}

sub knows_its_number {
    my ($bytes, $book, $number) = @_;
    my $at = $number * $book->{page_size};
    my ($own, $type) = unpack "x8 $book->{u32} x13 C", substr($bytes, $at, PAGE_HEADER);
    return $own == $number && ($type == HASH_UNSORTED || $type == HASH_SORTED || $type == OVERFLOW);
}

# One page: number, next, entries (on a page of items), free (bytes used, on an overflow page), type, bytes.
sub page {
    my ($book, $number) = @_;
    return if $number < 1 || $number >= $book->{pages};
    my $bytes = substr $book->{bytes}, $number * $book->{page_size}, $book->{page_size};
    return if length $bytes < $book->{header};
    my %page = (bytes => $bytes);
    @page{qw(number next entries free type)} =
        unpack "x8 $book->{u32} x4 $book->{u32} $book->{u16} $book->{u16} x1 C", $bytes;
    return \%page;
}

sub is_hash_page { my ($page) = @_; return $page->{type} == HASH_UNSORTED || $page->{type} == HASH_SORTED }

# ---- Contacts ----------------------------------------------------------------------------------------------

sub cards_of_book {
    my ($book) = @_;
    my (@cards, $lost);
    if ($book->{last_page} >= $book->{pages}) {
        $lost = 1;
        complain('pages are missing at the end') if length($book->{bytes}) % $book->{page_size} == 0;
    }
    for my $number (page_order($book)) {
        my $page = page($book, $number) || next;
        next unless is_hash_page($page);
        for my $value (values_on($book, $page)) {
            $value =~ s/\0+\z// if defined $value;
            if (defined $value && is_card($value)) {
                $value =~ s/\s+\z//;
                push @cards, $value;
            } else {
                complain("a contact on page $number could not be read");
            }
        }
    }
    return @cards;
}

# Every page once: the chains of the buckets first, then whatever no chain has led to.
sub page_order {
    my ($book) = @_;
    my (@order, %seen);
    for my $first (@{ $book->{order} }) {
        my $number = $first;
        while (my $page = page($book, $number)) {
            last if $seen{$number}++;
            last unless is_hash_page($page) && $page->{number} == $number;
            push @order, $number;
            $number = $page->{next};
        }
    }
    my %ordered = map { $_ => 1 } @order;
    return @order, grep { !$ordered{$_} } 1 .. $book->{pages} - 1;
}

# The values of all contacts on a page; undef for one that cannot be read.
sub values_on {
    my ($book, $page) = @_;
    my @items = items_on($book, $page);
    my @values;
    for (my $i = 0; $i + 1 < @items; $i += 2) {
        my @key = item_values($book, $items[$i]);
        # The record that tells the version of the book.
        next if defined $key[0] && $key[0] =~ /\APAS-DB-VERSION\0*\z/;
        push @values, item_values($book, $items[ $i + 1 ]);
    }
    return @values;
}

# Items are packed from the end of the page downwards; each ends where the one before begins.
sub items_on {
    my ($book, $page) = @_;
    my $header = $book->{header};
    my $count = $page->{entries};
    return if $header + 2 * $count > length $page->{bytes};
    my @offsets = unpack "x$header $book->{u16}$count", $page->{bytes};
    my $end = $book->{page_size};
    my @items;
    for my $offset (@offsets) {
        my $inside = $offset >= $header + 2 * $count && $offset < $end && $end <= length $page->{bytes};
        push @items, $inside ? substr($page->{bytes}, $offset, $end - $offset) : undef;
        $end = $offset;
    }
    return @items;
}

sub item_values {
    my ($book, $item) = @_;
    return undef unless defined $item && length $item;
    my $type = ord $item;
    return substr $item, 1 if $type == KEYDATA;
    return duplicates_in($book, substr $item, 1) if $type == DUPLICATE;
    return overflow_value($book, $item) if $type == OFFPAGE;
    return duplicates_on_pages($book, $item) if $type == OFFDUP;
    return undef;
}

# Each duplicate stands between two copies of its length.
sub duplicates_in {
    my ($book, $bytes) = @_;
    my @values;
    while (length $bytes >= 4) {
        my $size = unpack $book->{u16}, $bytes;
        return @values, undef if $size + 4 > length $bytes;
        push @values, substr $bytes, 2, $size;
        substr $bytes, 0, $size + 4, '';
    }
    return @values;
}

sub overflow_value {
    my ($book, $item) = @_;
    return undef if length $item < 12;
    my ($number, $size) = unpack "x4 $book->{u32} $book->{u32}", $item;
    return undef if $size > LONGEST_VALUE;
    my ($value, %seen) = ('');
    while (length $value < $size) {
        my $page = page($book, $number);
        return undef if !$page || $seen{$number}++ || $page->{type} != OVERFLOW;
        my $used = $page->{free};
        return undef if $used == 0 || $book->{header} + $used > length $page->{bytes};
        $value .= substr $page->{bytes}, $book->{header}, $used;
        $number = $page->{next};
    }
    return length $value == $size ? $value : undef;
}

# Many duplicates of one key lie in a tree of their own, whose leaves are a chain.
sub duplicates_on_pages {
    my ($book, $item) = @_;
    return undef if length $item < 8;
    my $number = unpack "x4 $book->{u32}", $item;
    my (@values, %seen);
    while ($number) {
        my $page = page($book, $number);
        return @values, undef if !$page || $seen{$number}++;
        if ($is_inner{ $page->{type} }) {
            $number = first_child($book, $page);
        } elsif ($is_leaf{ $page->{type} }) {
            push @values, leaf_values($book, $page);
            $number = $page->{next};
        } else {
            return @values, undef;
        }
    }
    return @values;
}

sub first_child {
    my ($book, $page) = @_;
    return 0 if $book->{header} + 2 > length $page->{bytes};
    my $offset = unpack "x$book->{header} $book->{u16}", $page->{bytes};
    $offset += 4 if $page->{type} == 3;    # behind a length and a type
    return $offset + 4 <= length $page->{bytes} ? unpack("x$offset $book->{u32}", $page->{bytes}) : 0;
}

sub leaf_values {
    my ($book, $page) = @_;
    my $header = $book->{header};
    my $count = $page->{entries};
    return undef if $header + 2 * $count > length $page->{bytes};
    my @values;
    for my $offset (unpack "x$header $book->{u16}$count", $page->{bytes}) {
        next if $offset + 3 > length $page->{bytes};
        my ($size, $type) = unpack "x$offset $book->{u16} C", $page->{bytes};
        next if $type & 0x80;    # deleted
        if (($type & 0x7f) == OFFPAGE && $offset + 12 <= length $page->{bytes}) {
            push @values, overflow_value($book, substr $page->{bytes}, $offset, 12);
        } else {
            push @values, $offset + 3 + $size <= length $page->{bytes}
                ? substr($page->{bytes}, $offset + 3, $size) : undef;
        }
    }
    return @values;
}

1;
