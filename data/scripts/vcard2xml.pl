#!/usr/bin/perl
# Reads an address book (AddressBook.pm says in which forms) from standard input and writes its contacts as one
# XML document to standard output, for the import by "mozilla -syncin". docs/contacts.md describes the format.
use strict;
use warnings;

use FindBin;
use lib $FindBin::Bin;
use AddressBook;

# Properties that become one element each, with their text as it is.
my %text_elements = (
    FN       => 'displayName',
    NICKNAME => 'nickname',
    TITLE    => 'title',
    ROLE     => 'role',
    BDAY     => 'birthday',
    URL      => 'url',
    NOTE     => 'note',
);

# Properties whose text has parts between semicolons, and the elements of the parts.
my %structured_elements = (
    N   => [ 'name', qw(family given additional prefix suffix) ],
    ADR => [ 'address', qw(postOfficeBox extended street city region postalCode country) ],
    ORG => [ 'organization', qw(company unit) ],
);

my %wanted = map { $_ => 1 } keys %text_elements, keys %structured_elements, qw(EMAIL TEL);

# Kinds of phones and addresses, the first that fits; "type" tells it.
my @phone_kinds   = (qw(CELL PAGER CAR ISDN), [ FAX => 'fax' ], qw(HOME WORK));
my @address_kinds = qw(HOME WORK);

# Only what XML 1.0 allows, with its five special characters spelt out.
sub escaped {
    my ($text) = @_;
    return $text unless $text =~ /[^ !#-%(-;=?-~]/;
    $text =~ s/[^\x{9}\x{a}\x{d}\x{20}-\x{d7ff}\x{e000}-\x{fffd}\x{10000}-\x{10ffff}]//g;
    my %entity = ('&' => '&amp;', '<' => '&lt;', '>' => '&gt;', '"' => '&quot;', "'" => '&apos;');
    $text =~ s/([&<>"'])/$entity{$1}/g;
    return $text;
}

sub unescaped {
    my ($text) = @_;
    $text =~ s/\\(.)/$1 eq 'n' || $1 eq 'N' ? "\n" : $1/ges;
    return $text;
}

# Parts between semicolons that no backslash stands before.
sub parts_of {
    my ($text) = @_;
    return length $text ? split(/;/, $text, -1) : ('') if index($text, '\\') < 0;
    my @parts = ('');
    while ($text =~ /\G(\\.|;|[^\\;]+|\\\z)/gs) {
        if ($1 eq ';') { push @parts, '' } else { $parts[-1] .= $1 }
    }
    return map { unescaped($_) } @parts;
}

sub element {
    my ($name, $text, $indent) = @_;
    return length $text ? "$indent<$name>" . escaped($text) . "</$name>\n" : '';
}

# The kind of a phone or an address by its types, in lower case; "other" when none of the known fits.
sub kind {
    my ($property, @kinds) = @_;
    my %types = map { uc $_ => 1 } map { split /,/ } @{ $property->{params}{TYPE} || [] };
    for my $kind (@kinds) {
        return lc $kind if !ref $kind && $types{$kind};
        return ($types{WORK} ? 'work' : $types{HOME} ? 'home' : '') . 'fax' if ref $kind && $types{ $kind->[0] };
    }
    return 'other';
}

sub structured_element {
    my ($property) = @_;
    my ($name, @fields) = @{ $structured_elements{ $property->{name} } };
    my @parts = parts_of(AddressBook::text_of($property));
    push @fields, ('unit') x (@parts - @fields) if $name eq 'organization';    # departments of departments
    my $inner = join '', map { element($fields[$_], $parts[$_] // '', '      ') } 0 .. $#fields;
    my $type = $name eq 'address' ? ' type="' . kind($property, @address_kinds) . '"' : '';
    return length $inner ? "    <$name$type>\n$inner    </$name>\n" : '';
}

sub property_element {
    my ($property) = @_;
    my $name = $property->{name};
    return structured_element($property) if $structured_elements{$name};
    my $text = unescaped(AddressBook::text_of($property));
    return element($text_elements{$name}, $text, '    ') if $text_elements{$name};
    return element('email', $text, '    ') if $name eq 'EMAIL';
    return '' unless $name eq 'TEL' && length $text;
    return '    <phone type="' . kind($property, @phone_kinds) . '">' . escaped($text) . "</phone>\n";
}

sub contact_element {
    my ($card) = @_;
    return "  <contact>\n" . join('', map { property_element($_) } AddressBook::properties($card, \%wanted)) . "  </contact>\n";
}

binmode STDOUT, ':encoding(UTF-8)';
print qq(<?xml version="1.0" encoding="UTF-8"?>\n<contacts>\n);
print contact_element($_) for AddressBook::vcards(\*STDIN);
print "</contacts>\n";
close STDOUT or die "address book: the contacts could not be written: $!\n";
