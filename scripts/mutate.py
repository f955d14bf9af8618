#!/usr/bin/env python3
"""Checks the tests: applies small faults to the code, one at a time, and reports which are noticed.

The faults are in tests/mutants.txt. Each is applied to a scratch copy of the tree, which is built
with assertions and little optimisation, test program by test program as they are needed; the first
failing one ends the matter. A test that runs for very long has noticed the fault, too. The end is an
error if fewer than 95 in a hundred are noticed, if the tests fail without any fault, or if the text
of a fault is not found exactly once: then the code has changed, and the list must follow.

usage: scripts/mutate.py [--list] [--sample] [--only N[,N...]] [--jobs N]
  --list     the faults with their numbers
  --sample   those that are marked for a quick check
  --only     those with these numbers
  --jobs     compiler jobs; default one per processor
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
SCRATCH = ROOT / "build" / "mutate"
TREE = SCRATCH / "tree"
BUILD = SCRATCH / "build"
REQUIRED_SHARE = 0.95

# What runs, fast and near to the code first: target, further targets it needs, arguments, seconds
# after which it counts as hanging. All of them together take a minute.
SMALL_GOLDEN = "--gtest_filter=Cases/*:-*big_*:*card_1*:*assign_*"
ENGINE = [("engine_test", [], [], 60), ("reader_test", [], [], 60),
          ("differential_test", [], [], 120),
          ("golden_test", ["quillon-trace"], [SMALL_GOLDEN], 240),
          ("golden_test", ["quillon-trace"], [], 600)]
FORMATS = [("formats_test", [], [], 60),
           ("formats_programs_test", ["quillon", "opb2quillon", "quillon-check"], [], 60)]
ESTOC = [("estoc_relaxation_test", [], [], 60), ("estoc_localsearch_test", [], [], 60),
         ("estoc_cores_test", [], [], 60),
         ("estoc_differential_test", [], [], 240), ("estoc_proof_test", [], [], 240),
         ("estoc_counters_test", [], [], 120)]
PROGRAM = [("estoc_program_test", ["estoc", "quillon-check"], [], 240)]
CHECKER = [("checker_test", ["estoc-verify"], [], 60), ("estoc_proof_test", [], [], 240)]
READER = [ENGINE[1]] + ENGINE[3:]
FRONT_END = [("golden_test", ["quillon-trace"], [SMALL_GOLDEN], 240),
             ("process_test", ["quillon"], [], 240)]


def suite_for(path):
    if path.startswith("formats/"):
        return FORMATS
    if path.startswith(("program/", "process/Watchdog", "process/MemoryLimit", "process/SameFile")):
        return PROGRAM
    if path.startswith("checker/"):
        return CHECKER
    if path.startswith("engine/"):
        return ESTOC
    if path.startswith("src/glp"):
        return READER
    front_end = path.startswith("process/") or path in ("src/Main.cpp", "src/Results.cpp")
    return FRONT_END if front_end else ENGINE


class Mutant:
    def __init__(self, number, path, note, sample):
        self.number, self.path, self.note, self.sample = number, path, note, sample
        self.old, self.new = [], []

    def apply(self, text):
        old, new = "\n".join(self.old), "\n".join(self.new)
        if not old or old == new:
            sys.exit(f"mutant {self.number} changes nothing: {self.note}")
        if text.count(old) != 1:
            sys.exit(f"mutant {self.number}, {self.path}: its text occurs {text.count(old)} times, "
                     f"not once:\n{old}")
        return text.replace(old, new)


def read_mutants():
    mutants = []
    for line in (ROOT / "tests" / "mutants.txt").read_text().splitlines():
        if line.startswith("@"):
            mark, path, note = line.split(" ", 2)
            mutants.append(Mutant(len(mutants) + 1, path, note, mark == "@@"))
        elif line.startswith("-"):
            mutants[-1].old.append(line[1:])
        elif line.startswith("+"):
            mutants[-1].new.append(line[1:])
        elif line and not line.startswith("#"):
            sys.exit(f"mutants.txt: {line!r}")
    for mutant in mutants:
        mutant.apply((ROOT / mutant.path).read_text())
    return mutants


def copy_tree():
    """Brings the scratch copy up to date; files that are the same keep their time."""
    files = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True,
                           capture_output=True).stdout.decode().split("\0")
    for name in filter(None, files):
        source, target = ROOT / name, TREE / name
        if not source.is_file():
            continue
        if target.is_file() and target.read_bytes() == source.read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(source, target)
    subprocess.run(["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None",
                    "-DCMAKE_CXX_FLAGS=-O1", "-DQUILLON_WERROR=OFF",
                    "-DQUILLON_PRECOMPILE=ON"], check=True,
                   stdout=subprocess.DEVNULL)


def build(targets, jobs):
    return subprocess.run(["cmake", "--build", BUILD, "-j", str(jobs), "--target", *targets],
                          capture_output=True, text=True)


def first_to_notice(suite, jobs):
    """Which test program fails, or None."""
    for target, needed, arguments, limit in suite:
        built = build([target, *needed], jobs)
        if built.returncode != 0:
            # Discovery runs the test program; a fault that makes even that fail is noticed.
            if "error:" in built.stdout + built.stderr:
                sys.exit(f"does not compile:\n{built.stdout[-3000:]}")
            return target + " (at build time)"
        process = subprocess.Popen(
            [BUILD / "tests" / target, "--gtest_brief=1", "--gtest_fail_fast", *arguments],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
        try:
            out, _ = process.communicate(timeout=limit)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, 9)  # the test and the programs it has started
            process.communicate()
            return target + " (hangs)"
        if process.returncode != 0:
            failed = [line for line in out.decode(errors="replace").splitlines()
                      if line.startswith("[  FAILED  ]")]
            return target + ("" if not failed else " " + failed[0].split("]")[1].split(",")[0])
    return None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--sample", action="store_true")
    parser.add_argument("--only", default="")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    arguments = parser.parse_args()
    mutants = read_mutants()
    if arguments.list:
        for mutant in mutants:
            print(f"{mutant.number:3} {'*' if mutant.sample else ' '} {mutant.path}: {mutant.note}")
        return
    if arguments.only:
        wanted = {int(number) for number in arguments.only.split(",")}
        mutants = [mutant for mutant in mutants if mutant.number in wanted]
    if arguments.sample:
        mutants = [mutant for mutant in mutants if mutant.sample]
    if not mutants:
        sys.exit("no mutants")

    copy_tree()
    # Without a fault everything must pass, or the rest says nothing. The sample trusts CI's tests.
    if not arguments.sample:
        for suite in {id(suite): suite for suite in map(suite_for, [m.path for m in mutants])}.values():
            noticed = first_to_notice(suite, arguments.jobs)
            if noticed:
                sys.exit(f"without a fault: {noticed}")
    survivors = []
    for mutant in mutants:
        begin = time.monotonic()
        target = TREE / mutant.path
        original = target.read_text()
        target.write_text(mutant.apply(original))
        try:
            noticed = first_to_notice(suite_for(mutant.path), arguments.jobs)
        finally:
            target.write_text(original)
        print(f"{mutant.number:3} {mutant.path}: {mutant.note}: {noticed or 'SURVIVES'} "
              f"({time.monotonic() - begin:.0f} s)", flush=True)
        if not noticed:
            survivors.append(mutant)
    caught = len(mutants) - len(survivors)
    print(f"{caught} of {len(mutants)} noticed")
    if caught < REQUIRED_SHARE * len(mutants):
        sys.exit(1)


main()
