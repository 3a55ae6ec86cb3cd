#!/usr/bin/env python3
"""The parts of bench/report.py and tests/costs/cost_test.py that calculate."""

import pathlib
import sys
import unittest
import xml.dom.minidom

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path[:0] = [str(ROOT / "bench"), str(ROOT / "tests" / "costs")]
import cost_test  # noqa: E402
import report  # noqa: E402

WHOLE = """{
  "context": {"date": "today"},
  "benchmarks": [
    {
      "name": "read/records/1MB/velmora/manual_time",
      "run_name": "read/records/1MB/velmora/manual_time",
      "real_time": 2.0, "cpu_time": 9.0, "time_unit": "us", "bytes": 10, "items": 4, "label": "a note"
    },
    {
      "name": "find/words/64B/strstr",
      "run_name": "find/words/64B/strstr",
      "real_time": 9.0, "cpu_time": 3.0, "time_unit": "ns"
    }
  ]
}
"""


def entry(contender, spent, run_type="iteration"):
    name = f"read/records/16MB/{contender}"
    return {"name": name, "run_name": name, "run_type": run_type, "real_time": 0, "cpu_time": spent,
            "time_unit": "ns", "bytes": 1000, "items": 10, "label": ""}


def results(against=False):
    """Three runs of velmora (100, 200, 300 ns) and of a peer that takes twice, three and four times as long."""
    measured = report.Results()
    for run in range(3):
        measured.add("new", "bench_readers", run, [entry("velmora", 100 * (run + 1)),
                                                   entry("peer", 100 * (run + 1) * (run + 2))])
        if against:
            measured.add("now", "bench_readers", run, [entry("velmora", 120 * (run + 1))])
            measured.add("old", "bench_readers", run, [entry("velmora", 150 * (run + 1))])
    return measured.as_json({"against": "v1"} if against else {})


class ParseOutput(unittest.TestCase):
    def test_whole(self):
        self.assertEqual([e["name"] for e in report.parse_output(WHOLE)],
                         ["read/records/1MB/velmora/manual_time", "find/words/64B/strstr"])

    def test_what_was_ended_early_has_what_is_complete(self):
        for end in range(len(WHOLE)):
            found = len(report.parse_output(WHOLE[:end]))
            self.assertEqual(found, WHOLE[:end].count("\n    }"), WHOLE[:end])

    def test_a_benchmark_that_measures_itself_has_its_own_time(self):
        key, measured = report.parse_benchmark(report.parse_output(WHOLE)[0])
        self.assertEqual(key, ("read", "records", "1MB", "velmora"))
        self.assertEqual(measured, {"time": 2000.0, "bytes": 10, "items": 4, "note": "a note"})

    def test_a_loop_has_the_processors_time(self):
        key, measured = report.parse_benchmark(report.parse_output(WHOLE)[1])
        self.assertEqual(key, ("find", "words", "64B", "strstr"))
        self.assertEqual(measured["time"], 3.0)


class Measured(unittest.TestCase):
    def test_the_quickest_repetition_of_a_run_counts_and_aggregates_do_not(self):
        measured = report.Results()
        measured.add("new", "bench_readers", 0, [entry("velmora", 5), entry("velmora", 4), entry("velmora", 6),
                                                 entry("velmora", 1, "aggregate")])
        self.assertEqual(measured.as_json({})["rows"][0]["ns"], {"0": 4})

    def test_ratios_are_taken_within_a_run(self):
        self.assertEqual(report.paired_ratios({"0": 6.0, "1": 9.0, "3": 5.0}, {"0": 2.0, "1": 3.0, "2": 1.0}), [3.0, 3.0])

    def test_spread_is_that_of_the_quartiles(self):
        self.assertEqual(report.quartile_spread([7.0]), 0)
        self.assertAlmostEqual(report.quartile_spread([1.0, 2.0, 3.0, 4.0, 5.0]), 2 / 3)


class Turns(unittest.TestCase):
    def test_of_two_libraries_neither_is_always_the_first(self):
        listed = report.list_benchmarks
        report.list_benchmarks = lambda path, row: ["find/words/4KB/velmora", "find/words/4KB/strstr"]
        try:
            steps = [list(report.steps_of_a_run(run, "text", pathlib.Path("a"), pathlib.Path("b"), "find")) for run in (0, 1)]
        finally:
            report.list_benchmarks = listed
        self.assertEqual([side for side, *_ in steps[0]], ["now", "old", "old", "now", "now", "old", "new"])
        self.assertEqual([side for side, *_ in steps[1]], ["old", "now", "now", "old", "old", "now", "new"])
        self.assertEqual({(side, str(path), row) for side, path, row, _ in steps[0]},
                         {("now", "a/text", "find/words/4KB/velmora"), ("old", "b/text", "find/words/4KB/velmora"),
                          ("new", "a/text", "find/words/4KB/")})

    def test_a_library_alone_runs_all_rows_at_once(self):
        self.assertEqual(list(report.steps_of_a_run(0, "text", pathlib.Path("a"), None, "find")),
                         [("new", pathlib.Path("a/text"), "find", 1)])


class Seconds(unittest.TestCase):
    def test_short_time_leaves_out_large_documents(self):
        names = [f"read/records/{size}/velmora" for size in ("1KB", "1MB", "16MB", "90MB")]
        for seconds, largest in ((100, 90000000), (2, 16000000), (0.1, 1000000)):
            self.assertEqual(report.largest_document(names, seconds), largest)


