#!/usr/bin/env python3
"""Races quillon-trace against itself and against scripts that answer wrongly.

    race_test.py PROGRAM_DIR

What is checked is what the race says about answers; how long anything takes is left open.
"""
import bz2
import csv
import gzip
import importlib.util
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

plots = importlib.util.find_spec("matplotlib") is not None


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
                   *options, *programs, "--", *problems]
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
        ]
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
                   "opb.xz": lzma.compress}
        problems = []
        for number, (ending, pack) in enumerate(packers.items()):
            problems.append(self.directory / f"p{number}.{ending}")
            problems[-1].write_bytes(pack(OPB.encode()))
        refused = self.directory / "refused.opb"
        refused.write_text("+1 x1 +1 x2 >= 99999999999999999999 ;\n")
        other = self.script('grep -q 999 "$2" && echo s UNSATISFIABLE; grep -q "^+1 ~x1" "$2" '
                            '&& [ "$1" = "two words" ] && [ "$PBTIMEOUT" = 7 ] '
                            "&& echo o -2 && echo s OPTIMUM FOUND && echo v -x1 x2 -x3")
        ours = self.script('"$quillon" <"$1"')
        programs = [self.trace, f'other={other} "two words" {{opb}}', f"ours={ours} {{problem}}"]
        done, table = self.race(programs, [*problems, refused], "--limit", "7")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual({name for name, _ in table}, {"p0", "p1", "p2", "p3", "refused"})
        # Only who reads OPB runs on what cannot be converted.
        self.assertEqual([key for key in table if key[0] == "refused"], [("refused", "other")])
        del table["refused", "other"]
        self.assertEqual(len(table), 3 * len(problems))
        for row in table.values():
            self.assertEqual((row["verdict"], row["objective"]), ("OPTIMUM FOUND", "-2"))
        self.assertRegex(done.stderr, "NOT RACED: .*refused.opb: not converted: .")
        text = (self.directory / "results/table.md").read_text()
        self.assertIn("refused.opb", text)
        self.assertRegex(text, r"other solved 5 of 5, .* has the best checked objective of 4\b")
        self.assertIn("trace solved 4 of 5", text)

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

    def test_a_peer_that_speaks_another_language(self):
        (self.directory / "p.opb").write_text(OPB)
        (self.directory / "list").write_text("# problems\np.opb\n")
        # What CBC prints: only what is not 0, and the names of the LP file.
        answers = [("Optimal - objective value -2.00000000\n      1 x1  1  -2", "OPTIMUM FOUND", "-2"),
                   ("Stopped on time - objective value 3\n      0 x0   1  3\n      1 x1   1  -2",
                    "SATISFIABLE", "1"),
                   ("Stopped on time (no integer solution - continuous used) - objective value 0\n"
                    "      0 x0   0.5   3", "UNKNOWN", ""),
                   ("Problem is infeasible - 0.00 seconds", "UNSATISFIABLE", "")]
        for number, (said, verdict, objective) in enumerate(answers):
            with self.subTest(said=said):
                (self.directory / "said").write_text(f"Welcome to the CBC MILP Solver\n{said}\n")
                fake = self.script(f'grep -qx "[-]1 x0 +1 x1 >= 0" "$1" && cat {self.directory}/said')
                done, table = self.race([self.trace, f"peer={fake} {{lp}} {{limit}}"], [], "--wall",
                                        "--list", self.directory / "list", rounds=1)
                self.assertEqual(done.returncode, 0 if number == 0 else 1, done.stderr)
                row = table["p", "peer"]
                self.assertEqual((row["verdict"], row["objective"]), (verdict, objective))

    def test_any_output_and_a_table_that_grows(self):
        """Bytes that are no text, from programs and the checker."""
        rude = GOLDEN / "hand_high_byte.in"
        fake = self.script("cat; printf 's \\377\\0\\200 | x\\nv \\377\\n'")
        done, table = self.race([self.trace, f"fake={fake}"], [rude, KNAPSACK])
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertNotIn("Traceback", done.stderr)
        self.assertEqual(len(table), 4)
        # What was measured before is in the tables already when the next problem runs.
        fake = self.script(f"cp {self.directory}/results/*.* {self.directory}; echo s UNKNOWN")
        self.race([f"fake={fake}"], [SUDOKU, KNAPSACK], rounds=1)
        self.assertIn("sudoku,fake", (self.directory / "table.csv").read_text())
        self.assertIn("| sudoku |", (self.directory / "table.md").read_text())

    def test_the_limit_ends_what_does_not_end_itself(self):
        for body, *options in [["while :; do :; done"], ["exec sleep 1000", "--wall"]]:
            with self.subTest(body=body):
                fake = self.script(body)
                done, table = self.race([self.trace, f"fake={fake}"], [KNAPSACK], "--limit", "1",
                                        *options, rounds=3)
                self.assertEqual(done.returncode, 0, done.stderr)
                row = table["knapsack", "fake"]
                self.assertEqual((row["verdict"], row["rounds"], row["ratio_median"]), ("", "1", ""))
                # Peaks of memory are the program's, not the interpreter's that measures it.
                self.assertLess(int(row["peak_kb"]), 6000)
                self.assertIn("fake solved 0 of 1, PAR2 2.00", done.stdout)

    def test_wrong_usage_is_refused(self):
        wrong = [[self.trace], [self.trace, "--"], ["--", KNAPSACK], ["trace", "--", KNAPSACK],
                 ["a=/nonexistent", "--", KNAPSACK], [self.trace, self.trace, "--", KNAPSACK],
                 [self.trace, "--", self.directory / "missing.pb"],
                 ["--cpu", "100000", self.trace, "--", KNAPSACK],
                 ["--rounds", "0", self.trace, "--", KNAPSACK]]
        for arguments in wrong:
            with self.subTest(arguments=arguments):
                done = subprocess.run([ROOT / "bench/race", *arguments], capture_output=True, text=True,
                                      cwd=self.directory, check=False)
                self.assertEqual(done.returncode, 2, done.stdout + done.stderr)
                self.assertRegex(done.stderr, r"race: .*\w")


