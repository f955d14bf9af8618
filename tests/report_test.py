#!/usr/bin/env python3
"""Looks at the reports of estoc: as XML, against the statistics, and in a browser if there is one.

    report_test.py PROGRAM_DIR [unittest arguments]

The browser is Debian's chromium, which runs without a screen. In it a page must not be wider than the
window, no labels of an axis may touch, and both curves must be in the picture, in light and dark, on
a phone and on a wide screen.
"""
import json
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree as ElementTree
import zlib
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
XHTML = "{http://www.w3.org/1999/xhtml}"
SVG = "{http://www.w3.org/2000/svg}"
KNAPSACK = (ROOT / "examples/knapsack.pb").read_text()
LARGEST = 2**127 - 1
program_dir = Path()


def hard_problem():
    """A problem with an objective whose gap stays open for long, without the LP at least."""
    command = [sys.executable, ROOT / "examples/generate.py", "vertexcover", "30", "1"]
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


class Page:
    """A report as a reader of XML sees it."""

    def __init__(self, path):
        self.text = path.read_text(encoding="utf-8")
        self.root = ElementTree.fromstring(self.text)

    def all(self, tag, kind=None):
        found = [e for e in self.root.iter() if e.tag in (XHTML + tag, SVG + tag)]
        return [e for e in found if kind is None or kind in e.get("class", "").split()]

    def words(self, tag, kind=None):
        """The texts of elements, without the spaces in numbers and with a plain minus sign."""
        texts = ["".join(e.itertext()) for e in self.all(tag, kind)]
        return [t.replace("\u202f", "").replace("\u2212", "-") for t in texts]

    def marks(self, what):
        return [e for e in self.all("use", "mark") if e.get("href") == "#" + what]


class Run(unittest.TestCase):
    """Runs of estoc in a directory that goes away."""

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = Path(directory.name)

    def estoc(self, *options, text="", name="problem.pb"):
        """Runs estoc on a file with `text`; the exit code, the report, and the statistics."""
        (self.directory / name).write_text(text)
        done = subprocess.run(
            [program_dir / "estoc", "--report", "report.html", "--stats", "stats.json", *options, name],
            cwd=self.directory, capture_output=True, text=True, check=False, timeout=300)
        self.errors = done.stderr
        return done.returncode, Page(self.directory / "report.html"), self.stats()

    def stats(self):
        text = (self.directory / "stats.json").read_text()
        return json.loads(text) if text else None

    def stopped(self, problem):
        """The report and the statistics of a run that is asked to end once it knows both bounds."""
        (self.directory / "problem.pb").write_text(problem)
        with subprocess.Popen(
                [program_dir / "estoc", "--no-lp", "--report", "report.html", "--stats", "stats.json",
                 "problem.pb"], cwd=self.directory, stdout=subprocess.PIPE, text=True) as process:
            for line in process.stdout:
                known = re.search("time (.*) lower [0-9]+ upper [0-9]+ gap [0-9.]*[1-9]", line)
                if known:
                    time.sleep(float(known[1]))  # so that half of the plot has both curves
                    break
            process.send_signal(signal.SIGTERM)
            process.stdout.read()
        return Page(self.directory / "report.html"), self.stats()


