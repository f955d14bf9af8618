#!/usr/bin/env python3
"""Executes the examples in the documents, and holds documents and manual against the programs.

    docs_test.py PROGRAM_DIR [unittest arguments]

What is executed is decided by the fences of code blocks, in words that no reader sees:

    ```pb            a problem; the ``output`` block that follows is what quillon prints for it
    ```output
    ```console       commands behind "$ ", each followed by what it writes to standard output
    ```LANG NAME     a file of that name, for commands further down; if NAME has a slash, an
                     excerpt of that file of the repository

Other blocks are left alone. In expected output the line "..." stands for any number of lines, blanks
at the ends of lines do not matter, and times do not either. Commands run in a directory of their own
for each document, with the programs in the path (and in build/release) and the examples in examples;
"$?" is the exit code of the command before. Every section of docs/format.md that is headed by ###
must show a problem that is accepted and one that is not.
"""
import lzma
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
DOCUMENTS = [ROOT / "README.md", *sorted(ROOT.glob("docs/*.md")), *sorted(ROOT.glob("*/README.md"))]
PROGRAMS = {
    "quillon": ["--t", "--help"],
    "estoc": [
        "--time-limit", "--cpu-limit", "--memory-limit", "--seed", "--verbosity",
        "--no-values", "--format", "--stats", "--report", "--proof", "--proof-version", "--write-opb",
        "--help", "--version", "--smallest-width",
        *(f"--no-{name}" for name in re.findall(
            r'^    {"([a-z-]+)", &estoc::', (ROOT / "program/Techniques.h").read_text(), re.M)),
    ],
    "estoc-verify": ["--format", "--memory-limit", "--help", "--version"],
    "opb2quillon": ["--format", "--map", "--limit", "--help", "--version"],
    "quillon-check": ["--format", "--map", "--limit", "--help", "--version"],
}
SECTIONS = ["NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS", "EXAMPLES", "SEE ALSO", "BUGS"]
program_dir = Path()


def blocks(text):
    """The fenced blocks of a document: (line number, section heading, info words, lines)."""
    heading, block = "", None
    for number, line in enumerate(text.splitlines(), 1):
        if block is None and line.startswith("```"):
            block = (number, heading, line[3:].split(), [])
        elif block is not None and line == "```":
            yield block
            block = None
        elif block is not None:
            block[3].append(line)
        elif line.startswith("#"):
            heading = line
    if block is not None:
        raise ValueError(f"the block of line {block[0]} does not end")


def normal(text):
    """Lines without what may differ from run to run."""
    lines = [line.rstrip() for line in text.splitlines()]
    time = r"^(c total time +:|c bound time|c time wall) [0-9.e-]+( s| processor \S+)?"
    return [re.sub(time, r"\1 TIME", line) for line in lines]


def matches(expected, actual):
    """Whether the lines `actual` are what `expected` says; "..." stands for any lines."""
    parts = [[]]
    for line in expected:
        if line == "...":
            parts.append([])
        else:
            parts[-1].append(line)
    if len(parts) == 1:
        return expected == actual
    first, last = parts[0], parts[-1]
    if len(first) + len(last) > len(actual) or actual[: len(first)] != first:
        return False
    if last and actual[-len(last) :] != last:
        return False
    at, end = len(first), len(actual) - len(last)
    for part in parts[1:-1]:
        at = next((i for i in range(at, end - len(part) + 1) if actual[i : i + len(part)] == part), None)
        if at is None:
            return False
        at += len(part)
    return True


