#!/usr/bin/perl
# Reads an address book (AddressBook.pm says in which forms) from standard input and writes its contacts as
# vCards to standard output, one after the other, in the book's own order. Lines are unfolded, so that no character
# is cut in two by a line end. The caller takes the text for GB2312, so a value that tells its character set, or is
# in base64, is written in GB2312 or, where that has no letters for it, in ASCII that tells of UTF-8. All other text
# is not converted: that is the caller's part.
use strict;
use warnings;

use Encode ();
use FindBin;
use lib $FindBin::Bin;
use MIME::QuotedPrint ();
use AddressBook;

# Values that are no text, or no text of a person.
my %is_data = map { $_ => 1 } qw(PHOTO LOGO SOUND KEY);

# undef for what GB2312 does not hold. Two of its signs, a dot and a dash, are other characters to perl than to iconv.
sub in_gb2312 {
    my ($text) = @_;
    my $bytes = eval { Encode::encode('euc-cn', $text, Encode::FB_CROAK) };
    return undef if !defined $bytes || $bytes =~ /\A(?:[\x00-\x7f]|[\x80-\xff]{2})*?\xA1[\xA4\xAA]/;
    return $bytes;
}

# The property `line` without its encoding; the line as it is when it tells none or its value is no text.
sub decoded_line {
    my ($line) = @_;
    return $line unless $line =~ /CHARSET=|BASE64|ENCODING=B/i;
    my $property = AddressBook::property($line);
    return $line if !$property || $is_data{ $property->{name} };
    my ($name, @params) = @{ $property->{head} };
    return $line unless grep { /^CHARSET=|^(?:ENCODING=)?BASE64$|^ENCODING=B$/i } @params;
    my $text = AddressBook::text_of($property);
    return $line if $text =~ /[\x00-\x08\x0b\x0c\x0e-\x1f\x{fffd}]/;
    my $head = join ';', $name, grep { !/^(?:CHARSET|ENCODING)=|^(?:QUOTED-PRINTABLE|BASE64)$/i } @params;
    my $bytes = $text =~ /[\r\n]/ ? undef : in_gb2312($text);
    return "$head:$bytes" if defined $bytes;
    my $ascii = MIME::QuotedPrint::encode(Encode::encode('UTF-8', $text =~ s/\r?\n/\r\n/gr), '', 1);
    return "$head;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:$ascii";
}

binmode STDOUT;
for my $card (AddressBook::vcards(\*STDIN)) {
    my $text = AddressBook::unfolded($card);
    $text =~ tr/\r//d;    # one inside a value would become a line end, and forge lines of its own
    print join("\n", map { decoded_line($_) } split /\n/, $text), "\n";
}
close STDOUT or die "address book: the contacts could not be written: $!\n";
