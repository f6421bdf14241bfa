#!/usr/bin/perl
# Reads an address book (AddressBook.pm says in which forms) from standard input and writes its contacts as
# vCards to standard output, one after the other, in the book's own order. The text is not converted: that is
# the caller's part. Lines are unfolded, so that no character is cut in two by a line end.
use strict;
use warnings;

use FindBin;
use lib $FindBin::Bin;
use AddressBook;

binmode STDOUT;
for my $card (AddressBook::vcards(\*STDIN)) {
    my $text = AddressBook::unfolded($card);
    $text =~ tr/\r//d;    # one inside a value would become a line end, and forge lines of its own
    print $text, "\n";
}
