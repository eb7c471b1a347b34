-- Errors: their codes, and that the session goes on.
\pset format unaligned
\pset tuples_only on
\set SHOW_CONTEXT never
-- 22023: unknown names, with a hint
SELECT rq_decode('x', 'html');
SELECT rq_encode('x', 'uparen-ascii');
SELECT rq_to('x', 'utf16');
SELECT rq_from('x', '');
-- 54000: a zero byte among the digits
SELECT rq_encode(U&'\+10FFFF', 'ncr');
SELECT rq_encode(U&'\+0F4240', 'ncr');
SELECT rq_encode(repeat(U&'\+0F4240', 1000), 'ncr');
-- 22021: what is no text, with the offset
SELECT rq_from('\x41ff', 'utf8');
SELECT rq_from('\x41eda080', 'utf8');
SELECT rq_from('\x4100', 'utf8');
SELECT rq_from('\x00', 'utf8');
SELECT rq_from('\x004100', 'utf16be');
SELECT rq_from('\x0041d800', 'utf16be');
SELECT rq_from('\x4100000000d80000', 'utf32le');
SELECT rq_from('\x410000000000000042000000', 'utf32le');
SELECT rq_from('\x00110000', 'utf32be');
\set VERBOSITY sqlstate
SELECT rq_decode('x', 'html');
SELECT rq_to('x', 'utf16');
SELECT rq_encode(U&'\+10FFFF', 'ncr');
SELECT rq_from('\x41ff', 'utf8');
SELECT rq_from('\x4100', 'utf8');
-- 54000: above 1 GB, found when the gigabyte is full
SELECT rq_encode(repeat('x', 160000000), 'uparen');
SELECT rq_to(repeat('x', 270000000), 'utf32le');
-- A cancel is answered at the end of the value
SET statement_timeout = '20ms';
SELECT rq_length(rq_decode(repeat('&#233;', 20000000), 'ncr'));
RESET statement_timeout;
SELECT rq_decode('caf&#233;', 'ncr');
