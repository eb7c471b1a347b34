"""Every callback of the library fails once, and every conversion procedure raises once: the error that is due comes, the
host's memory stays what it was, and the session goes on."""
import unittest

from support import TEST_MODULE, ServerTest

LONG = 'é' * 700  # needs a working buffer
PREPARE = """
CREATE OR REPLACE FUNCTION rq_test_fail(number int, raising bool) RETURNS void AS '$libdir/rquni' LANGUAGE C;
CREATE OR REPLACE FUNCTION rq_test_counted() RETURNS int AS '$libdir/rquni' LANGUAGE C;
CREATE OR REPLACE FUNCTION state_of(statement text) RETURNS text LANGUAGE plpgsql AS $$
DECLARE result text;
BEGIN
  EXECUTE statement INTO result;
  RETURN 'done ' || left(md5(result), 8);
EXCEPTION WHEN OTHERS THEN
  RETURN SQLSTATE;
END $$;
CREATE OR REPLACE FUNCTION host_bytes() RETURNS bigint LANGUAGE sql AS
  $$ SELECT sum(used_bytes)::bigint FROM pg_backend_memory_contexts WHERE name = 'rquni' $$;
-- Runs a statement with each callback failing once; tells the states that were seen and where memory was left behind.
CREATE OR REPLACE FUNCTION fail_each(statement text, raising bool, OUT callbacks int, OUT states text, OUT grown int)
LANGUAGE plpgsql AS $$
DECLARE
  sound text; before bigint; seen text[] := '{}';
BEGIN
  sound := state_of(statement);
  PERFORM rq_test_fail(0, raising);
  PERFORM state_of(statement);
  callbacks := rq_test_counted();
  before := host_bytes();
  grown := 0;
  FOR n IN 1 .. callbacks LOOP
    PERFORM rq_test_fail(n, raising);
    seen := seen || replace(state_of(statement), sound, 'the same');
    PERFORM rq_test_fail(0, raising);
    IF host_bytes() <> before THEN grown := grown + 1; END IF;
    IF state_of(statement) <> sound THEN RAISE 'the session does not go on after callback %', n; END IF;
  END LOOP;
  SELECT string_agg(DISTINCT state, ' ' ORDER BY state) INTO states FROM unnest(seen) state;
END $$;
"""
STATEMENTS = {
    "rq_decode('&#233;x&#0;&#26085;', 'ncr')": "done",
    f"rq_encode('{LONG}', 'ncr')": "22P05 53200",
    f"rq_encode('{LONG}', 'uesc')": "22P05 53200",
    f"rq_encode('{LONG}', 'uparen')": "22P05 53200",
    f"rq_length('{LONG}')": "22P05 53200",
    f"rq_width('{LONG}')": "22P05 53200",
    f"rq_to('{LONG}', 'utf16le')": "22P05",
    r"rq_from('\x00e900e9', 'utf16be')": "22021",
}


class Callbacks(ServerTest):
    module = TEST_MODULE

    def fail_each(self, database, statement, raising):
        quoted = statement.replace("'", "''")
        row = self.server.psql(f"SELECT * FROM fail_each('SELECT {quoted}::text', {raising});", database).strip()
        callbacks, states, grown = row.split("|")
        self.assertGreater(int(callbacks), 0, statement)
        self.assertEqual(int(grown), 0, f"{statement}: memory is left behind")
        return states

    def test_each_callback_fails_once(self):
        for encoding in ("UTF8", "LATIN1", "EUC_JP"):
            database = self.server.database(f"fails_{encoding.lower()}", encoding)
            self.server.psql(PREPARE, database)
            for statement, expected in STATEMENTS.items():
                with self.subTest(encoding, statement=statement[:30]):
                    states = self.fail_each(database, statement, False)
                    # A conversion that fails lets a notation stay; it is never an error.
                    if expected == "done":
                        self.assertRegex(states, "^(done \\w{8} ?|the same ?)+$")
                    else:
                        self.assertEqual(set(states.split()) - {"the", "same"}, set(expected.split()))

    def test_each_procedure_raises_once(self):
        database = self.server.database("raises", "EUC_JP")
        self.server.psql(PREPARE, database)
        for statement in STATEMENTS:
            with self.subTest(statement[:30]):
                self.assertEqual(self.fail_each(database, statement, True), "09000")

    def test_the_whole_characters_that_fit_are_written(self):
        for encoding, python, text in (("UTF8", "utf-8", "é日😀x"), ("LATIN1", "latin-1", "éñx"), ("EUC_JP", "euc_jp", "日本éx"),
                                       ("EUC_JP", "euc_jp", "日é" * 60)):  # more than goes through a procedure at once
            database = self.server.database(f"fits_{encoding.lower()}_{len(text)}", encoding)
            self.server.psql("CREATE FUNCTION rq_test_fit(bytea, int, bool) RETURNS bytea AS '$libdir/rquni' LANGUAGE C;", database)
            for source, target, to_session in (("utf-16-be", python, "true"), (python, "utf-16-be", "false")):
                result = text.encode(target)
                ends = [len(text[:count].encode(target)) for count in range(len(text) + 1)]
                rooms = range(len(result) + 2)
                rows = self.server.psql(f"SELECT encode(rq_test_fit('\\x{text.encode(source).hex()}', room, {to_session}), 'hex') "
                                        f"FROM generate_series(0, {rooms[-1]}) room ORDER BY room;", database)
                fitting = [result[:max(end for end in ends if end <= room)].hex() for room in rooms]
                self.assertEqual(rows.split("\n")[:-1], fitting, encoding)

    def test_each_callback_of_the_creation_fails_once(self):
        """In a session each, since a backend makes its host once."""
        database = self.server.database("creation")
        self.server.psql(PREPARE, database)
        call = "SELECT rq_decode('&#233;', 'ncr');\n"
        script = "SELECT rq_test_fail({}, false);\n" + call
        counted = int(self.server.psql(script.format(0) + "SELECT rq_test_counted();", database).split()[-1])
        of_a_call = 2  # to the session and back
        self.assertEqual(counted - of_a_call, 16, "pool, object and fourteen transcoders")
        for number in range(1, counted - of_a_call + 1):
            output = self.server.psql(script.format(number) + "SELECT count(*) FROM pg_backend_memory_contexts WHERE name = 'rquni';\n" +
                                      call + "SELECT count(*) FROM pg_backend_memory_contexts WHERE name = 'rquni';", database, stop=False)
            self.assertEqual(output.split(), ["ERROR:", "53200", "0", "é", "1"], number)


if __name__ == "__main__":
    unittest.main()
