"""A coordinator and two shards behind postgres_fdw: the functions run where the rows are."""
import unittest

from server import Server
from support import ServerTest

SHARD = """
CREATE EXTENSION rquni;
CREATE TABLE page (shard int, id int, body text);
INSERT INTO page SELECT i % 2, i, 'caf&#233; ' || i || ' &#x65E5;&#0;' FROM generate_series({first}, {last}, 2) i;
ANALYZE page;
"""
COORDINATOR = """
CREATE EXTENSION rquni;
CREATE EXTENSION postgres_fdw;
CREATE TABLE page (shard int, id int, body text) PARTITION BY LIST (shard);
{shards}
ANALYZE page;
"""
LINK = """
CREATE SERVER shard{number} FOREIGN DATA WRAPPER postgres_fdw
  OPTIONS (host '{folder}', port '{port}', dbname 'postgres', extensions 'rquni');
CREATE USER MAPPING FOR postgres SERVER shard{number} OPTIONS (user 'postgres');
CREATE FOREIGN TABLE page{number} PARTITION OF page FOR VALUES IN ({number}) SERVER shard{number}
  OPTIONS (table_name 'page');
"""


class Shards(ServerTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        links = ""
        for number in (0, 1):
            shard = cls.enterClassContext(Server(cls.stage, f"shard{number}"))
            shard.psql(SHARD.format(first=2 - number, last=10000))
            links += LINK.format(number=number, folder=shard.folder, port=shard.port)
        cls.server.psql(COORDINATOR.format(shards=links))

    def remote(self, query):
        """The statements that the plan sends to the shards."""
        plan = self.server.psql("SET enable_partitionwise_aggregate = on; EXPLAIN (VERBOSE, COSTS OFF) " + query)
        return [line.strip() for line in plan.splitlines() if "Remote SQL:" in line]

    def test_a_condition_is_tried_on_the_shards(self):
        query = "SELECT id FROM page WHERE rq_decode(body, 'ncr') LIKE 'café 77 %';"
        sent = self.remote(query)
        self.assertEqual(len(sent), 2)
        for statement in sent:
            self.assertRegex(statement, r"WHERE .*public\.rq_decode\(body, 'ncr'(::text)?\)")
        self.assertEqual(self.server.psql(query), "77\n")

    def test_a_grouped_sum_is_made_on_the_shards(self):
        query = "SELECT shard, sum(rq_length(rq_decode(body, 'ncr'))) FROM page GROUP BY shard ORDER BY 1;"
        sent = self.remote(query)
        self.assertEqual(len(sent), 2)
        for statement in sent:
            self.assertRegex(statement, r"sum\(public\.rq_length\(public\.rq_decode\(body, 'ncr'(::text)?\)\)\).*GROUP BY")
        # "café N 日&#0;": eleven characters and the digits of N, of the even and of the odd numbers.
        sums = [sum(11 + len(str(i)) for i in range(first, 10001, 2)) for first in (2, 1)]
        self.assertEqual(self.server.psql("SET enable_partitionwise_aggregate = on; " + query), "0|{}\n1|{}\n".format(*sums))

    def test_a_sum_over_all_shards_is_not(self):
        for statement in self.remote("SELECT sum(rq_length(rq_decode(body, 'ncr'))) FROM page;"):
            self.assertRegex(statement, "SELECT body FROM public.page$")


if __name__ == "__main__":
    unittest.main()
