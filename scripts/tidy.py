#!/usr/bin/env python3
"""Runs clang-tidy over all code of the libraries and programs. Fails when it has anything to say.

Most of its time goes into headers, those of the standard library and of large integers most of all. So
the files of a folder are looked at as one, put one behind the other: including them would not do, for its
analyzer looks at no function of an included file. Files whose names clash with others are looked at one
by one. The analyzer is told to be brief, or it would take minutes.

usage: scripts/tidy.py [JOBS [FOLDER...]]

JOBS is by default one per processor. Without a FOLDER all are looked at. CMake has to have written
build/lint/compile_commands.json, as scripts/lint.sh lets it.
"""
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build" / "lint"
UNITS = ROOT / "build" / "tidy"
FOLDERS = ["engine", "program", "checker", "src", "process", "formats", "tools"]
BRIEF = [word for setting in ("mode=shallow", "max-nodes=20000")
         for word in ("-Xclang", "-analyzer-config", "-Xclang", setting)]


def sources(folder):
    return subprocess.run(["git", "ls-files", f"{folder}/*.cpp"], cwd=ROOT, check=True,
                          capture_output=True, text=True).stdout.split()


def flags_by_file():
    """How each file is compiled, without the names of files."""
    flags = {}
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        words = shlex.split(entry["command"])[1:]
        for option in ("-o", "-c"):
            place = words.index(option)
            del words[place:place + 2]
        flags[os.path.relpath(entry["file"], ROOT)] = words
    return flags


def groups(flags):
    """Lists of files that can be looked at as one: same folder, compiled in the same way."""
    together = {}
    for name in sum(map(sources, FOLDERS), []):
        together.setdefault((os.path.dirname(name), tuple(flags.get(name, []))), []).append(name)
    return list(together.values())


def tidy(arguments):
    """What clang-tidy says; None if all is well."""
    done = subprocess.run(["clang-tidy", "--quiet", *arguments], cwd=ROOT, capture_output=True,
                          text=True, check=False)
    return None if done.returncode == 0 else done.stdout + done.stderr


def look_at_one_by_one(files):
    brief = [f"--extra-arg={word}" for word in BRIEF]
    return "".join(filter(None, (tidy(["-p", str(BUILD), *brief, name]) for name in files))) or None


def look_at(files, flags):
    """What clang-tidy says of the files, looked at as one but for those whose names clash."""
    together, alone = files, []
    while len(together) > 1:
        unit = UNITS / files[0].replace("/", "-")
        texts = [(ROOT / name).read_text() for name in together]
        unit.write_text("".join(texts))
        places = [f"{name}:{line + 1}" for name, text in zip(together, texts)
                  for line in range(text.count("\n"))]
        said = tidy([str(unit), f"--config-file={ROOT / '.clang-tidy'}", "--", *flags[files[0]], *BRIEF,
                     "-iquote", str(ROOT / os.path.dirname(files[0]))])
        if said is not None:
            said = re.sub(rf"{re.escape(str(unit))}:(\d+)", lambda m: places[int(m[1]) - 1], said)
        clashing = set(re.findall(r"^(\S+?):\d+:\d+: error: redefinition of", said or "", re.M))
        alone += [name for name in together if name in clashing]
        if not clashing:
            return "".join(filter(None, [said, look_at_one_by_one(alone)])) or None
        together = [name for name in together if name not in alone]
    return look_at_one_by_one([*alone, *together])


def main():
    jobs = int(sys.argv[1]) if len(sys.argv) > 1 else os.cpu_count()
    wanted = tuple(sys.argv[2:])
    UNITS.mkdir(parents=True, exist_ok=True)
    flags = flags_by_file()

    def timed(files):
        begin = time.monotonic()
        return look_at(files, flags), time.monotonic() - begin

    clean = True
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        chosen = [files for files in groups(flags) if not wanted or files[0].startswith(wanted)]
        ordered = sorted(chosen, key=len, reverse=True)  # long ones first
        for files, (said, seconds) in zip(ordered, pool.map(timed, ordered)):
            if os.environ.get("TIDY_TIMES"):  # where the time goes
                print(f"{seconds:6.1f} s  {' '.join(files)}", flush=True)
            if said is not None:
                print(said, flush=True)
                clean = False
    return 0 if clean else 1


sys.exit(main())
