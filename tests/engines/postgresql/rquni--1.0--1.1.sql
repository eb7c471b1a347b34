-- A rehearsal of an upgrade: what a later version may change.
CREATE FUNCTION rq_version() RETURNS text LANGUAGE sql IMMUTABLE PARALLEL SAFE RETURN '1.1'::text;
CREATE OR REPLACE FUNCTION rq_length(value text) RETURNS bigint
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 2;
