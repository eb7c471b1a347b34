-- What the functions give in a database of UTF-8.
\pset format unaligned
\pset tuples_only on
CREATE EXTENSION rquni;
-- Decoding, notation by notation
SELECT rq_decode('caf&#233; &#xE9; &#xD83D;&#xDE00; &amp;', 'ncr');
SELECT rq_decode('caf\u00e9 \U0001F600 \uD83D\uDE00 \uu0041', 'uesc');
SELECT rq_decode('<U0041><u65E5>', 'uparen');
SELECT rq_decode('<U0041><u65E5>', 'uparen-ascii');
-- Decoding is total: what cannot be decoded stays
SELECT rq_decode('&#0; &#; &#7; &#xD800; &#x110000; &#99999999; &#65', 'ncr');
SELECT rq_decode('\u0000 \u12 \uDC00 \U00110000', 'uesc');
SELECT rq_decode('<U> <U0000> <UD800> <U00110000> <U', 'uparen');
-- Encoding
SELECT rq_encode('aé日😀', 'ncr');
SELECT rq_encode('aé日😀', 'uesc');
SELECT rq_encode('aé日😀', 'uparen');
SELECT rq_encode(U&'\+0F423F', 'ncr');
-- Measures
SELECT rq_length('日本語 é  '), rq_width('日本語 é  '), rq_length('   '), rq_width(U&'\3000');
-- Forms
SELECT f, rq_to('aé日😀', f), rq_from(rq_to('aé日😀', f), f) FROM unnest('{utf8,utf16le,utf16be,utf32le,utf32be}'::text[]) f;
-- NULL and empty
SELECT rq_decode(NULL, 'ncr') IS NULL, rq_decode('x', NULL) IS NULL, rq_encode(NULL, 'uesc') IS NULL,
       rq_length(NULL) IS NULL, rq_to(NULL, 'utf8') IS NULL, rq_from(NULL, 'utf8') IS NULL;
SELECT rq_decode('', 'ncr') = '', rq_encode('', 'uesc') = '', rq_length(''), rq_width(''), rq_to('', 'utf32le') = '',
       rq_from('', 'utf16be') = '';
-- Lengths around the room on the stack, and where much of the room is left over
SELECT count(*) FROM generate_series(3000, 5000, 7) n, repeat('x&#233;', n / 7) AS t
 WHERE rq_decode(t, 'ncr') IS DISTINCT FROM repeat('xé', n / 7);
SELECT count(*) FROM generate_series(200, 5000, 7) n, repeat('é', n) AS t
 WHERE rq_encode(t, 'uparen') IS DISTINCT FROM repeat('<u00E9>', n) OR rq_encode(t, 'uesc') IS DISTINCT FROM repeat('\u00E9', n)
    OR rq_encode(t, 'ncr') IS DISTINCT FROM repeat('&#233;', n) OR rq_from(rq_to(t, 'utf16be'), 'utf16be') IS DISTINCT FROM t
    OR rq_length(t) IS DISTINCT FROM n;
SELECT rq_encode(repeat('x', 1000000), 'ncr') = repeat('x', 1000000);
-- Compressed and external values
CREATE TABLE long_text (a text);
INSERT INTO long_text SELECT repeat('caf&#233; ', 100000);
INSERT INTO long_text SELECT string_agg(md5(i::text) || '&#233;', '') FROM generate_series(1, 5000) i;
SELECT rq_length(rq_decode(a, 'ncr')), rq_decode(a, 'ncr') = replace(a, '&#233;', 'é') FROM long_text;