class Reports(Run):
    def test_tells_what_the_statistics_tell(self):
        code, page, stats = self.estoc("--seed", "7", "--no-probing", text=KNAPSACK)
        self.assertEqual(code, 30)
        self.assertEqual(page.words("div", "verdict"), ["OPTIMUM FOUND"])
        self.assertEqual(page.words("b")[:3], ["23", "23", "0%"])
        for what in ("solution", "bound"):
            events = [e for e in stats["found"] if e["what"] == what]
            self.assertEqual(len(page.marks(what)), len(events))
        self.assertEqual(len(page.all("circle", "optimum")), 1)
        rows = [[c.text or "" for c in row] for row in page.all("tr")[1:]]
        self.assertEqual(sum(int(row[2]) for row in rows), len(stats["found"]))
        facts = dict(zip(page.words("dt"), page.words("dd")))
        self.assertEqual((facts["variables"], facts["rows"], facts["terms of rows"]), ("6", "2", "8"))
        self.assertEqual((facts["longest row"], facts["largest coefficient"]), ("6", "4"))
        self.assertEqual((facts["--seed"], facts["--no-probing"]), ("7", "given"))
        for name, value in stats["counters"].items():
            self.assertEqual(facts[name], str(value))
        self.assertNotIn("--report", facts)
        self.assertRegex(page.words("code")[0], "--seed 7 --no-probing problem.pb$")
        self.assertRegex(page.words("footer")[0], r"^estoc [0-9.]+$")

    def test_needs_nothing_from_elsewhere(self):
        _, page, _ = self.estoc(text=KNAPSACK)
        self.assertFalse(page.all("script") + page.all("link") + page.all("img") + page.all("iframe"))
        addresses = set(re.findall(r"[a-z]+://[^\"' ]+", page.text))
        self.assertLessEqual(addresses, {"http://www.w3.org/1999/xhtml", "http://www.w3.org/2000/svg"})
        self.assertNotRegex(page.text, r"url\(|@import|\son[a-z]+=")
        for element in page.all("use"):
            self.assertIn(element.get("href"), ("#solution", "#bound"))

    def test_problems_without_an_objective(self):
        code, page, _ = self.estoc(text="+1 x +1 y >= 1;\n")
        self.assertEqual((code, page.words("div", "verdict")), (10, ["SATISFIABLE"]))
        self.assertIn("no objective, so there are no bounds", page.text)
        self.assertFalse(page.all("div", "plot"))
        self.assertEqual(page.words("td")[1:3], ["solutions", "1"])
        code, page, _ = self.estoc(text="+1 x >= 1;\n-1 x >= 0;\n")
        self.assertEqual((code, page.words("div", "verdict")), (20, ["UNSATISFIABLE"]))
        self.assertFalse(page.all("table"))

    def test_huge_values(self):
        code, page, _ = self.estoc(text=f"min: +{LARGEST // 2} x ;\n+1 x >= 1 ;\n")
        self.assertEqual((code, page.words("b")[:2]), (30, [str(LARGEST // 2)] * 2))
        code, page, _ = self.estoc(text=f"max: -{LARGEST // 2} x ;\n+1 x >= 1 ;\n")
        self.assertEqual((code, page.words("b")[:2]), (30, [str(-(LARGEST // 2))] * 2))
        self.assertNotRegex(page.text, r"\b(nan|inf)\b")
        code, page, _ = self.estoc(text=f"+1 x >= {LARGEST};\n")
        self.assertEqual((code, page.words("div", "verdict")), (0, ["UNSUPPORTED"]))

    def test_names_are_no_markup(self):
        name = "a<b>&\"c' \x07é\udcff.pb"
        code, page, _ = self.estoc("--seed", "1", text=KNAPSACK, name=name)
        self.assertEqual(code, 30)
        shown = "a<b>&\"c' \\x07é\ufffd.pb"
        self.assertEqual(page.words("h1"), [shown])
        self.assertEqual(page.words("title")[0], shown + ": OPTIMUM FOUND")
        self.assertTrue(page.words("code")[0].endswith(shown.replace("'", "'\\''") + "'"))

    def test_written_at_every_end(self):
        page, stats = self.stopped(hard_problem())
        self.assertEqual(page.words("div", "verdict"), ["SATISFIABLE"])
        self.assertIn(f"Stopped by: signal {signal.SIGTERM.value}.", page.words("p")[0])
        self.assertEqual(page.words("b")[:2], [str(stats["upper"]), str(stats["lower"])])
        self.assertFalse(page.all("circle", "optimum"))
        self.assertEqual(len(page.all("div", "plot")), 2)

        code, page, _ = self.estoc("--time-limit", "0", text=hard_problem())
        self.assertIn(code, (0, 10))
        self.assertIn("Stopped by: time limit.", page.words("p")[0])

        code, page, _ = self.estoc(text="+1 x >= y;\n")
        self.assertEqual((code, page.words("div", "verdict")), (65, ["NO VERDICT"]))
        self.assertIn("problem.pb:1:9: ", page.words("p")[0])
        (self.directory / "problem.pb").unlink()
        subprocess.run([program_dir / "estoc", "--report", "report.html", "problem.pb"],
                       cwd=self.directory, capture_output=True, check=False)
        self.assertIn("problem.pb: No such file", Page(self.directory / "report.html").words("p")[0])

    def test_exhausted_memory(self):
        if b"__asan_init" in (program_dir / "estoc").read_bytes():
            self.skipTest("AddressSanitizer reserves terabytes")
        text = "".join(f"+1 x{i} +1 x{i + 1} >= 1;\n" for i in range(200000))
        code, page, _ = self.estoc("--memory-limit", "20", text=text)
        self.assertEqual((code, page.words("div", "verdict")), (71, ["UNKNOWN"]))
        self.assertIn("Stopped by: exhausted memory.", page.words("p")[0])

    def test_what_cannot_be_written_loses_nothing_else(self):
        (self.directory / "problem.pb").write_text(KNAPSACK)
        for path, reason in [("/nowhere/r.html", "No such file"), ("/dev/full", "No space")]:
            done = subprocess.run(
                [program_dir / "estoc", "--report", path, "--stats", "stats.json", "problem.pb"],
                cwd=self.directory, capture_output=True, text=True, check=False)
            self.assertEqual(done.returncode, 74)
            self.assertIn(f"estoc: {path}: {reason}", done.stderr)
        self.assertIn("s OPTIMUM FOUND\nv tent", done.stdout)
        self.assertEqual(self.stats()["verdict"], "OPTIMUM FOUND")
        done = subprocess.run(
            [program_dir / "estoc", "--report", "report.html", "--stats", "/dev/full", "problem.pb"],
            cwd=self.directory, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 74)
        self.assertEqual(Page(self.directory / "report.html").words("div", "verdict"), ["OPTIMUM FOUND"])


class Picture:
    """A PNG of 8 bits a channel, as browsers write it."""

    def __init__(self, path):
        data = path.read_bytes()
        at, packed = 8, b""
        while at < len(data):
            size, kind = struct.unpack(">I4s", data[at : at + 8])
            chunk = data[at + 8 : at + 8 + size]
            at += size + 12
            if kind == b"IHDR":
                self.width, self.height, depth, colours, *_, interlaced = struct.unpack(">IIBBBBB", chunk)
                assert (depth, interlaced) == (8, 0) and colours in (2, 6)
                self.channels = 3 if colours == 2 else 4
            elif kind == b"IDAT":
                packed += chunk
        raw, stride = zlib.decompress(packed), self.width * self.channels
        self.rows, before = [], bytes(stride)
        for y in range(self.height):
            start = y * (stride + 1)
            before = self.unfiltered(raw[start], bytearray(raw[start + 1 : start + 1 + stride]), before)
            self.rows.append(before)

    def unfiltered(self, kind, row, above):
        step = self.channels
        for i in range(len(row) if kind else 0):
            left = row[i - step] if i >= step else 0
            up, corner = above[i], above[i - step] if i >= step else 0
            if kind == 4:  # the neighbour nearest to left + up - corner
                guess = left + up - corner
                nearest = min((abs(guess - left), 0, left), (abs(guess - up), 1, up),
                              (abs(guess - corner), 2, corner))[2]
            else:
                nearest = (left, up, (left + up) // 2)[kind - 1]
            row[i] = (row[i] + nearest) & 255
        return bytes(row)

    def count(self, colour, box):
        """How many pixels in `box`, left, top, right and bottom, have nearly the `colour`, #rrggbb."""
        wanted = bytes.fromhex(colour[1:])
        left, top, right, bottom = (int(edge) for edge in box)
        pixels = (row[x * self.channels : x * self.channels + 3]
                  for row in self.rows[top:bottom] for x in range(left, min(right, self.width)))
        return sum(all(abs(a - b) < 24 for a, b in zip(p, wanted)) for p in pixels)


# Run in a copy of the page: what it tells about itself. The copy is a frame in another page, for the
# browser's own window has a least width.
INQUIRY = """
const box = e => { const r = e.getBoundingClientRect(); return [r.left, r.top, r.right, r.bottom]; };
const texts = [...document.querySelectorAll('.times span, .values span')];
const touching = texts.filter((a, i) => texts.slice(i + 1).some(b => {
  const p = box(a), q = box(b);
  return p[0] < q[2] && q[0] < p[2] && p[1] < q[3] - 1 && q[1] < p[3] - 1;
})).map(e => e.textContent);
const outside = [...document.querySelectorAll('body *:not(.scroll *)')]
  .filter(e => box(e)[2] > innerWidth + 0.5 || (box(e)[0] < 0)).map(e => e.outerHTML.slice(0, 80));
const style = getComputedStyle(document.documentElement);
parent.postMessage(JSON.stringify({
  window: innerWidth, width: document.documentElement.scrollWidth,
  height: document.documentElement.scrollHeight, touching, outside, texts: texts.length,
  fields: [...document.querySelectorAll('.field')].map(box),
  colours: ['page', 'card', 'solution', 'bound'].map(n => style.getPropertyValue('--' + n).trim()),
}), '*');
"""


@unittest.skipUnless(shutil.which("chromium"), "chromium is not installed: nobody looks at the pages")
class Browser(Run):
    def browse(self, *arguments):
        command = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                   f"--user-data-dir={self.directory}/browser", *arguments]
        done = subprocess.run(command, cwd=self.directory, capture_output=True, timeout=300, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout.decode()

    def look(self, width, height, is_dark=False):
        """What the page in report.html tells of itself in such a window, and a picture of it."""
        scheme = f"--blink-settings=preferredColorScheme={0 if is_dark else 1}"
        page = (self.directory / "report.html").read_text()
        (self.directory / "asked.html").write_text(
            page.replace("</body>", f"<script>{INQUIRY}</script></body>"))
        (self.directory / "asking.html").write_text(
            f'<iframe src="asked.html" style="border: 0; width: {width}px; height: {height}px"></iframe>'
            "<script>onmessage = told => { document.title = told.data; };</script>")
        shown = self.browse("--dump-dom", "--virtual-time-budget=5000", scheme,
                            f"file://{self.directory}/asking.html")
        title = re.search("<title>(.*?)</title>", shown, re.S)[1]
        for code, letter in [("&lt;", "<"), ("&gt;", ">"), ("&amp;", "&")]:
            title = title.replace(code, letter)
        self.browse("--screenshot=picture.png", f"--window-size={width},{height}", scheme,
                    f"file://{self.directory}/report.html")
        return json.loads(title), Picture(self.directory / "picture.png")

    def assert_fits(self, told, width):
        self.assertEqual((told["window"], told["width"]), (width, width))
        self.assertEqual((told["outside"], told["touching"]), ([], []))

    def test_curves_are_in_the_picture(self):
        self.stopped(hard_problem())
        for width, height, is_dark in [(1200, 1000, False), (1200, 1000, True), (360, 1100, False)]:
            with self.subTest(width=width, is_dark=is_dark):
                told, picture = self.look(width, height, is_dark)
                self.assert_fits(told, width)
                self.assertEqual((picture.width, len(told["fields"])), (width, 2))
                self.assertGreater(told["texts"], 6)
                page, card, solution, bound = told["colours"]
                self.assertEqual(page < "#80", is_dark)
                self.assertGreater(picture.count(page, (0, 0, width, 20)), 10 * width)
                field = told["fields"][0]
                self.assertLess(field[3], height)
                area = (field[2] - field[0]) * (field[3] - field[1])
                self.assertGreater(picture.count(card, field), area / 4)
                for colour in (solution, bound):
                    self.assertGreater(picture.count(colour, field), 10, colour)

    def test_long_names_and_numbers_stay_inside(self):
        name = "a-name-without-an-end-" * 10 + ".pb"
        many = LARGEST // 4
        text = (f"max: -{many} x +{many // 3} y +1 z;\n"
                "+1 x +1 y >= 1;\n+1 x +1 z >= 1;\n-1 y -1 z >= -1;\n")
        self.assertEqual(self.estoc(text=text, name=name)[0], 30)
        for width in (360, 800):
            told, _ = self.look(width, 900)
            self.assert_fits(told, width)


if __name__ == "__main__":
    program_dir = Path(sys.argv.pop(1)).resolve()
    unittest.main()