class Document:
    """Executes one document in a directory of its own; `errors` tells what was not as it says."""

    def __init__(self, text):
        self.errors = []
        self.checks = 0
        self.shown = {}  # heading -> the kinds of problem shown there, "accepted" and "rejected"
        with tempfile.TemporaryDirectory() as directory:
            self.directory = Path(directory)
            (self.directory / "build").mkdir()
            (self.directory / "build/release").symlink_to(program_dir)
            (self.directory / "examples").symlink_to(ROOT / "examples")
            self.execute(list(blocks(text)))

    def execute(self, all_blocks):
        for (number, heading, info, lines), following in zip(all_blocks, [*all_blocks[1:], None]):
            body = "\n".join(lines) + "\n"
            if len(info) > 1:
                self.file(number, info[1], body)
            elif info == ["console"]:
                self.console(number, heading, lines)
            elif info == ["pb"]:
                if following is None or following[2] != ["output"]:
                    self.errors.append(f"line {number}: the problem's output is not shown")
                    continue
                actual = self.run("quillon", 0, body)[1]
                self.note(heading, actual)
                self.compare(following[0], "the problem above", following[3], actual)

    def file(self, number, name, body):
        if "/" not in name:
            (self.directory / name).write_text(body)
            return
        self.checks += 1
        if body not in (ROOT / name).read_text():
            self.errors.append(f"line {number}: this is not in {name}")

    def console(self, number, heading, lines):
        status = 0
        starts = [i for i, line in enumerate(lines) if line.startswith("$ ")]
        if not starts or starts[0] != 0:
            self.errors.append(f'line {number}: the block does not begin with a command behind "$ "')
            return
        for start, end in zip(starts, [*starts[1:], len(lines)]):
            status, actual = self.run(lines[start][2:], status)
            self.note(heading, actual)
            self.compare(number + 1 + start, lines[start], lines[start + 1 : end], actual)

    def note(self, heading, output):
        kind = "rejected" if output[-1:] == ["s UNKNOWN"] else "accepted"
        self.shown.setdefault(heading, set()).add(kind)

    def run(self, command, status, standard_input=""):
        path = f"{program_dir}{os.pathsep}{os.environ['PATH']}"
        env = {k: v for k, v in os.environ.items() if k not in ("PBTIMEOUT", "QUILLON_PROGRESS")}
        done = subprocess.run(
            ["sh", "-c", f"(exit {status})\n{command}"],
            input=standard_input.encode(), capture_output=True, cwd=self.directory,
            env={**env, "PATH": path, "LC_ALL": "C"}, timeout=300, check=False,
        )
        return done.returncode, normal(done.stdout.decode())

    def compare(self, number, what, expected, actual):
        self.checks += 1
        if not matches(normal("".join(line + "\n" for line in expected)), actual):
            self.errors.append("\n    ".join([f"line {number}: {what} prints", *actual]))


class Checker(unittest.TestCase):
    """A check that lets everything pass is worse than none."""

    def errors(self, text):
        return len(Document(text).errors)

    def test_notices_wrong_output(self):
        problem = "```pb\nx1 >= 1;\n```\n```output\n{}\n```\n"
        self.assertEqual(self.errors(problem.format("...\ns SATISFIABLE\nv x1")), 0)
        self.assertEqual(self.errors(problem.format("...\ns SATISFIABLE\nv -x1")), 1)
        self.assertEqual(self.errors(problem.format("s SATISFIABLE\nv x1")), 1)
        self.assertEqual(self.errors("```pb\nx1 >= 1;\n```\n"), 1)

    def test_notices_wrong_commands_and_excerpts(self):
        self.assertEqual(self.errors("```console\n$ (exit 3)\n$ echo $?\n3\n```\n"), 0)
        self.assertEqual(self.errors("```console\n$ (exit 3)\n$ echo $?\n4\n```\n"), 1)
        self.assertEqual(self.errors("```console\n$ true\nmore\n```\n"), 1)
        self.assertEqual(self.errors("```pb examples/knapsack.pb\nx1 >= 1;\n```\n"), 1)
        self.assertRaises(ValueError, self.errors, "```console\n$ true\n")

    def test_matches_gaps(self):
        for expected, actual, answer in [
            ("a ... c", "a b b c", True), ("a ... c", "a c", True), ("... b ...", "a b c", True),
            ("a ... a", "a", False), ("... b ...", "a c", False), ("a ...", "b a", False),
            ("... b ... b", "a b", False), ("... c", "c b", False),
        ]:
            self.assertEqual(matches(expected.split(), actual.split()), answer, (expected, actual))


