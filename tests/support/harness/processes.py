"""Child processes that never outlive the script that started them."""

import ctypes
import os
import signal
import subprocess
import time
from pathlib import Path

# From <linux/prctl.h>.
_PR_SET_PDEATHSIG = 1
_PR_SET_CHILD_SUBREAPER = 36
_libc = ctypes.CDLL(None)

_started = []


class Failure(Exception):
    """Something that was promised did not happen; the message says what, for a person."""


def wait_for(what, condition, seconds=10.0):
    """Returns the condition's first true answer, or fails with `what` when the deadline has passed."""
    deadline = time.monotonic() + seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > deadline:
            raise Failure(f"not within {seconds:g} s: {what}")
        time.sleep(0.01)


def start(arguments, environment, log=None, **options):
    """Starts a program that dies with this script. What it prints goes to the file `log`, or nowhere."""
    _adopt_orphans()
    options.setdefault("stdin", subprocess.DEVNULL)
    with open(log or os.devnull, "ab") as output:
        options.setdefault("stdout", output)
        options.setdefault("stderr", output)
        process = subprocess.Popen([str(argument) for argument in arguments], env=environment,
                                   preexec_fn=_die_with_parent, **options)
    _started.append(process)
    return process


def run(arguments, environment, seconds=20.0, **options):
    """Runs a program to its end and returns the completed process, its output as text."""
    options.setdefault("stdin", subprocess.DEVNULL)
    options.setdefault("text", True)
    try:
        return subprocess.run([str(argument) for argument in arguments], env=environment, timeout=seconds,
                              capture_output=True, check=False, **options)
    except subprocess.TimeoutExpired:
        raise Failure(f"still running after {seconds:g} s: {' '.join(map(str, arguments))}") from None


def end(process, seconds=5.0):
    """Asks the program to end, then insists."""
    if process.poll() is None:
        process.terminate()
        try:
            process.wait(seconds)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


def end_everything():
    """Ends every process that descends from this script, those included whose own parent has gone."""
    for process in _started:
        process.kill()
        process.wait()
        if process.stdout:
            process.stdout.close()
    _started.clear()
    while children := _children():
        for child in children:
            try:
                os.kill(child, signal.SIGKILL)
                os.waitpid(child, 0)
            except (ChildProcessError, ProcessLookupError):
                pass


def _adopt_orphans():
    # What a session bus starts outlives the bus by a moment; orphans come to us, where end_everything finds them.
    _libc.prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def _die_with_parent():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)


def _children():
    ours = []
    for entry in Path("/proc").glob("[0-9]*/stat"):
        try:
            # The name in parentheses may hold anything; the state and the parent follow the last one.
            parent = entry.read_text().rpartition(")")[2].split()[1]
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(parent) == os.getpid():
            ours.append(int(entry.parent.name))
    return ours
