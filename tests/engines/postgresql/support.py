"""What the tests of the PostgreSQL extension share: one stage, and servers on it."""
import os
import unittest

from server import Server, Stage

MODULE, TEST_MODULE, LIBRARY = (os.environ[name] for name in ("RQ_POSTGRESQL_MODULE", "RQ_POSTGRESQL_TEST_MODULE", "RQ_LIBRARY"))
HERE = os.path.dirname(os.path.abspath(__file__))


class ServerTest(unittest.TestCase):
    """One server for a class of tests."""
    maxDiff = None
    module = MODULE

    @classmethod
    def setUpClass(cls):
        cls.stage = Stage(cls.module, LIBRARY, extra=[os.path.join(HERE, "rquni--1.0--1.1.sql")])
        cls.addClassCleanup(cls.stage.remove)
        cls.server = cls.enterClassContext(Server(cls.stage))
