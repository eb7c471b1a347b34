"""pg_regress over sql/: what each function gives, each error, and where the functions may stand."""
import os
import pathlib
import subprocess
import unittest

from server import BIN, as_server
from support import HERE, ServerTest

PG_REGRESS = pathlib.Path(os.environ.get("RQ_PG_REGRESS", "/usr/lib/postgresql/15/lib/pgxs/src/test/regress/pg_regress"))


class Rows(ServerTest):
    def test_expected_output(self):
        folder = self.server.folder / "regress"
        subprocess.run(as_server(["mkdir", folder]), check=True)
        self.server.psql("CREATE DATABASE regression TEMPLATE template0 ENCODING 'UTF8';")
        command = [PG_REGRESS, f"--inputdir={HERE}", f"--outputdir={folder}", f"--bindir={BIN}", "--use-existing",
                   f"--host={self.server.folder}", f"--port={self.server.port}", "--user=postgres", "--dbname=regression",
                   "--encoding=UTF8", "results", "errors", "uses"]
        result = subprocess.run(as_server(command), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, cwd=folder,
                                encoding="utf-8")
        if copy := os.environ.get("RQ_KEEP_RESULTS"):  # to write expected/ anew
            subprocess.run(["cp", "-r", folder / "results", copy], check=True)
        differences = folder / "regression.diffs"
        self.assertEqual(result.returncode, 0, result.stdout + (differences.read_text() if differences.exists() else ""))


if __name__ == "__main__":
    unittest.main()
