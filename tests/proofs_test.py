#!/usr/bin/env python3
"""Checks the proofs of what estoc says of the golden cases, the examples and the real instances.

    proofs_test.py PROGRAM_DIR

Each problem is written as linear OPB, which the proof is about. A search that takes long is ended;
its proof must be accepted as well.
"""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
KINDS = {"golden cases": ("tests/data/golden/*.in", 200), "examples": ("examples/*.pb", 8),
         "instances": ("tests/data/instances/*.in", 12)}
SECONDS = "2"  # of processor time for a search
ANSWERED = (0, 10, 20, 30)
EXPECTED = {"s UNSATISFIABLE": ["s VERIFIED UNSATISFIABLE", "s VERIFIED BOUNDS INF <= obj <= INF"],
            "s SATISFIABLE": ["s VERIFIED SATISFIABLE", "s VERIFIED BOUNDS LOW <= obj <= HIGH"],
            "s OPTIMUM FOUND": ["s VERIFIED BOUNDS SAME <= obj <= SAME"],
            "s UNKNOWN": ["s VERIFIED NONE", "s VERIFIED BOUNDS LOW <= obj <= HIGH"]}
program_dir = Path()


def run(*command):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          errors="replace", check=False)


def shape(verdict):
    """The checker's verdict, with words for the bounds."""
    match = re.fullmatch(r"s VERIFIED BOUNDS (\S+) <= obj <= (\S+)", verdict)
    if match is None or match[1] == match[2] == "INF":
        return verdict
    words = ("SAME", "SAME") if match[1] == match[2] else ("LOW", "HIGH")
    return "s VERIFIED BOUNDS {} <= obj <= {}".format(*words)


class Proofs(unittest.TestCase):
    def test_of_all_problems_are_accepted(self):
        for kind, (pattern, least) in KINDS.items():
            answered = 0
            for path in sorted(ROOT.glob(pattern)):
                with self.subTest(problem=path.name), tempfile.TemporaryDirectory() as directory:
                    opb, proof = Path(directory) / "problem.opb", Path(directory) / "proof.pbp"
                    solved = run(program_dir / "estoc", "--no-values", "--verbosity", 0,
                                 "--cpu-limit", SECONDS, "--write-opb", opb, "--proof", proof, path)
                    says = re.findall(r"^s .*", solved.stdout, re.M)
                    if solved.returncode not in ANSWERED or says == ["s UNSUPPORTED"]:
                        continue  # no problem, or one beyond the width
                    answered += 1
                    verdict = run(program_dir / "estoc-verify", opb, proof).stdout.strip()
                    self.assertIn(shape(verdict), EXPECTED[says[0]], verdict)
            self.assertGreaterEqual(answered, least, kind)


if __name__ == "__main__":
    program_dir = Path(sys.argv.pop(1)).resolve()
    unittest.main()
