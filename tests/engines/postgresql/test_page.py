"""Runs docs/postgresql.md: its blocks in their order, those for shards and coordinator in servers of their own."""
import unittest

from pages import blocks, expected, statements
from server import Server
from support import ServerTest


class Page(ServerTest):
    def test_the_blocks_print_what_they_show(self):
        shards = [self.enterContext(Server(self.stage, name)) for name in ("shard0", "shard1")]
        coordinator = self.enterContext(Server(self.stage, "coordinator"))
        here, there = "", ""
        for block in blocks("postgresql.md"):
            if block.startswith("-- on each shard"):
                for shard in shards:
                    shard.psql(statements(block))
                continue
            for number, shard in enumerate(shards):
                block = block.replace(f"'shard{number}.example'", f"'{shard.folder}', port '{shard.port}'")
            distant = block.startswith("-- on the coordinator")
            server, before = (coordinator, there) if distant else (self.server, here)
            # A session for all blocks of a server: what a block sets holds for the next.
            output = server.psql(f"{before}\\echo ----\n{statements(block)}", stop=False, verbosity="default")
            self.assertEqual(output.partition("----\n")[2], expected(block), block)
            settings = "".join(line for line in statements(block).splitlines(True) if line.startswith("SET "))
            if distant:
                there += settings
            else:
                here += settings


if __name__ == "__main__":
    unittest.main()
