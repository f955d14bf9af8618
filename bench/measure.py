"""What the scripts beside this one share: running programs, reading what they print, drawing."""
import ctypes
import os
import re
import signal
import sys
import threading
import time
from dataclasses import dataclass

SCRIPT = os.path.basename(sys.argv[0])


def refuse(message):
    print(f"{SCRIPT}: {message}", file=sys.stderr)
    sys.exit(2)


def adopt_orphans():
    """Makes this process the parent of what its children leave behind, see `LAUNCHER`."""
    subreaper = 36  # PR_SET_CHILD_SUBREAPER
    if ctypes.CDLL(None, use_errno=True).prctl(subreaper, 1, 0, 0, 0) != 0:
        refuse("this system does not hand orphans over")


def pin(core):
    """Keeps this process and its children on one core, by default the last; which one it is."""
    cores = os.sched_getaffinity(0)
    core = max(cores) if core is None else core
    if core not in cores:
        refuse(f"core {core} is not available, but {', '.join(map(str, sorted(cores)))}")
    os.sched_setaffinity(0, {core})
    return core


@dataclass
class Ended:
    """What came of a run."""

    code: int  # minus the signal's number if one ended it
    killed: bool  # because it did not end when asked to
    usage: object  # its resources
    wall: float  # seconds from start to end

    @property
    def processor(self):
        return self.usage.ru_utime + self.usage.ru_stime


# A process counts as its own the peak memory of the program that it replaces. A direct child of this
# one would never show less than the interpreter takes, so a shell starts the program and goes away.
# The limits are for programs that have none of their own: first a request, then the end.
LAUNCHER = 'ulimit -S -t "$1" && ulimit -H -t "$2" && shift 2 && "$@" <"$0" &'


def execute(words, stdin, out, err, limit, grace=2, wall=False):
    """Runs a command to its end. The request to end comes `grace` seconds past the limit, which is of
    processor time or, with `wall`, of the clock on the wall."""
    create = os.O_WRONLY | os.O_CREAT | os.O_TRUNC
    actions = [(os.POSIX_SPAWN_OPEN, 1, out, create, 0o600),
               (os.POSIX_SPAWN_OPEN, 2, err, create, 0o600)]
    environment = {**os.environ, "PBTIMEOUT": str(limit)}
    limits = ["unlimited"] * 2 if wall else [str(limit + grace), str(limit + grace + 3)]
    shell = ["/bin/sh", "-c", LAUNCHER, stdin, *limits, *words]
    start = time.monotonic()
    group = os.posix_spawn(shell[0], shell, environment, file_actions=actions, setpgroup=0)
    killed = threading.Event()

    def end_group(number=signal.SIGKILL):
        try:
            os.killpg(group, number)
        except ProcessLookupError:
            pass

    def kill():
        killed.set()
        end_group()

    timers = [threading.Timer(limit + grace + 3 if wall else 10 * limit + 60, kill)]
    if wall:
        timers.append(threading.Timer(limit + grace, end_group, [signal.SIGTERM]))
    for timer in timers:
        timer.start()
    try:
        pid = group
        while pid == group:  # the shell and the program, whichever order they end in
            pid, status, usage = os.wait4(-group, 0)
        seconds = time.monotonic() - start
    finally:
        for timer in timers:
            timer.cancel()
        end_group()  # whatever the program has left running
        try:
            while True:
                os.waitpid(-group, 0)
        except ChildProcessError:
            pass
    return Ended(os.waitstatus_to_exitcode(status), killed.is_set(), usage, seconds)


def run(directory, words, stdin, limit):
    """Output, errors, seconds of processor time and peak memory in KiB of one run, which is asked to
    end at the limit. The output passes through files in the directory."""
    out, err = os.path.join(directory, "out"), os.path.join(directory, "err")
    ended = execute(words, stdin, out, err, limit, grace=0)
    texts = []
    for name in (out, err):
        with open(name, encoding="utf-8", errors="replace") as text:
            texts.append(text.read())
    return *texts, ended.processor, ended.usage.ru_maxrss


def last_match(pattern, text):
    found = re.findall(pattern, text, re.M)
    return found[-1].strip() if found else ""


def search_counters(errors):
    """The counters that quillon-trace prints; empty for other programs."""
    stats = last_match(r"^stats (.*)$", errors)
    return dict(pair.split("=", 1) for pair in stats.split() if "=" in pair)


def drawing():
    """matplotlib and its pyplot, or None and a word about it."""
    try:
        import matplotlib

        matplotlib.use("svg")
        from matplotlib import pyplot
    except ImportError:
        print(f"{SCRIPT}: no plots: this Python lacks matplotlib (Debian: python3-matplotlib, for "
              "/usr/bin/python3)", file=sys.stderr)
        return None
    return matplotlib, pyplot
