#!/usr/bin/env python3
"""Races quillon-trace against itself and against scripts that answer wrongly.

    race_test.py PROGRAM_DIR

What is checked is what the race says about answers; how long anything takes is left open.
"""
import bz2
import csv
import gzip
import lzma
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
GOLDEN = ROOT / "tests/data/golden"
KNAPSACK = ROOT / "examples/knapsack.pb"
SUDOKU = ROOT / "examples/sudoku.pb"
# The objective is -2 at best, which quillon prints shifted to 0 and others as it is.
OPB = """* #variable= 3 #constraint= 2
min: +3 x1 -2 x2 +1 x3 ;
+1 x1 +1 x2 +1 x3 >= 1 ;
+1 ~x1 +1 x2 >= 1 ;
"""
program_dir = Path()

try:
    import matplotlib  # noqa: F401 pylint: disable=unused-import

    plots = True
except ImportError:
    plots = False


class Race(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)
        self.trace = f"trace={program_dir / 'quillon-trace'}"

    def script(self, body):
        """A program; "$quillon" runs the real one."""
        path = self.directory / f"fake{len(list(self.directory.iterdir()))}"
        path.write_text(f"#!/bin/sh\nquillon={program_dir / 'quillon-trace'}\n{body}\n")
        path.chmod(0o755)
        return path

    def race(self, programs, problems, *options, rounds=2):
        """The finished race, and its table by problem and program."""
        results = self.directory / "results"
        command = [sys.executable, ROOT / "bench/race", "--rounds", str(rounds), "-o", results,
                   *options, *programs, "--", *problems]  # fmt: skip
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        if done.returncode == 2:
            return done, {}
        with open(results / "table.csv", newline="", encoding="utf-8") as file:
            table = {(row["problem"], row["program"]): row for row in csv.DictReader(file)}
        return done, table

    def test_a_build_agrees_with_itself(self):
        beyond = GOLDEN / "big_1.in"  # both refuse its numbers: agreement, but nothing to time
        problems = [KNAPSACK, SUDOKU, GOLDEN / "hand_objective_unsat.in", beyond]
        again = f"again={program_dir / 'quillon-trace'} --t 100"
        done, table = self.race([self.trace, again], problems, rounds=3)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(table), 2 * len(problems))
        for (problem, program), row in table.items():
            with self.subTest(problem=problem, program=program):
                self.assertEqual(row["rounds"], "3")
                self.assertGreater(int(row["peak_kb"]), 500)
                if problem == beyond.stem:
                    self.assertEqual((row["verdict"], row["ratio_median"]), ("UNKNOWN", ""))
                    continue
                low, middle, high = (float(row[f"ratio_{x}"]) for x in ("min", "median", "max"))
                self.assertTrue(0 < low <= middle <= high)
        row = table["knapsack", "again"]
        self.assertEqual((row["verdict"], row["objective"], row["exit"]), ("OPTIMUM FOUND", "23", "30"))
        self.assertRegex(row["counters"], r"\bconflicts=\d+")
        self.assertEqual(float(table["knapsack", "trace"]["ratio_max"]), 1)
        text = (self.directory / "results/table.md").read_text()
        self.assertIn("No differences.", text)
        self.assertIn("again solved", text)
        if plots:
            for name, words in [("ratio", ["knapsack", "again"]), ("cactus", ["problems solved"])]:
                svg = (self.directory / f"results/{name}.svg").read_text()
                self.assertTrue(xml.etree.ElementTree.fromstring(svg).tag.endswith("svg"))
                for word in words:  # text is drawn as shapes, and named in comments
                    self.assertIn(word, svg)
        else:
            self.assertIn("lacks matplotlib", done.stderr)

    def test_differences_are_reported(self):
        fakes = [
            ("cat >/dev/null; echo s UNSATISFIABLE", KNAPSACK,
             "verdict OPTIMUM FOUND / UNSATISFIABLE"),
            # a solution, but of less worth: what it states is true, that it is optimal is not
            ("cat >/dev/null; echo 'o 20'; echo s OPTIMUM FOUND\n"
             "echo v tent sleepingbag -stove food -camera -book", KNAPSACK, "objective 23 / 20"),
            ("cat >/dev/null; echo s OPTIMUM FOUND; echo v tent sleepingbag stove food camera book",
             KNAPSACK, "weight"),
            ("$quillon 2>&1 | sed 's/conflicts=/&9/' >out.tmp; cat out.tmp; cat out.tmp >&2",
             SUDOKU, "counters differ: conflicts"),
            ("cat >/dev/null; kill -SEGV $$", SUDOKU, "no verdict, exit code -11"),
            ("cat >/dev/null; echo s UNKNOWN", SUDOKU, "UNKNOWN before the limit"),
        ]  # fmt: skip
        for body, problem, message in fakes:
            with self.subTest(body=body):
                fake = self.script(f"cd {self.directory}\n{body}")
                done, table = self.race([self.trace, f"fake={fake}"], [problem], rounds=1)
                self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
                self.assertRegex(done.stderr, f"DIFFERS: {problem.stem}.*fake.*{message}")
                self.assertIn(message, (self.directory / "results/table.md").read_text())
                self.assertIn((problem.stem, "trace"), table)

    def test_an_answer_that_changes_between_rounds_is_reported(self):
        body = f"cat >/dev/null; cd {self.directory}; mkdir once 2>/dev/null && echo s SATISFIABLE || "
        fake = self.script(body + "echo s UNSATISFIABLE")
        done, _ = self.race([f"fake={fake}"], [SUDOKU], "--checker", "", rounds=2)
        self.assertEqual(done.returncode, 1)
        self.assertIn("rounds 1 and 2 differ: verdict SATISFIABLE / UNSATISFIABLE", done.stderr)

    def test_opb_files_and_templates(self):
        packers = {"opb": bytes, "opb.gz": gzip.compress, "opb.bz2": bz2.compress,
                   "opb.xz": lzma.compress}  # fmt: skip
        problems = []
        for number, (ending, pack) in enumerate(packers.items()):
            problems.append(self.directory / f"p{number}.{ending}")
            problems[-1].write_bytes(pack(OPB.encode()))
        refused = self.directory / "refused.opb"
        refused.write_text("+1 x1 +1 x2 >= 99999999999999999999 ;\n")
        other = self.script('grep -q "^+1 ~x1" "$2" && [ "$1" = "two words" ] && [ "$PBTIMEOUT" = 7 ] '
                            "&& echo o -2 && echo s OPTIMUM FOUND && echo v -x1 x2 -x3")  # fmt: skip
        ours = self.script('"$quillon" <"$1"')
        programs = [self.trace, f'other={other} "two words" {{opb}}', f"ours={ours} {{problem}}"]
        done, table = self.race(programs, [*problems, refused], "--limit", "7")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(len(table), 3 * len(problems))
        self.assertEqual({name for name, _ in table}, {"p0", "p1", "p2", "p3"})
        for row in table.values():
            self.assertEqual((row["verdict"], row["objective"]), ("OPTIMUM FOUND", "-2"))
        self.assertRegex(done.stderr, "NOT RACED: .*refused.opb: not converted: .")
        self.assertIn("refused.opb", (self.directory / "results/table.md").read_text())

        # Two problems with the same name stay apart.
        again = self.directory / "again"
        again.mkdir()
        (again / "p0.opb").write_text(OPB)
        done, table = self.race(programs[:1], [problems[0], again / "p0.opb"], rounds=1)
        self.assertEqual({name for name, _ in table}, {"p0", str(again / "p0.opb")})

        # Who wants OPB sits out where there is none.
        done, table = self.race(programs, [KNAPSACK], "--limit", "7", rounds=1)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual({program for _, program in table}, {"trace", "ours"})

    def test_the_limit_ends_what_does_not_end_itself(self):
        fake = self.script("while :; do :; done")
        done, table = self.race([self.trace, f"fake={fake}"], [KNAPSACK], "--limit", "1", rounds=3)
        self.assertEqual(done.returncode, 0, done.stderr)
        row = table["knapsack", "fake"]
        self.assertEqual((row["verdict"], row["rounds"], row["ratio_median"]), ("", "1", ""))
        # Peaks of memory are the program's, not the interpreter's that measures it.
        self.assertLess(int(row["peak_kb"]), 6000)
        self.assertIn("fake solved 0 of 1", done.stdout)

    def test_wrong_usage_is_refused(self):
        wrong = [[self.trace], [self.trace, "--"], ["--", KNAPSACK], ["trace", "--", KNAPSACK],
                 ["a=/nonexistent", "--", KNAPSACK], [self.trace, self.trace, "--", KNAPSACK],
                 [self.trace, "--", self.directory / "missing.pb"],
                 ["--cpu", "100000", self.trace, "--", KNAPSACK],
                 ["--rounds", "0", self.trace, "--", KNAPSACK]]  # fmt: skip
        for arguments in wrong:
            with self.subTest(arguments=arguments):
                done = subprocess.run([ROOT / "bench/race", *arguments], capture_output=True, text=True,
                                      cwd=self.directory, check=False)  # fmt: skip
                self.assertEqual(done.returncode, 2, done.stdout + done.stderr)
                self.assertRegex(done.stderr, r"race: .*\w")


if __name__ == "__main__":
    program_dir = Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