class Cactus(unittest.TestCase):
    """bench/cactus: estoc over a list of problems, beside figures of others."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)
        (self.directory / "small.opb").write_text(OPB)
        (self.directory / "none.opb.xz").write_bytes(lzma.compress(b"+1 x1 >= 2 ;\n"))
        (self.directory / "some.opb.gz").write_bytes(gzip.compress(b"+1 x1 >= 1 ;\n"))
        (self.directory / "list").write_text("small.opb\n# not this one\nnone.opb.xz\nsome.opb.gz\n")

    def cactus(self, *options, others=""):
        figures = self.directory / "others.csv"
        figures.write_text("solver,problem,status,seconds,objective\n" + others)
        return subprocess.run([sys.executable, ROOT / "bench/cactus", "-o", self.directory, *options],
                              capture_output=True, text=True, check=False)

    def test_runs_estoc_and_sets_it_beside_others(self):
        run = ["--list", self.directory / "list", "--estoc", program_dir / "estoc"]
        others = ("other,small,OPT,3.0,-2\nother,some,SAT,30.0,\nother,none,UNK,10,\n"
                  "third,none,UNSAT,1.0,\nother,unlisted,OPT,1,7\n")
        done = self.cactus(*run, others=others)
        self.assertEqual(done.returncode, 0, done.stderr)
        with open(self.directory / "estoc.csv", newline="", encoding="utf-8") as text:
            rows = [(r["problem"], r["status"], r["objective"], r["bound"]) for r in csv.DictReader(text)]
        self.assertEqual(rows, [("small", "OPT", "-2", "-2"), ("none", "UNSAT", "", ""),
                                ("some", "SAT", "", "")])
        table = (self.directory / "race.md").read_text()
        self.assertRegex(table, r"\| estoc \| 3 \| 1 \| 1 \| 1 \| 0\.\d\d \|")
        self.assertIn("| other | 1 | 1 | 0 | 0 | 14.33 |", table)  # 3 s, and 20 s twice
        self.assertIn("| all but estoc together | 2 | 1 | 0 | 1 | 8.00 |", table)
        self.assertRegex(table, r"\| some \| SAT \|  \|  \| \S+ \| 0 of 2 \|  \|")
        self.assertNotIn("unlisted", table)
        self.assertIn("has a solution of 1 of the 1 optimisation problems, and on 1 nobody", table)
        self.assertIn("on 0 of the 0 that", table)
        if plots:
            drawn = xml.etree.ElementTree.parse(self.directory / "cactus.svg")
            self.assertTrue(drawn.getroot().tag.endswith("svg"))
        again = self.cactus(others=others)  # from the file, without a run
        self.assertEqual(again.returncode, 0, again.stderr)
        self.assertEqual((self.directory / "race.md").read_text(), table)

    def test_contradictions_and_failures_are_told(self):
        run = ["--list", self.directory / "list", "--estoc", program_dir / "estoc"]
        for others in ("other,small,OPT,1,-1\n", "other,small,FEAS,1,-3\n", "other,none,SAT,1,\n",
                       "other,some,UNSAT,1,\n"):
            with self.subTest(others=others):
                done = self.cactus(*run, others=others)
                self.assertEqual(done.returncode, 1, done.stdout)
                self.assertIn("CONTRADICTION", done.stderr)
                run = []
        (self.directory / "small.opb").write_text("no problem")
        for wrong in (["--list", self.directory / "list", "--estoc", program_dir / "estoc"],
                      ["--list", self.directory / "missing"], [self.directory / "missing.csv"],
                      ["--list", self.directory / "list", "--estoc", "/nonexistent"]):
            with self.subTest(wrong=wrong):
                self.assertEqual(self.cactus(*wrong).returncode, 2)


if __name__ == "__main__":
    program_dir = Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
