\echo Use "CREATE EXTENSION rquni" to load this file. \quit

CREATE FUNCTION rq_decode(value text, notation text) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION rq_decode(text, text) IS
  'value with its notations (ncr, uesc, uparen, uparen-ascii) as characters; what cannot be decoded stays';

CREATE FUNCTION rq_encode(value text, notation text) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION rq_encode(text, text) IS 'value in a notation: ncr, uesc, uparen';

CREATE FUNCTION rq_length(value text) RETURNS bigint
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION rq_length(text) IS 'characters, without blanks at the end';

CREATE FUNCTION rq_width(value text) RETURNS bigint
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION rq_width(text) IS 'columns on a fixed-pitch display, without blanks at the end';

CREATE FUNCTION rq_to(value text, form text) RETURNS bytea
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION rq_to(text, text) IS 'value in an encoding form: utf8, utf16le, utf16be, utf32le, utf32be';

CREATE FUNCTION rq_from(value bytea, form text) RETURNS text
  AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION rq_from(bytea, text) IS 'text of an encoding form: utf8, utf16le, utf16be, utf32le, utf32be';