class Texts(unittest.TestCase):
    def test_times(self):
        for nanoseconds, text in ((1.234, "1.23 ns"), (45.6, "45.6 ns"), (1500, "1.5 us"), (2.5e6, "2.5 ms"),
                                  (9.999e8, "1000 ms"), (3e9, "3 s")):
            self.assertEqual(report.time_text(nanoseconds), text)

    def test_ratios(self):
        for ratio, text in ((0.456, "0.46"), (9.94, "9.94"), (12.34, "12.3"), (99.6, "100")):
            self.assertEqual(report.ratio_text(ratio), text)

    def test_terminal(self):
        lines = report.terminal_table(results()).splitlines()
        self.assertRegex(lines[1], r"^read/records/16MB +velmora +200 ns +50.0 % +5000 +20 ns$")
        self.assertRegex(lines[2], r"^ +peer +600 ns +83.3 % +1667 +60 ns +3.00$")

    def test_terminal_with_another_revision(self):
        lines = report.terminal_table(results(against=True)).splitlines()
        self.assertRegex(lines[1], r"20 ns +300 ns +1.25$")
        self.assertRegex(lines[2], r"60 ns +3.00$")


class Page(unittest.TestCase):
    def test_only_what_is_between_marks_changes(self):
        before = "one\n<!-- bench: read 16MB -->\nold\nlines\n<!-- /bench -->\ntwo\n"
        after = ("one\n<!-- bench: read 16MB -->\n|  | velmora | each | peer |\n|---|---|---|---|\n"
                 "| records, 16MB | 200 ns | 20 ns | 3.00 |\n<!-- /bench -->\ntwo\n")
        self.assertEqual(report.fill_page(before, results()), after)
        self.assertEqual(report.fill_page(after, results()), after)

    def test_a_row_is_named_by_its_beginning(self):
        for row in ("re", "read/", "read/records/16MB"):
            self.assertIn("200 ns", report.fill_page(f"<!-- bench: {row} -->\n<!-- /bench -->\n", results()))

    def test_gains_have_a_column_where_there_are_any(self):
        table = report.page_table(results(against=True), ["read"])
        self.assertEqual(table.split("\n")[0], "|  | velmora | each | gain | peer |")
        self.assertEqual(table.split("\n")[2], "| records, 16MB | 200 ns | 20 ns | 1.25 | 3.00 |")

    def test_goals_are_beside_what_is_reached(self):
        goals = [{"work": "reading", "row": "read/records/16MB", "peer": "peer", "ratio": 2.5, "gain": 1.3},
                 {"work": "again", "row": "read/records/16MB", "peer": "peer", "ratio": 4}]
        page = report.fill_page("<!-- goals -->\nold\n<!-- /goals -->\n", results(against=True), goals)
        self.assertEqual(page, "<!-- goals -->\n| | peer | before | now | goal | gain | goal |\n|---|---|---|---|---|---|---|\n"
                               "| reading | peer | 2.40 | 3.00 | 2.5 | 1.25 | 1.3 |\n"
                               "| again | peer | 2.40 | 3.00 | 4 | 1.25 |  |\n<!-- /goals -->\n")

    def test_a_goal_without_results_is_refused(self):
        for goal in ({"work": "", "row": "read/records/1MB", "peer": "peer"},
                     {"work": "", "row": "read/records/16MB", "peer": "nobody"}):
            with self.assertRaises(SystemExit):
                report.goals_table(results(), [goal])

    def test_a_table_without_results_is_refused(self):
        with self.assertRaises(SystemExit):
            report.fill_page("<!-- bench: read 1KB -->\n<!-- /bench -->\n", results())


class Plots(unittest.TestCase):
    def test_ratios_are_drawn_the_same_each_time(self):
        plot = report.ratio_plot(results(), "Reading & writing", ("read",), "16MB")
        xml.dom.minidom.parseString(plot)
        self.assertEqual(plot.count("<circle"), 2)  # in the legend and in the row
        self.assertEqual(plot, report.ratio_plot(results(), "Reading & writing", ("read",), "16MB"))

    def test_without_results_there_is_no_plot(self):
        self.assertIsNone(report.ratio_plot(results(), "Searches", ("find",)))
        self.assertIsNone(report.ratio_plot(results(), "Reading", ("read",), "1MB"))
        self.assertIsNone(report.size_plot(results()))

    def test_sizes(self):
        rows = [{"row": "write-xml", "variant": "records", "size": size, "contender": "velmora", "program": "bench_writers",
                 "note": "", "bytes": count, "items": 1, "ns": {"0": count / 2}} for size, count in (("1KB", 1e3), ("1MB", 1e6))]
        plot = report.size_plot({"context": {}, "rows": rows})
        xml.dom.minidom.parseString(plot)
        self.assertEqual(plot.count("<circle"), 2)


class Costs(unittest.TestCase):
    def test_counts_of_one_file(self):
        text = "version: 1\ndesc: Trigger: Client Request: find-4KB\nevents: Ir\nfn=(1)\n3 4\ntotals: 1234\n"
        self.assertEqual(cost_test.parse_counts(text), ("find-4KB", 1234))

    def test_rows_are_divided_by_their_items(self):
        built, costs = cost_test.parse_rows("built by 12\nrow a 3\nrow b 100\n", {"a": 10, "b": 250})
        self.assertEqual((built, costs), ("built by 12", {"a": 3.33, "b": 2.5}))

    def test_growth_above_three_in_a_hundred_fails(self):
        for counted, failed in ((103.0, []), (103.1, ["row"]), (50.0, [])):
            self.assertEqual(cost_test.compare({"row": 100.0}, {"row": counted})[1], failed, counted)

    def test_rows_of_one_side_alone_fail(self):
        self.assertEqual(cost_test.compare({"gone": 1.0}, {"new": 1.0})[1], ["gone", "new"])


if __name__ == "__main__":
    unittest.main()
