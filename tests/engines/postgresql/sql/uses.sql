-- Where the functions may stand: indexes, generated columns, checks, updates, parallel plans.
\pset format unaligned
\pset tuples_only on
\set VERBOSITY sqlstate
SELECT proname, provolatile, proisstrict, proparallel FROM pg_proc WHERE proname ^@ 'rq_' ORDER BY 1;
CREATE TABLE page (id int, body text CHECK (rq_length(body) < 40),
                   plain text GENERATED ALWAYS AS (rq_decode(body, 'ncr')) STORED);
CREATE INDEX page_plain ON page (rq_decode(body, 'ncr'));
INSERT INTO page (id, body) SELECT i, 'row &#' || 200 + i || ';' FROM generate_series(1, 2000) i;
INSERT INTO page (id, body) VALUES (0, repeat('x', 40));
SELECT plain FROM page WHERE id = 33;
ANALYZE page;
EXPLAIN (COSTS OFF) SELECT id FROM page WHERE rq_decode(body, 'ncr') = 'row é';
SELECT id FROM page WHERE rq_decode(body, 'ncr') = 'row é';
UPDATE page SET body = rq_decode(body, 'ncr') WHERE body LIKE '%&#%';
SELECT count(*), count(*) FILTER (WHERE body = plain) FROM page;
-- The collation of the argument is the result's
SELECT rq_decode('B' COLLATE "C", 'ncr') < 'a';
SELECT collation for (rq_decode('B' COLLATE "POSIX", 'ncr'));
-- Workers share the work
SET max_parallel_workers_per_gather = 2;
SET parallel_setup_cost = 0;
SET parallel_tuple_cost = 0;
SET min_parallel_table_scan_size = 0;
EXPLAIN (COSTS OFF) SELECT sum(rq_length(body)) FROM page;
SELECT sum(rq_length(body)) FROM page;
-- A trusted extension is made without a superuser, moves, and is upgraded
DROP EXTENSION rquni CASCADE;
CREATE ROLE plain_user LOGIN;
CREATE SCHEMA own AUTHORIZATION plain_user;
GRANT CREATE ON DATABASE :"DBNAME" TO plain_user;
SET ROLE plain_user;
CREATE EXTENSION rquni SCHEMA own;
ALTER EXTENSION rquni UPDATE TO '1.1';
SELECT own.rq_version(), own.rq_length('é  ');
SELECT extversion FROM pg_extension WHERE extname = 'rquni';
RESET ROLE;
CREATE SCHEMA other;
ALTER EXTENSION rquni SET SCHEMA other;
SELECT other.rq_decode('&#233;', 'ncr');
DROP EXTENSION rquni;