class Documents(unittest.TestCase):
    def test_examples_do_what_the_documents_say(self):
        for path in DOCUMENTS:
            with self.subTest(document=path.relative_to(ROOT)):
                document = Document(path.read_text())
                self.assertFalse(document.errors, "\n" + "\n".join(document.errors))
                if path.name in ("format.md", "output.md", "estoc.md", "algorithms.md"):
                    self.assertGreater(document.checks, 0)
                if path.name == "format.md":
                    headings = re.findall("^### .*", path.read_text(), re.M)
                    for heading in headings:
                        self.assertEqual(
                            document.shown.get(heading), {"accepted", "rejected"}, heading)

    def test_links_lead_somewhere(self):
        for path in DOCUMENTS:
            for target in re.findall(r"\]\(([^)#:]+)(?:#[^)]*)?\)", path.read_text()):
                self.assertTrue((path.parent / target).exists(), f"{path}: {target}")

    def test_every_line_printed_is_documented(self):
        text = (ROOT / "docs/output.md").read_text()
        spans = re.findall(r"``\s?(.+?)\s?``|`([^`\n]+)`", text)
        known = [span for pair in spans for span in pair if span]
        known += [line.strip() for block in blocks(text) for line in block[3]]
        formats = {line for path in ROOT.glob("src/*.[ch]*") for line in printed(path.read_text())}
        self.assertGreater(len(formats), 20)
        self.assert_documented(formats, known)

    def test_every_line_of_estoc_is_documented(self):
        text = (ROOT / "docs/estoc.md").read_text()
        known = re.findall(r"`([^`\n]+)`", text)
        sources = "".join(path.read_text() for path in ROOT.glob("program/*.[ch]*"))
        words = re.findall(r'return "([A-Z ]{4,})";', sources)  # verdicts, not "LP"
        counters = re.findall(r'visit\("([a-z ]+)"', sources)
        reasons = re.findall(r'return "((?:time )?limit[a-z ]*)";', sources)
        self.assertEqual((len(words), len(reasons)), (5, 2))
        self.assertGreater(len(counters), 10)
        formats = [f"s {word}" for word in words] + [f"c {name} %s" for name in counters] + reasons
        formats += [line for line in printed(sources) if not line.endswith((" %s", "%"))]
        self.assert_documented(formats, known)
        codes = re.findall(r"exit_\w+ = (\d+)", sources)
        self.assertGreater(len(codes), 7)
        for code in [*codes, "71", "74"]:
            self.assertRegex(text, rf"(?m)^\| {code} \|")
            self.assertRegex((program_dir / "man/estoc.1").read_text(), rf"(?m)^\.B {code}$")

    def assert_documented(self, formats, known):
        for line in sorted(formats):
            pattern = re.sub(r"%[^a-z%]*[a-zX]", "\0", line)
            pattern = re.escape(pattern).replace(re.escape("\0"), ".+?") + ".*"
            self.assertTrue(any(re.fullmatch(pattern, span) for span in known), line)


def printed(source):
    """The lines that the calls in `source` print on standard output, as formats."""
    source = source.split("void PseudoBool::printWatch")[0]  # from there on for debuggers only
    call = r'\b(std::printf|glp_lib_print|glp_lib_fault|fatal)\((?:d, )?((?:\s*"(?:[^"\\]|\\.)*")+)'
    for name, literals in re.findall(call, source):
        text = "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals))
        for line in text.replace("\\n", "\n").splitlines():
            if re.sub(r"%[^a-z%]*[a-zX]", "", line).strip():
                yield ("c %d: " if name == "fatal" else "") + line.strip()


