#!/usr/bin/env python3
"""Measures how loading grows with the size of the problem.

Writes problems of several shapes at two sizes, N and 2N, and reports what the program takes for
them: seconds, peak memory, and, counted by valgrind and so the same on every run, instructions; with
the ratios. A ratio of instructions near 2 is linear, near 2.15 n log n at these sizes, near 4
quadratic. One above LIMIT fails; nothing is judged by seconds. To leave the search out, most
problems end with a row that cannot hold.

usage: scripts/sizes.py [--size N] [--seconds-only] [--only SHAPE]
"""
import argparse
import os
import random
import re
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "../bench"))
sys.dont_write_bytecode = True
import measure  # noqa: E402

LIMIT = 2.35
LONGEST = 2000  # seconds of processor time


def names(n, rng):
    order = list(range(n))
    rng.shuffle(order)
    return [f"v{i}" for i in order]


def one_row(n, rng, out):
    """one row with n terms"""
    out.writelines(f"+{rng.randint(1, 99)}*{v}\n" for v in names(n, rng))
    out.write(f">= {n} ;\n")


def rows(n, rng, out):
    """n rows over few variables"""
    for i in range(n):
        a, b, c = rng.sample(range(1000), 3)
        out.write(f"row{i}: +2*x{a} +1*x{b} +1*x{c} >= 2 ;\n")


def variables(n, rng, out):
    """n variables, each in a row of its own"""
    out.writelines(f"+1*{v} +1*other >= 1 ;\n" for v in names(n, rng))


def repeated(n, rng, out):
    """n / 1000 terms, each repeated a thousand times in one row"""
    for _ in range(1000):
        out.writelines(f"+1*x{i}\n" for i in range(n // 1000))
    out.write(">= 1000 ;\n")


def units(n, rng, out):
    """n facts"""
    out.writelines(f"+1*{v} >= 1 ;\n" for v in names(n, rng))


def objective(n, rng, out):
    """an objective of n terms, and a cover"""
    out.write("min:\n")
    order = names(n, rng)
    out.writelines(f"+{rng.randint(1, 99)}*{v}\n" for v in order)
    out.write(";\n")
    out.writelines(f"+1*{a} +1*{b} >= 1 ;\n" for a, b in zip(order, order[1:]))


def chain(n, rng, out):
    """n implications, all of which follow from one fact, solved"""
    out.writelines(f"+1*x{i + 1} -1*x{i} >= 0 ;\n" for i in range(n))
    out.write("+1*x0 >= 1 ;\n")


def satisfied(n, rng, out):
    """n clauses that one fact satisfies, solved"""
    out.writelines(f"+1*x0 +1*x{i + 1} >= 1 ;\n" for i in range(n))
    out.write("+1*x0 >= 1 ;\n")


def satisfied_sums(n, rng, out):
    """n pseudo-Boolean rows that one fact satisfies, solved"""
    out.writelines(f"+2*x0 +1*x{i + 1} +1*x{i + 2} >= 2 ;\n" for i in range(n))
    out.write("+1*x0 >= 1 ;\n")


def sorted_row(n, rng, out):
    """one row whose coefficients are in ascending order"""
    out.writelines(f"+{i + 1}*x{i}\n" for i in range(n // 20))
    out.write(f">= {n // 20} ;\n")


def desert(n, rng, out):
    """white space"""
    for _ in range(10):
        out.write(" \t" * (n // 2) + "\n" * n)
    out.write("+1*x >= 1 ;\n")


def comments(n, rng, out):
    """comments"""
    out.writelines(f"* {'=' * 40}\n" for _ in range(n))
    out.write("+1*x >= 1 ;\n")


def garbage(n, rng, out):
    """garbage"""
    out.buffer.write(rng.randbytes(20 * n))


LOADED = [one_row, sorted_row, repeated, rows, variables, units, objective, desert, comments,
          garbage]
SOLVED = [chain, satisfied, satisfied_sums]


def measured(directory, program, prefix=()):
    """Verdict, seconds, megabytes, and what is on standard error, of a run over the problem."""
    path = os.path.join(directory, "in")
    out, err, seconds, peak_kb = measure.run(directory, [*prefix, program], path, LONGEST)
    verdict = re.findall("^s .*$", out, re.M)
    if len(verdict) != 1:
        sys.exit(f"no verdict\n{out[-1000:]}\n{err[-1000:]}")
    return verdict[0], seconds, peak_kb / 1024, err


def instructions(directory, program):
    valgrind = ("valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null")
    *_, err = measured(directory, program, valgrind)
    return int(measure.last_match(r"Collected : (\d+)", err))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", default="build/release/quillon")
    parser.add_argument("--size", type=int, default=50000)
    parser.add_argument("--seconds-only", action="store_true", help="no valgrind, nothing judged")
    parser.add_argument("--only", help="one shape")
    arguments = parser.parse_args()
    program = arguments.program
    measure.adopt_orphans()
    failed = False
    print(f"{'shape':15} {'verdict':16} {'s':>7} {'ratio':>6} {'MB':>7} {'ratio':>6} "
          f"{'Minstr':>8} {'ratio':>6}")
    with tempfile.TemporaryDirectory() as directory:
        for shape in LOADED + SOLVED:
            if arguments.only and shape.__name__ != arguments.only:
                continue
            figures = []
            for n in (arguments.size, 2 * arguments.size):
                with open(os.path.join(directory, "in"), "w", encoding="ascii") as out:
                    shape(n, random.Random(1), out)
                    if shape in LOADED:
                        out.write("+1*x0 >= 2 ;\n")
                verdict, seconds, megabytes, _ = measured(directory, program)
                count = 0 if arguments.seconds_only else instructions(directory, program) / 1e6
                figures.append((seconds, megabytes, count))
            (s1, m1, i1), (s2, m2, i2) = figures
            print(f"{shape.__name__:15} {verdict[2:]:16} {s2:7.2f} {s2 / max(s1, 0.001):6.2f} "
                  f"{m2:7.1f} {m2 / m1:6.2f} {i2:8.0f} {i2 / i1 if i1 else 0:6.2f}", flush=True)
            if i1 and i2 / i1 > LIMIT:
                print(f"  not linear: {shape.__doc__}")
                failed = True
    sys.exit(1 if failed else 0)


main()
