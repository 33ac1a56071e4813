"""The report of scripts/bench, made of measurements that are given."""

import importlib.machinery
import importlib.util
import pathlib
import unittest

PATH = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "bench"
LOADER = importlib.machinery.SourceFileLoader("bench", str(PATH))
bench = importlib.util.module_from_spec(
    importlib.util.spec_from_loader("bench", LOADER))
LOADER.exec_module(bench)


def run(name, *times, **more):
    """Repetitions of a row, as Google Benchmark reports them."""
    return [{"name": name, "run_type": "iteration", "cpu_time": time,
             "real_time": 1000 * time, "time_unit": "us", **more}
            for time in times]


def rows(*runs, counts=()):
    measured = bench.medians({"benchmarks": sum(runs, [])})
    return bench.compare("Family", measured, dict(counts))


class Test(unittest.TestCase):
    def test_medians_are_compared_with_the_fastest_peer(self):
        [row] = rows(run("sort/ours/10", 3, 90, 2), run("sort/slow/10", 8),
                     run("sort/fast/10", 6),
                     counts={"sort/ours/10": 5, "sort/fast/10": 2})
        self.assertEqual(row["ours_ns"], 3000)
        self.assertEqual(row["peer"], "fast")
        self.assertEqual(row["time"], 0.5)
        self.assertEqual(row["instructions"], 2.5)

    def test_times_are_for_each_item(self):
        [row] = rows(run("sort/ours/4", 2, items_per_second=2e6),
                     run("sort/peer/4", 4, items_per_second=1e6))
        self.assertEqual(row["ours_ns"], 500)
        self.assertEqual(row["peers"], {"peer": 1000})

    def test_instructions_are_those_of_the_last_run_while_the_clock_runs(self):
        events = (("StartKeepRunning", 1), ("ResumeTiming", 1),
                  ("PauseTiming", 500), ("StartKeepRunning", 70),
                  ("ResumeTiming", 1), ("PauseTiming", 20),
                  ("ResumeTiming", 1), ("PauseTiming", 30),
                  ("ReportRuns", 9), ("ReportRuns", 9))
        lines = sum(([f"desc: Trigger: --dump-before=benchmark::{event}()",
                      f"totals: {count}"] for event, count in events), [])
        self.assertEqual(bench.parse_counts(lines), [50])


if __name__ == "__main__":
    unittest.main()
