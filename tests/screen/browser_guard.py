#!/usr/bin/env python3
"""Holds a browser's driver, and with it all that it starts, until standard input ends, in whatever way that comes.

Usage: browser_guard.py CHROMEDRIVER FOLDER     prints the driver's port; the folder goes with it
"""
import ctypes
import os
import re
import shutil
import signal
import subprocess
import sys
import time

PR_SET_CHILD_SUBREAPER = 36


def children():
    """Everything below this process, which inherits what loses its parent."""
    parents = {}
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{name}/stat", encoding="ascii", errors="replace") as stat:
                parents[int(name)] = int(stat.read().rpartition(")")[2].split()[1])
        except (OSError, ValueError):
            continue
    found, level = set(), {os.getpid()}
    while level:
        level = {pid for pid, parent in parents.items() if parent in level} - found
        found |= level
    return found


def end_all():
    """Whether all is gone."""
    end = time.monotonic() + 15
    while time.monotonic() < end:
        left = [pid for pid in children() if pid > 1 and pid != os.getpid()]
        for pid in left:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        try:
            while os.waitpid(-1, os.WNOHANG)[0] != 0:
                pass
        except ChildProcessError:
            return True
        time.sleep(0.02)
    print(f"browser_guard.py gives up: {left} do not end", file=sys.stderr)
    return False


def main():
    driver, folder = sys.argv[1:]
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.SIG_IGN)  # the end of the input is what counts
    try:
        process = subprocess.Popen([driver, "--port=0"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.DEVNULL, text=True, cwd=folder,
                                   env={**os.environ, "HOME": folder, "TMPDIR": folder})
        for line in process.stdout:
            port = re.search(r"successfully on port (\d+)", line)
            if port:
                print(port.group(1), flush=True)
                break
        sys.stdin.read()
    finally:
        is_gone = end_all()
        shutil.rmtree(folder, ignore_errors=True)
    return 0 if is_gone else 1


sys.exit(main())
