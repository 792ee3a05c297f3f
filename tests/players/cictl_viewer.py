#!/usr/bin/env python3
"""A viewer in front of cictl menu: reads its terminal and types. Runs until SIGTERM.

Usage: cictl_viewer.py CICTL [WORD ...]     words as of example-osd: an entry, an answer, "." to look on
"""
import os
import pty
import re
import select
import signal
import sys
import time

THINKING = 0.15
PROMPT = re.compile(rb"(number, 0 back, q quit|Enter back, q quit|answer[^>\n]*)> $")


class Ended(Exception):
    pass


def on_end(*_):
    raise Ended


def walk(cictl, words):
    """One run of cictl menu. Returns whether the viewer has closed the menu."""
    child, screen = pty.fork()
    if child == 0:
        os.execv(cictl, [cictl, "menu", "0"])
    try:
        seen = b""
        looked_at = None
        while True:
            ready, _, _ = select.select([screen], [], [], 0.05)
            if ready:
                try:
                    data = os.read(screen, 65536)
                except OSError:
                    data = b""
                if not data:
                    return False
                seen = (seen + data)[-65536:]
                looked_at = time.monotonic()
                continue
            prompt = PROMPT.search(seen)
            if not prompt or time.monotonic() - looked_at < THINKING:
                continue
            seen = b""
            word = words.pop(0) if words else None
            if word == ".":
                continue
            if prompt.group(1).startswith(b"Enter"):
                word = ""
            elif prompt.group(1).startswith(b"answer"):
                word = word or ""
            elif word is None:
                os.write(screen, b"q\n")
                return True
            os.write(screen, word.encode() + b"\n")
    finally:
        os.close(screen)  # ends cictl, should it still run
        stop(child)


def stop(child):
    for _ in range(100):
        if os.waitpid(child, os.WNOHANG)[0] == child:
            return
        time.sleep(0.02)
    os.kill(child, signal.SIGKILL)  # our own child, which has not been waited for
    os.waitpid(child, 0)


def main():
    signal.signal(signal.SIGTERM, on_end)
    words = sys.argv[2:]
    try:
        while not walk(sys.argv[1], words):
            time.sleep(0.1)
        signal.pause()
    except Ended:
        pass
    return 0


if __name__ == "__main__":
    sys.exit(main())