class Manual(unittest.TestCase):
    def page(self, program):
        return (program_dir / f"man/{program}.1").read_text()

    def test_options_are_in_help_manual_and_completions(self):
        for program, options in PROGRAMS.items():
            command = [program_dir / program, "--help"]
            text = subprocess.run(command, capture_output=True, text=True, check=True).stdout
            listed = re.findall(r"^ +(--[a-z-]+)", text, re.M)
            self.assertEqual(sorted(listed), sorted(options), program)
            for place in [self.page(program).replace("\\-", "-"),
                          (ROOT / "completions/quillon.bash").read_text(),
                          (ROOT / "completions/_quillon").read_text()]:
                for option in options:
                    self.assertRegex(place, re.escape(option) + r"\b", program)

    def test_pages_are_complete(self):
        version = subprocess.run(
            [program_dir / "quillon-check", "--version"], capture_output=True, text=True, check=True
        ).stdout.split()[1]
        for program in PROGRAMS:
            page = self.page(program)
            found = [name.strip('"') for name in re.findall(r"^\.SH (.*)", page, re.M)]
            self.assertEqual([name for name in found if name in SECTIONS], SECTIONS, program)
            self.assertIn(version, re.search(r"^\.TH.*", page, re.M)[0])
            self.assertNotRegex(page, "@[A-Z_]+@")
        for variable in ["PBTIMEOUT", "QUILLON_PROGRESS"]:
            self.assertIn(variable, self.page("quillon"))
        sources = [ROOT / "src/RunEnd.h", ROOT / "process/Program.h"]
        codes = [code for s in sources for code in re.findall(r"exit_\w+ = (\d+)", s.read_text())]
        self.assertGreater(len(codes), 4)
        for code in codes:
            self.assertRegex(self.page("quillon"), rf"(?m)^\.B {code}$")

    def test_examples_run(self):
        opb = b"* #variable= 2 #constraint= 1\nmin: +1 x1 +2 x[2] ;\n+1 x1 +1 x[2] >= 1 ;\n"
        examples = 0
        for program in PROGRAMS:
            for text in re.findall(r"^\.EX\n(.*?)^\.EE", self.page(program), re.M | re.S):
                for escape, meant in [("\\-", "-"), ("\\(aq", "'"), ("\\e", "\\")]:
                    text = text.replace(escape, meant)
                examples += 1
                with self.subTest(program=program, text=text):
                    self.assertRegex(self.output_of(text, opb), "(?m)^v |^ok: |^tent$|^s VERIFIED")
        self.assertGreater(examples, len(PROGRAMS))

    def output_of(self, text, opb):
        """What an example prints, on standard output or into a file; a problem is solved."""
        with tempfile.TemporaryDirectory() as directory:
            (Path(directory) / "problem.pb").write_text((ROOT / "examples/knapsack.pb").read_text())
            (Path(directory) / "problem.opb.xz").write_bytes(lzma.compress(opb))
            (Path(directory) / "output").write_text("")
            command = ["quillon"] if text.startswith("*") else ["sh", "-c", text]
            done = subprocess.run(
                command, input=text, capture_output=True, text=True, cwd=directory, check=False,
                env={**os.environ, "PATH": f"{program_dir}{os.pathsep}{os.environ['PATH']}"},
            )
            self.assertIn(done.returncode, (0, 30), done.stderr)
            return done.stdout or (Path(directory) / "output").read_text()

    @unittest.skipUnless(shutil.which("groff"), "groff is not installed")
    def test_pages_render_without_warnings(self):
        for program in PROGRAMS:
            done = subprocess.run(
                ["groff", "-man", "-Tutf8", "-ww", program_dir / f"man/{program}.1"],
                capture_output=True, text=True, check=True,
            )
            self.assertEqual(done.stderr, "")
            self.assertIn(program, done.stdout)


if __name__ == "__main__":
    program_dir = Path(sys.argv.pop(1)).resolve()
    unittest.main(verbosity=2)
