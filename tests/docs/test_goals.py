"""A goal of bench/goals.toml counts as met, as replaced by a limit that the same run measured, or as missed."""
import pathlib
import sys
import unittest
from unittest import mock

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "bench"))
from report import goals, tables  # noqa: E402

LIMITS = {"memory": {"of": "limits/load", "share": 0.9, "why": "the core loads no faster"},
          "jump": {"of": "best", "jump": True, "why": "kernels are chosen when the library is loaded"}}
CALLS = {"1": {"nothing": {"ns": 2.0}, "jump": {"ns": 2.3}}}


def judge(ours, goal, others):
    """The row kit/x of one size with a peer that takes 100 ns, and the only goal."""
    rows = {"kit/x": {"4KiB": {"ours": {"ns": ours, "bytes": 4096}, "peer": {"ns": 100.0, "bytes": 4096}}}, **others}
    with mock.patch.multiple(goals, GOALS={"kit/*": [goal]}, LIMITS=LIMITS):
        (one,) = goals.judged(rows)
        return tables.count([one]), one


class Goals(unittest.TestCase):
    goal = {"factor": 0.5, "limits": "memory"}
    limits = {"limits/load": {"4KiB": {"256-bit": {"ns": 80.0}, "512-bit": {"ns": 72.0}}}}

    def test_a_goal_that_is_met_needs_no_limit(self):
        self.assertEqual(judge(50.0, self.goal, {})[0], (1, 0, 0))
        self.assertEqual(judge(52.4, self.goal, {})[0], (1, 0, 0))

    def test_a_limit_takes_the_place_of_a_goal_that_is_out_of_reach(self):
        count, one = judge(83.9, self.goal, self.limits)
        self.assertEqual(count, (0, 1, 0))
        self.assertEqual((one.at_limits, one.missed), (["memory"], []))

    def test_a_limit_excuses_no_more_than_it_takes(self):
        count, one = judge(84.1, self.goal, self.limits)
        self.assertEqual(count, (0, 0, 1))
        self.assertAlmostEqual(one.missed[0][0], 84.1 / 50)

    def test_a_limit_that_the_run_did_not_measure_excuses_nothing(self):
        self.assertEqual(judge(83.9, self.goal, {})[0], (0, 0, 1))
        self.assertEqual(judge(83.9, {"factor": 0.5}, self.limits)[0], (0, 0, 1))

    def test_the_price_of_a_jump_is_what_the_run_measured(self):
        goal = {"factor": 0.9, "limits": "jump"}
        self.assertEqual(judge(105.3, goal, {"limits/call": CALLS})[0], (0, 1, 0))
        self.assertEqual(judge(105.4, goal, {"limits/call": CALLS})[0], (0, 0, 1))
        self.assertEqual(judge(105.3, goal, {})[0], (0, 0, 1))

    def test_one_of_several_limits_is_enough(self):
        goal = {"factor": 0.5, "limits": "jump memory"}
        self.assertEqual(judge(83.9, goal, self.limits)[0], (0, 1, 0))

    def test_the_list_names_the_reason_and_what_has_none(self):
        _, excused = judge(83.9, self.goal, self.limits)
        _, missed = judge(90.0, self.goal, self.limits)
        with mock.patch.object(goals, "LIMITS", LIMITS):
            self.assertEqual(list(tables.excused([excused, missed]))[0], "memory: the core loads no faster")
            self.assertEqual(len(list(tables.excused([excused, missed]))), 2)
        self.assertEqual(tables.missed([excused, missed]), ["kit/x 4KiB: 1.80 x the goal (<= 0.5 x best peer)"])


class TheGoals(unittest.TestCase):
    def test_each_limit_has_a_reason_and_is_measured_beside_the_library(self):
        for name, limit in goals.LIMITS.items():
            self.assertTrue(limit["why"], name)
            self.assertNotEqual(limit.get("column"), "ours", name)
            self.assertTrue({"ns", "gbps"}.isdisjoint(limit), f"{name}: no figure that nobody measured")

    def test_goals_refer_to_limits_that_exist(self):
        named = {name for entries in goals.GOALS.values() for goal in entries for name in goal.get("limits", "").split()}
        self.assertEqual(named, set(goals.LIMITS))


if __name__ == "__main__":
    unittest.main()
