package AddressBook;

use strict;
use warnings;

use Encode ();
use MIME::Base64 ();
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
offset checked, every chain followed once. What the damage has cut off from the rest is looked for on the
pages that nothing has led to. Plain vCards are taken as well.

Read are files of either byte order and any page size, of hash versions 5 to 10 (libraries 2 to 5.3 and
later), with values that lie on pages of their own and with duplicates. Encrypted files are not.

=head1 FUNCTIONS

=over

=item vcards($handle)

All vCards of the book in its own order, each from BEGIN:VCARD to END:VCARD as the bytes it holds, without
the NUL, single control characters, blanks before its lines, and the vCard inside an AGENT. "The book's own
order" is the one in which the database itself lists its records. What cannot be read is told on standard error
and left out, each contact by the name that is left of it; a text that is not exactly one vCard is never
returned.

=item properties($vcard, $names)

The properties of one vCard in their order, unfolded, as hash references. With a hash C<$names> others may be missing
than those whose names are its keys, which saves the work that they are:

    name    upper case, without a group ("item1.TEL" gives "TEL")
    params  hash of upper-case parameter names to lists of values; a bare "HOME" is a TYPE; what stands in
            quotes is one value, TYPE="HOME,FAX" too
    value   bytes, quoted-printable and base64 decoded; escapes of the value (\, \; \n) are left as they are
    head    what stands before the colon, as a list of the name and its parameters

BEGIN, END and VERSION are left out.

=item property($line)

The same for one unfolded line; nothing for a line that is no property.

=item text_of($property)

The value of a property as characters: of the character set that its CHARSET names, else, or when the bytes are
none of it, of UTF-8 or a Chinese encoding. Bytes that are nothing of that become replacement characters.

=item unfolded($vcard)

The vCard with each property on one line; its bytes and line ends are the card's own otherwise.

=back

=cut

use constant {
    HASH_MAGIC    => 0x061561,
    PAGE_HEADER   => 26,
    CHECKSUM_SIZE => 6,          # behind the header, where pages carry a checksum
    LONGEST_VALUE => 64 << 20,
    DEEPEST_AGENT => 20,         # contacts in each other; a file made to keep us busy has thousands

    # Vertical tabs, form feeds and escapes count as text.
    CONTROL          => qr/[\x00-\x08\x0e-\x1a\x1c-\x1f]/,
    TEXT_PER_CONTROL => 100,     # characters of a text for each control character that is let pass
};

my $complaints = 0;
my %told;    # agents that have been named

# Page types
use constant { HASH_UNSORTED => 2, HASH_SORTED => 13, OVERFLOW => 7 };

# Pages of duplicates: leaves in their four kinds, and the two kinds of pages above them
my %is_leaf  = map { $_ => 1 } 1, 5, 6, 12;
my %is_inner = map { $_ => 1 } 3, 4;

# Item types on a hash page
use constant { KEYDATA => 1, DUPLICATE => 2, OFFPAGE => 3, OFFDUP => 4 };

sub vcards {
    my ($handle) = @_;
    ($complaints, %told) = (0);
    binmode $handle;
    my $bytes = do { local $/; <$handle> };
    $bytes = '' unless defined $bytes;
    my $book = open_book($bytes);
    return $book ? cards_of_book($book) : plain_cards($bytes);
}

sub properties {
    my ($card, $names) = @_;
    my @lines = split /\r?\n/, unfolded($card);
    @lines = grep { !/\A([A-Za-z-]+)[:;]/ || $names->{ uc $1 } } @lines if $names;
    return grep { $_->{name} !~ /^(?:BEGIN|END|VERSION)$/ } map { property($_) } @lines;
}

