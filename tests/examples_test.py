#!/usr/bin/env python3
"""Solves the examples and problems of their generator.

    examples_test.py PROGRAM_DIR

Each example states in comments "* Expected: LINE" what quillon must print, among other lines;
quillon-check holds the values against the rows.
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
EXAMPLES = sorted(ROOT.glob("examples/*.pb"))
KINDS = [path.stem for path in EXAMPLES]
program_dir = Path()


def generate(*arguments):
    command = [sys.executable, ROOT / "examples/generate.py", *map(str, arguments)]
    return subprocess.run(command, capture_output=True, text=True, check=False)


class Examples(unittest.TestCase):
    def solve(self, problem):
        """What quillon prints for a problem that has a solution, as lines."""
        done = subprocess.run([program_dir / "quillon"], input=problem, capture_output=True,
                              text=True, check=False)
        self.assertIn(done.returncode, (10, 30), done.stdout)
        with tempfile.TemporaryDirectory() as directory:
            files = [Path(directory) / "problem", Path(directory) / "output"]
            for file, text in zip(files, [problem, done.stdout]):
                file.write_text(text)
            check = subprocess.run([program_dir / "quillon-check", *files], capture_output=True,
                                   text=True, check=False)
        self.assertEqual(check.returncode, 0, check.stdout + check.stderr)
        return done.stdout.splitlines()

    def test_examples_have_their_expected_answers(self):
        self.assertGreaterEqual(len(EXAMPLES), 8)
        for path in EXAMPLES:
            with self.subTest(example=path.name):
                text = path.read_text()
                expected = re.findall(r"^\* Expected: (.*)", text, re.M)
                self.assertTrue([line for line in expected if line.startswith("s ")])
                self.assertEqual("min:" in text or "max:" in text, len(expected) == 2)
                self.assertLessEqual(set(expected), set(self.solve(text)))

    def test_generated_problems_have_solutions(self):
        for kind in KINDS:
            for size, seed in [(1, 0), (2, 1), (2, 2)]:
                with self.subTest(kind=kind, size=size, seed=seed):
                    self.solve(generate(kind, size, seed).stdout)

    def test_arguments_decide_the_problem(self):
        for kind in KINDS:
            problem = generate(kind, 2, 5).stdout
            self.assertEqual(generate(kind, 2, 5).stdout, problem)
            self.assertNotEqual(generate(kind, 2, 6).stdout, problem)
            self.assertGreater(len(generate(kind, 3, 5).stdout), len(problem))

    def test_wrong_arguments_are_refused(self):
        for wrong in [(), ("knapsack", 2), ("knapsack", 0, 1), ("knapsack", "x", 1),
                      ("chess", 2, 1), ("knapsack", 2, 1, 1)]:
            done = generate(*wrong)
            self.assertEqual((done.returncode, done.stdout), (1, ""), wrong)
            for kind in KINDS:  # whatever has an example has a generator
                self.assertIn(kind, done.stderr)


if __name__ == "__main__":
    program_dir = Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
