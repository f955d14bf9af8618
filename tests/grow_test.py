#!/usr/bin/env python3
"""The problems of bench/grow, and a measurement of small ones.

    grow_test.py PROGRAM_DIR
"""
import csv
import hashlib
import importlib.machinery
import importlib.util
import io
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
program_dir = Path()


def load_script():
    """bench/grow as a module."""
    sys.path.insert(0, str(ROOT / "bench"))
    loader = importlib.machinery.SourceFileLoader("grow", str(ROOT / "bench/grow"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("grow", loader))
    sys.modules["grow"] = module
    loader.exec_module(module)
    return module


grow = load_script()


def problem(n, family, seed=1):
    """Hidden solution, names as declared, and the text of the other rows."""
    out = io.StringIO()
    solution = grow.write_problem(out, n, family, seed)
    declaration, rows = out.getvalue().split(">= 0 ;\n", 1)
    return solution, re.findall(r"\+0\*(x\d+)", declaration), rows


class Problems(unittest.TestCase):
    def test_they_are_the_same_on_every_system_and_differ_by_seed(self):
        _, names, rows = problem(5000, "spread")
        digest = hashlib.sha256((" ".join(names) + rows).encode()).hexdigest()
        self.assertEqual(digest, "dc0b5902864d9cdc177ce0d06f8c44e1039ae0348c99a66ae8ecb19b82ffca9f")
        self.assertNotEqual(rows, problem(5000, "spread", 2)[2])

    def test_the_hidden_solution_satisfies_every_row(self):
        for n in (grow.LEAST, 5000):
            solution, _, rows = problem(n, "local")
            lines = rows.splitlines()
            sizes = set()
            for line in lines:
                left, goal = line.removesuffix(" ;").split(" >= ")
                terms = re.findall(r"([+-]\d+)\*x(\d+)", left)
                sizes.add(len(terms))
                worth = sum(int(c) for c, v in terms if solution[int(v)])
                self.assertGreaterEqual(worth, int(goal), line)
            self.assertEqual(sizes, {2, 3, 4, 20})  # rings, knots, clauses, sums
            self.assertTrue(0.4 < sum(solution) / n < 0.6)

    def test_families_differ_in_the_numbers_of_variables_only(self):
        near, far = problem(5000, "local"), problem(5000, "spread")
        self.assertEqual((near[0], near[2]), (far[0], far[2]))
        self.assertEqual(near[1], [f"x{v}" for v in range(5000)])
        self.assertEqual(sorted(far[1]), sorted(near[1]))
        neighbours = sum(abs(int(a[1:]) - int(b[1:])) < 100 for a, b in zip(far[1], far[1][1:]))
        self.assertLess(neighbours, 500)

    def test_constraints_are_local(self):
        for line in problem(5000, "local")[2].splitlines():
            variables = [int(v) for v in re.findall(r"x(\d+)", line)]
            self.assertLess(max(variables) - min(variables), grow.WINDOW * grow.GROUP)


class Measurement(unittest.TestCase):
    def measure(self, *options):
        """The finished script, and its table by family and size."""
        with tempfile.TemporaryDirectory() as directory:
            command = [sys.executable, ROOT / "bench/grow", "--rounds", "2", "--probe", "", "-o",
                       directory, "--sizes", "1000,2000", "--total", "4000", *options]
            done = subprocess.run(command, capture_output=True, text=True, check=False)
            path = Path(directory, "table.csv")
            if not path.exists():
                return done, {}
            with open(path, newline="", encoding="utf-8") as file:
                return done, {(Path(r["program"]).name, r["family"], int(r["variables"])): r
                              for r in csv.DictReader(file)}

    def test_visits_are_those_of_the_programs(self):
        trace, estoc = program_dir / "quillon-trace", program_dir / "estoc"
        done, table = self.measure("--program", trace, "--program", estoc)
        self.assertEqual(done.returncode, 0, done.stderr)
        visits = {"quillon-trace": 0, "estoc": 0}
        for seed in (1, 2):
            text = io.StringIO()
            grow.write_problem(text, 2000, "spread", seed)
            for program, options, pattern in (
                    (trace, [], r" (?:propagations|inspects)=(\d+)"),
                    (estoc, [*grow.ESTOC_OPTIONS, "--verbosity", "2"],
                     r"(?m)^c (?:clause|row) visits (\d+)$")):
                alone = subprocess.run([program, *options], input=text.getvalue(),
                                       capture_output=True, text=True, check=False)
                visits[program.name] += sum(map(int, re.findall(pattern, alone.stdout
                                                                + alone.stderr)))
        for name, number in visits.items():
            self.assertGreater(number, 0)
            self.assertEqual(int(table[name, "spread", 2000]["visits"]), number)
        self.assertEqual(len(table), 8)
        for (program, family, n), row in table.items():
            with self.subTest(program=program, family=family, n=n):
                self.assertEqual(int(row["problems"]), 4000 // n)
                self.assertGreater(int(row["conflicts"]), int(row["problems"]))
                if n == 1000:
                    self.assertEqual(float(row["growth_max"]), 1)
        self.assertIn("| estoc | spread | 2000 |", done.stdout)

    def test_a_program_that_cannot_be_measured_is_refused(self):
        for program in ("/nonexistent", "true"):
            done, _ = self.measure("--program", program)
            self.assertEqual(done.returncode, 2)
            self.assertIn("grow: ", done.stderr)


if __name__ == "__main__":
    program_dir = Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