sub property {
    my ($line) = @_;
    my ($before, $value) = split_at_colon($line);
    return unless defined $value;
    my ($name, @words) = my @head = outside_quotes(';', $before);
    return unless defined $name && length $name;
    $name =~ s/^.*\.//;
    my $params = params_of(@words);
    my @encodings = @{ $params->{ENCODING} || [] };
    if (grep { /^QUOTED-PRINTABLE$/i } @encodings, @{ $params->{TYPE} || [] }) {
        $value = MIME::QuotedPrint::decode($value);
    } elsif (grep { /^(?:B|BASE64)$/i } @encodings, grep { /^BASE64$/i } @{ $params->{TYPE} || [] }) {
        $value = MIME::Base64::decode($value);
    }
    return { name => uc $name, params => $params, value => $value, head => \@head };
}

sub text_of {
    my ($property) = @_;
    for my $charset (map { s/\s//gr } @{ $property->{params}{CHARSET} || [] }) {
        my $text = Encode::find_encoding($charset) ? decoded($charset, $property->{value}) : undef;
        return $text if defined $text;
    }
    return in_unicode($property->{value});
}

# Version 2.1 keeps the blank that a fold begins with, the later ones drop it; in all of them a value in
# quoted-printable is broken by "=". Such breaks go between two passes, for a fold may stand behind them and
# before.
sub unfolded {
    my ($card) = @_;
    return $card unless $card =~ /\n[ \t]|=\r?\n/;
    my $keeps_blank = $card =~ /^VERSION:2\.1\s*$/mi;
    my $fold = $keeps_blank ? qr/\r?\n(?=[ \t])/ : qr/\r?\n[ \t]/;
    my $soft_break = $keeps_blank ? qr/=\r?\n/ : qr/=\r?\n[ \t]?/;
    $card =~ s/(?<!=)(?<!=\r)$fold//g;
    1 while $card =~ s/^([^:\n]*QUOTED-PRINTABLE[^:\n]*:[^\n]*)$soft_break(?!END:VCARD)/$1/mi;
    $card =~ s/$fold//g;
    return $card;
}

# ---- vCard lines -----------------------------------------------------------------------------------------

# The colon that ends the name is the first one outside quotes, or the first one where a quote has no pair.
sub split_at_colon {
    my ($line) = @_;
    if (index($line, '"') < 0) {
        my $colon = index $line, ':';
        return $colon < 0 ? ($line, undef) : (substr($line, 0, $colon), substr $line, $colon + 1);
    }
    return $line =~ /^((?:[^":]|"[^"]*")*+):(.*)$/s || $line =~ /^([^:]*):(.*)$/s ? ($1, $2) : ($line, undef);
}

# The parts of `text` between the characters `between` that stand outside quotes. A quote without its pair counts
# as any character.
sub outside_quotes {
    my ($between, $text) = @_;
    return length $text ? split(/\Q$between\E/, $text, -1) : ('') if index($text, '"') < 0;
    my @parts = ('');
    while ($text =~ /\G("[^"]*"|.)/gs) {
        if ($1 eq $between) { push @parts, '' } else { $parts[-1] .= $1 }
    }
    return @parts;
}

sub params_of {
    my @words = @_;
    my %params;
    for my $word (@words) {
        my ($name, $values) = $word =~ /^([^=]*)=(.*)$/s ? ($1, $2) : ('TYPE', $word);
        my @values = map { s/^"(.*)"$/$1/r } outside_quotes(',', $values);
        push @{ $params{ uc $name } }, @values;
    }
    return \%params;
}

# The text that bytes are in an encoding; undef when they are none of it, and for half a character at their end.
sub decoded {
    my ($encoding, $bytes) = @_;
    my $text = eval { Encode::decode($encoding, $bytes, Encode::FB_CROAK) };
    return length $bytes ? undef : $text;
}

# "utf8" takes codes that are no characters too; XML leaves them out later. GBK stands for the Chinese encodings: it
# holds GB2312 and the characters of GB18030 that Windows writes, and perl always has it. It gives stray bytes
# characters for private use, which no text has.
sub in_unicode {
    my ($bytes) = @_;
    return $bytes unless $bytes =~ /[^\x00-\x7f]/;
    my $text = decoded('utf8', $bytes);
    return $text if defined $text;
    $text = decoded('GBK', $bytes);
    return $text if defined $text && $text !~ /\p{Private_Use}/;
    return Encode::decode('UTF-8', $bytes);    # with replacement characters for what is neither
}

# ---- One vCard -------------------------------------------------------------------------------------------

# The vCard that a text is, without what does not belong to one. undef for a text that is not exactly one vCard, or
# has more control characters than stray ones.
sub card_of {
    my ($text) = @_;
    $text =~ s/\0+\z//;
    my $controls = $text =~ s/${\CONTROL}//g;
    return undef if $controls > 1 + length($text) / TEXT_PER_CONTROL;
    $text = without_agents(unindented($text));
    return undef unless $text =~ /\ABEGIN:VCARD[ \t]*\r?\n.*^END:VCARD\s*\z/msi;
    my $begun = () = $text =~ /^BEGIN:VCARD/gmi;
    return $begun == 1 ? $text =~ s/\s+\z//r : undef;
}

# A blank before a line would make it part of the one above. So a card that is indented as a whole loses the
# indentation, and the lines that cannot go on another, the second and the last, lose any.
sub unindented {
    my ($text) = @_;
    $text =~ s/\A(?:[ \t]*\r?\n)+//;
    if ($text =~ /\A([ \t]+)/) {
        my $blanks = $1;
        $text =~ s/\A$blanks//;
        $text =~ s/\n$blanks/\n/g if $text !~ /\n(?!$blanks|\s*\z)/;
    }
    $text =~ s/\A(BEGIN:VCARD[ \t]*\r?\n)[ \t]+/$1/i;
    $text =~ s/\n[ \t]+(?=END:VCARD\s*\z)/\n/i;
    return $text;
}

# An AGENT may hold a whole vCard, even one with an agent. Nobody reads it there, and its end passes for that of
# the contact around it.
sub without_agents {
    my ($text) = @_;
    return $text unless $text =~ /AGENT/i;
    my $line = qr/(?![ \t]*(?:BEGIN|END):VCARD)[^\n]*\n/i;
    my $card = qr/BEGIN:VCARD[ \t]*\r?\n(?:$line)*+[ \t]*END:VCARD[ \t]*(?:\r?\n|\z)/i;
    my @agents;
    for (1 .. DEEPEST_AGENT) {
        last unless $text =~ s/^(?:\w+\.)?AGENT(?:;[^:\n]*)?:\s*+($card)/push @agents, $1; ''/gmie;
    }
    leave_out($_, 'it stands inside another as its agent') for grep { !$told{$_}++ } @agents;
    return $text;
}

# By the name that is left in its text, or else by its key.
sub leave_out {
    my ($text, $why, $key) = @_;
    my $name = name_in($text) // $key;
    complain((defined $name && length $name ? "the contact $name" : 'a contact without a name') . " is left out: $why");
}

# What a person would call the contact that begins in `text`.
sub name_in {
    my ($text) = @_;
    return undef unless defined $text;
    my @properties = properties($text);
    for my $name (qw(FN N NICKNAME ORG EMAIL TEL)) {
        for my $property (grep { $_->{name} eq $name } @properties) {
            my $called = text_of($property) =~ s/[;\s[:cntrl:]]+/ /gr =~ s/^ | $//gr;
            return Encode::encode('UTF-8', $called) if length $called;
        }
    }
    return undef;
}

# ---- Plain vCards ----------------------------------------------------------------------------------------

sub plain_cards {
    my ($bytes) = @_;
    my ($cards, $broken) = cards_between_others($bytes, \&card_of);
    complain('no address book and no vCard') if !@$cards && !@$broken && $bytes =~ /\S/;
    leave_out($_, 'it is cut off or damaged') for @$broken;
    return @$cards;
}

# The vCards that stand somewhere in `bytes`, each begun at the start of a line or behind something that is no
# text, and what begins as one and is none: as `card_in_text` says, which is given a text from its begin to its end.
sub cards_between_others {
    my ($bytes, $card_in_text) = @_;
    my $begin = qr/BEGIN:VCARD\s|[ \t]+BEGIN:VCARD[ \t]*\r?\n/i;
    my (@cards, @broken);
    for my $text (split /(?:^|(?<=[\x00-\x08]))(?=$begin)/mi, without_agents($bytes)) {
        next unless $text =~ /\A$begin/;
        my $card = $text =~ /\A(\s*BEGIN:VCARD\s.*?^[ \t]*END:VCARD)(?=\s|\0|\z)/msi ? $card_in_text->($1) : undef;
        if (defined $card) { push @cards, $card } else { push @broken, $text }
    }
    return (\@cards, \@broken);
}

sub complain {
    ++$complaints;
    print STDERR "address book: $_[0]\n";
}

# ---- The file as pages -----------------------------------------------------------------------------------

# What is known of the file: bytes, u16 and u32 (unpack letters of its byte order), page_size, pages, header
# (bytes before a page's items), order (hash pages in the order of their buckets), fill (how many contacts a
# bucket should hold, 0 if it does not say), keys (how many contacts it counts, 0 if it does not say), read (the
# pages that need no second look), begin (where the items begin on pages that tell it wrong), had (the records that
# have come, by key and values), no_hash_page (pages that should be and are none, with their buckets), failed
# (texts that are no contact, with their pages and, if something led to them, their keys). Nothing for a file that is no such database.
sub open_book {
    my ($bytes) = @_;
    my $book = known_book($bytes);
    $book = guessed_book($bytes) || $book if !$book || !has_such_pages($bytes, $book);
    return unless $book;
    $book->{bytes} = $bytes;
    $book->{pages} = int((length($bytes) + $book->{page_size} - 1) / $book->{page_size});
    complain('the file is cut off') if length($bytes) % $book->{page_size};
    $book->{header} = header_size($book);
    return $book;
}

# Pages with a checksum tell it themselves: only with the right size of the header do their items lie well. So
# it needs no first page.
sub header_size {
    my ($book) = @_;
    my ($plain, $with_checksum) = map { sound_pages($book, $_) } PAGE_HEADER, PAGE_HEADER + CHECKSUM_SIZE;
    return PAGE_HEADER + ($with_checksum > $plain ? CHECKSUM_SIZE : 0);
}

sub sound_pages {
    my ($book, $header) = @_;
    my %tried = (%$book, header => $header);
    my @pages = grep { defined } map { page(\%tried, $_) } 1 .. $book->{pages} - 1;
    return scalar grep { $_->{entries} && is_sound(\%tried, $_, items_on(\%tried, $_)) }
        grep { is_hash_page($_) } @pages;
}

sub known_book {
    my ($bytes) = @_;
    return if length $bytes < 72;
    for my $order ([ 'v', 'V' ], [ 'n', 'N' ]) {
        my ($u16, $u32) = @$order;
        my ($magic, $version, $page_size) = unpack "x12 $u32 $u32 $u32", $bytes;
        next unless $magic == HASH_MAGIC;
        next unless is_page_size($page_size);
        return {
            u16       => $u16,
            u32       => $u32,
            page_size => $page_size,
            header    => PAGE_HEADER,
            order     => [ $version > 5 ? bucket_pages($bytes, $u32) : () ],
            last_page => $version > 5 ? unpack("x32 $u32", $bytes) : 0,
            fill      => $version > 5 && length $bytes >= 92 ? unpack("x84 $u32", $bytes) : 0,
            keys      => $version > 5 && length $bytes >= 92 ? unpack("x88 $u32", $bytes) : 0,
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
                         header => PAGE_HEADER, order => [], last_page => 0, keys => 0 };
            my $right = pages_that_fit($bytes, $book);
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

sub pages_that_fit {
    my ($bytes, $book) = @_;
    my $last = int(length($bytes) / $book->{page_size}) - 1;
    return scalar grep { knows_its_number($bytes, $book, $_) } 1 .. $last;
}

# Whether the page size that the first page tells can be true.
sub has_such_pages {
    my ($bytes, $book) = @_;
    return length $bytes < 2 * $book->{page_size} || pages_that_fit($bytes, $book);
}

# One page: number, prev and next, entries (on a page of items), free (where its items begin; on an overflow
# page the bytes used), type, bytes.
sub page {
    my ($book, $number) = @_;
    return if $number < 1 || $number >= $book->{pages};
    my $bytes = substr $book->{bytes}, $number * $book->{page_size}, $book->{page_size};
    return if length $bytes < $book->{header};
    my %page = (bytes => $bytes);
    @page{qw(number prev next entries free type)} =
        unpack "x8 $book->{u32}3 $book->{u16}2 x1 C", $bytes;
    return \%page;
}

sub is_hash_page { my ($page) = @_; return $page->{type} == HASH_UNSORTED || $page->{type} == HASH_SORTED }

# ---- Contacts ----------------------------------------------------------------------------------------------

sub cards_of_book {
    my ($book) = @_;
    if ($book->{last_page} >= $book->{pages} && length($book->{bytes}) % $book->{page_size} == 0) {
        complain('pages are missing at the end');
    }
    my @cards;
    for my $number (page_order($book)) {
        my $page = page($book, $number) || next;
        push @cards, cards_on($book, $page, $number) if is_hash_page($page);
    }
    my @found = lost_cards($book, @cards);
    leave_out_failed($book, \@cards, \@found);
    complain("page $_ and its contacts are lost") for lost_pages($book, keys_on_pages($book));
    return @cards, @found;
}

# How many keys the hash pages count together.
sub keys_on_pages {
    my ($book) = @_;
    return $book->{keys_on_pages} //= do {
        my $keys = 0;
        for my $page (grep { defined } map { page($book, $_) } 1 .. $book->{pages} - 1) {
            $keys += int($page->{entries} / 2) if is_hash_page($page);
        }
        $keys;
    };
}

# The contacts that the index of a hash page leads to.
sub cards_on {
    my ($book, $page, $number) = @_;
    my @items = items_on($book, $page);
    my $is_sound = is_sound($book, $page, @items);
    @items = items_on_damaged($book, $page, $number, @items) if !$is_sound;
    my @cards;
    for (values_of($book, @items)) {
        my ($value, $key) = @$_;
        my $card = card_in($value);
        if (defined $card) { push @cards, $card }
        else { push @{ $book->{failed} }, { text => ref $value ? $$value : $value, key => $key, page => $number } }
    }
    if ($is_sound) { $book->{read}{$number} = 1 } else { complain("page $number is damaged") }
    return @cards;
}

# Names what the search for lost contacts has not brought after all. What it has met only the beginning of may be an
# old copy of any contact, or of one that is named already.
sub leave_out_failed {
    my ($book, $cards, $found) = @_;
    my @failed = @{ $book->{failed} || [] } or return;
    my (%later, %known);
    $later{$_}++ for grep { defined } map { name_in($_) } @$found;
    $known{$_} = 1 for grep { defined } map { name_in($_) } @$cards, @$found;
    for my $failed (@failed) {
        my $name = name_in($failed->{text});
        my $is_led_to = exists $failed->{key};
        next if defined $name && ($is_led_to ? $later{$name} && $later{$name}-- : $known{$name});
        next if !defined $name && !$is_led_to;
        $known{$name} = 1 if defined $name;
        leave_out($failed->{text}, "it is damaged, on page $failed->{page}", $failed->{key});
    }
}

# The contact that a value is; undef for any other, and for what could not be read to its end.
sub card_in {
    my ($value) = @_;
    return ref $value ? undef : card_of($value);
}

# A value that could be read only so far.
sub unread {
    my ($text) = @_;
    return \($text // '');
}

# Whether the index of a hash page leads to all of its items: they lie without gaps from "free" to the end.
sub is_sound {
    my ($book, $page, @items) = @_;
    return 0 if @items != $page->{entries};
    my $begin = begin_of($book, \@items);
    return defined $begin && $page->{free} == ($begin & 0xffff);
}

# Where the last of the items of a page begins; undef when they are not all there.
sub begin_of {
    my ($book, $items) = @_;
    return undef if @$items % 2 || grep { !defined } @$items;
    my $used = 0;
    $used += length for @$items;
    return $book->{page_size} - $used;
}

# The items of a page whose count of entries and whose "free" contradict each other, given those that the count
# leads to. Between index and items lies what stood in the library's memory, an older index and older items of this
# page too, which a count that is too high takes for its own. Most often "free" is right then, for a wrong one hardly
# meets the begin of an item. It may: so the count holds where all pages together have as many keys as the book counts.
sub items_on_damaged {
    my ($book, $page, $number, @items) = @_;
    my $is_counted = $page->{entries} % 2 == 0 && keys_on_pages($book) == $book->{keys};
    my $entries = $is_counted ? $page->{entries} : entries_to_free($book, $page);
    return @items unless defined $entries;
    @items = items_on($book, { %$page, entries => $entries });
    $book->{begin}{$number} = begin_of($book, \@items) if @items == $entries;
    return @items;
}

# How many entries of the index lead down to "free"; undef if none leads there.
sub entries_to_free {
    my ($book, $page) = @_;
    my $header = $book->{header};
    my $end = $book->{page_size};
    return 0 if $page->{free} == ($end & 0xffff);
    my $entries = 0;
    for my $offset (unpack "x$header $book->{u16}*", $page->{bytes}) {
        last if $offset >= $end || $offset < $header + 2 * ++$entries;
        return $entries if $offset == $page->{free};
        $end = $offset;
    }
    return undef;
}

# What damage has cut off: contacts on pages that are in use and that nothing has led to. Pages in nobody's
# use hold what was deleted; they have no type. A text that is there already is an old copy.
sub lost_cards {
    my ($book, @known) = @_;
    my %known = map { $_ => 1 } @known;
    my @cards;
    for my $number (grep { !$book->{read}{$_} } 1 .. $book->{pages} - 1) {
        my $page = page($book, $number) || next;
        next if $page->{type} == 0;
        my @found = grep { !$known{$_}++ } unled_cards($book, $page, $number);
        complain("page $number was cut off from the others") if @found && !is_hash_page($page);
        push @cards, @found;
    }
    return @cards;
}

sub unled_cards {
    my ($book, $page, $number) = @_;
    my $whole = $page->{type} == OVERFLOW ? card_in(chain($book, $number)) : undef;
    return $whole if defined $whole;
    # Before the items of a hash page lies what was deleted; one without items has nothing else.
    my $begin = $book->{begin}{$number} // ($page->{free} < length $page->{bytes} ? $page->{free} : 0);
    return if $begin >= length $page->{bytes};
    # Where nothing leads to a text, a control character in it may be all that is left of another item.
    my $pure = sub { my ($text) = @_; return $text =~ CONTROL ? undef : card_of($text) };
    my ($cards, $broken) = cards_between_others(substr($page->{bytes}, $begin), $pure);
    push @{ $book->{failed} }, map { { text => $_, page => $number } } @$broken;
    return @$cards;
}

# Pages of buckets and the pages that follow them, as far as they are none any more, if fewer contacts are left
# than the book counts. It counts too many when it was made with a guess of their number.
sub lost_pages {
    my ($book, $keys) = @_;
    return if $keys >= $book->{keys};
    my $first_buckets = buckets_for($book, $book->{keys} - $keys);
    return grep { !may_be_unused($book, $_, $first_buckets) } sort { $a <=> $b } keys %{ $book->{no_hash_page} };
}

# How many buckets a book is made with for a guess of its contacts.
sub buckets_for {
    my ($book, $guess) = @_;
    my $wanted = $book->{fill} ? int(($guess - 1) / $book->{fill}) + 1 : 2;
    my $buckets = 2;
    $buckets *= 2 while $buckets < $wanted;
    return $buckets;
}

# The buckets that a book is made with have empty pages until the first contact or until they are split in two.
sub may_be_unused {
    my ($book, $number, $first_buckets) = @_;
    my $bucket = $book->{no_hash_page}{$number};
    return 0 if !defined $bucket || $bucket >= $first_buckets || $bucket + $first_buckets <= $#{ $book->{order} };
    my $page = page($book, $number);
    return $page && $page->{bytes} !~ /[^\0]/;
}

# Every page once: the chains of the buckets first, then whatever no chain has led to.
sub page_order {
    my ($book) = @_;
    my (@order, %seen);
    for my $bucket (0 .. $#{ $book->{order} }) {
        my $first = my $number = $book->{order}[$bucket];
        while (my $page = page($book, $number)) {
            last if $seen{$number}++;
            unless (is_hash_page($page) && $page->{number} == $number) {
                $book->{no_hash_page}{$number} = $number == $first ? $bucket : undef;
                last;
            }
            push @order, $number;
            $number = $page->{next};
        }
    }
    my %ordered = map { $_ => 1 } @order;
    return @order, grep { !$ordered{$_} } 1 .. $book->{pages} - 1;
}

# The values of all contacts among the items of a page, each with its key, as far as that can be read. A book has
# each key once: a record that comes again is an old copy. With other values it may be the one that is meant.
sub values_of {
    my ($book, @items) = @_;
    my @values;
    for (my $i = 0; $i + 1 < @items; $i += 2) {
        my @key = item_values($book, $items[$i]);
        # The record that tells the version of the book.
        my $key = ref $key[0] ? undef : $key[0] =~ s/\0+\z//r;
        next if defined $key && $key eq 'PAS-DB-VERSION';
        my @read = item_values($book, $items[ $i + 1 ]);
        next if defined $key && $book->{had}{ @read == 1 && !ref $read[0] ? "$key\0$read[0]" : as_one($key, @read) }++;
        push @values, map { [ $_, $key ] } @read;
    }
    return @values;
}

# A key and its values, read to their end or not, as one text.
sub as_one { my ($key, @values) = @_; return join "\0", $key, map { ref ? $$_ : $_ } @values }

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

# The values of one item: several for a key with duplicates.
sub item_values {
    my ($book, $item) = @_;
    return unread() unless defined $item && length $item;
    my $type = ord $item;
    return substr $item, 1 if $type == KEYDATA;
    return duplicates_in($book, substr $item, 1) if $type == DUPLICATE;
    return overflow_value($book, $item) if $type == OFFPAGE;
    return duplicates_on_pages($book, $item) if $type == OFFDUP;
    return unread();
}

# Each duplicate stands between two copies of its length.
sub duplicates_in {
    my ($book, $bytes) = @_;
    my @values;
    while (length $bytes >= 4) {
        my $size = unpack $book->{u16}, $bytes;
        return @values, unread() if $size + 4 > length $bytes;
        push @values, substr $bytes, 2, $size;
        substr $bytes, 0, $size + 4, '';
    }
    return @values;
}

sub overflow_value {
    my ($book, $item) = @_;
    return unread() if length $item < 12;
    my ($number, $size) = unpack "x4 $book->{u32} $book->{u32}", $item;
    return unread() if $size > LONGEST_VALUE;
    return chain($book, $number, $size);
}

# What lies on the overflow pages from `number` on, `size` bytes or, without one, up to the last page's end.
# All pages but the last are full, so a given size makes up for a damaged count of the bytes used.
sub chain {
    my ($book, $number, $size) = @_;
    my $room = $book->{page_size} - $book->{header};
    my ($value, %seen) = ('');
    while (defined $size ? length $value < $size : $number) {
        my $page = page($book, $number);
        return unread($value) if !$page || !is_overflow_page($page, $number);
        return unread($value) if $seen{$number}++ || has_gone_far($book);
        my $left = defined $size ? $size - length $value : $page->{free};
        my $used = $left < $room ? $left : $room;
        return unread($value) if $used == 0 || $book->{header} + $used > length $page->{bytes};
        return unread($value) if length($value) + $used > LONGEST_VALUE;
        $value .= substr $page->{bytes}, $book->{header}, $used;
        $number = page_after($book, $page, $number);
    }
    # A contact with its end missing may be told a wrong size: its pages get a second look.
    @{ $book->{read} }{ keys %seen } = values %seen if defined card_in($value) || $value !~ /\ABEGIN:VCARD/i;
    return $value;
}

# A page belongs to one chain. In a file made to keep us busy many values lead to the same ones.
sub has_gone_far { my ($book) = @_; return $book->{steps}++ > 8 * $book->{pages} }

# One of the two marks is enough; no other page passes for text.
sub is_overflow_page {
    my ($page, $number) = @_;
    return $page->{type} == OVERFLOW || $page->{number} == $number;
}

# Pages of a chain name each other: where the way on is damaged, the way back still tells.
sub page_after {
    my ($book, $page, $number) = @_;
    my $next = page($book, $page->{next});
    return $page->{next} if $next && $next->{prev} == $number;
    my $after = $book->{after} ||= pages_by_the_one_before($book);
    return $after->{$number} || ($next ? $page->{next} : 0);
}

sub pages_by_the_one_before {
    my ($book) = @_;
    my %after;
    for my $number (1 .. $book->{pages} - 1) {
        my $page = page($book, $number) || next;
        $after{ $page->{prev} } = $number if $page->{type} == OVERFLOW && $page->{prev};
    }
    return \%after;
}

# Many duplicates of one key lie in a tree of their own, whose leaves are a chain.
sub duplicates_on_pages {
    my ($book, $item) = @_;
    return unread() if length $item < 8;
    my $number = unpack "x4 $book->{u32}", $item;
    my (@values, %seen);
    while ($number) {
        my $page = page($book, $number);
        return @values, unread() if !$page || $seen{$number}++ || has_gone_far($book);
        $book->{read}{$number} = 1;
        if ($is_inner{ $page->{type} }) {
            $number = first_child($book, $page);
        } elsif ($is_leaf{ $page->{type} }) {
            push @values, leaf_values($book, $page);
            $number = $page->{next};
        } else {
            return @values, unread();
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
    return unread() if $header + 2 * $count > length $page->{bytes};
    my @values;
    my $left = length $page->{bytes};
    for my $offset (unpack "x$header $book->{u16}$count", $page->{bytes}) {
        next if $offset + 3 > length $page->{bytes};
        my ($size, $type) = unpack "x$offset $book->{u16} C", $page->{bytes};
        next if $type & 0x80;    # deleted
        return @values, unread() if ($left -= $size) < 0;
        if (($type & 0x7f) == OFFPAGE && $offset + 12 <= length $page->{bytes}) {
            push @values, overflow_value($book, substr $page->{bytes}, $offset, 12);
        } else {
            push @values, $offset + 3 + $size <= length $page->{bytes}
                ? substr($page->{bytes}, $offset + 3, $size) : unread();
        }
    }
    return @values;
}

1;
