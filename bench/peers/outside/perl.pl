#!/usr/bin/perl
# Times Perl's ways to do the jobs on the texts of a folder; see README.md here.
use strict;
use warnings;
use Encode qw(decode encode);
use HTML::Entities qw(decode_entities);
use JSON::XS;
use Time::HiRes qw(clock_gettime CLOCK_MONOTONIC);

my $json = JSON::XS->new->allow_nonref->ascii;

# Row: [column, what the input needs before, way, what the answer needs after, does it copy a text without notations?]
my %ways = (
    "codecs/ulGetNCR"   => [["perl HTML::Entities", "", sub { decode_entities($_[0]) }, "", 1]],
    "codecs/ulGetUEsc"  => [["perl JSON::XS", '"', sub { $json->decode($_[0]) }, "", 1]],
    "codecs/ulGetUParen" => [["perl s///ge", "", sub { $_[0] =~ s/<[Uu]([0-9A-Fa-f]{4})>/chr hex $1/ger }, "", 0]],
    "codecs/ulPutNCR"   => [["perl s///ge", "", sub { $_[0] =~ s/([^\x00-\x7F])/"&#" . ord($1) . ";"/ger }, "", 0]],
    "codecs/ulPutUEsc"  => [["perl JSON::XS", "", sub { $json->encode($_[0]) }, '"', 1]],
    "codecs/ulPutUParen" => [["perl s///ge", "", sub { $_[0] =~ s/(.)/sprintf "<u%04X>", ord $1/gser }, "", 1]],
);

sub now { 1e9 * clock_gettime(CLOCK_MONOTONIC) }

sub fastest {
    my ($way, $text) = @_;
    my ($least, $passes, $end) = (9e18, 0, now() + 3e8);
    while ($passes < 4 || (now() < $end && $passes < 50)) {
        my $start = now();
        my $answer = $way->($text);
        my $time = now() - $start;
        $least = $time if $time < $least;
        ++$passes;
        last if $time > 2e9;
    }
    return $least;
}

sub measured {
    my ($before, $way, $after, $copies, $size, $input, $expected) = @_;
    return {error => "returns its input"} if !$copies && $size =~ /^plain/;
    my $text = $before . decode("UTF-8", $input) . $before;
    my $answer = encode("UTF-8", eval { $way->($text) } // "");
    $answer = substr $answer, 1, -1 if $after;
    return {error => "not for this text"} if lc $answer ne lc $expected;
    return {ns => fastest($way, $text), $answer eq $expected ? () : (note => "other case")};
}

sub contents {
    open my $file, "<:raw", $_[0] or die "$_[0]: $!\n";
    local $/;
    return <$file>;
}

my ($folder) = @ARGV;
$| = 1;
for (split /\n/, contents("$folder/index.tsv")) {
    my ($row, $size, $name) = split /\t/;
    for my $way (@{$ways{(split / /, $row)[0]} || []}) {
        my ($column, @way) = @$way;
        my $cell = measured(@way, $size, contents("$folder/$name.in"), contents("$folder/$name.out"));
        print encode_json({row => $row, size => $size, column => $column, %$cell}), "\n";
    }
}
