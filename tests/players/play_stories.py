#!/usr/bin/env python3
"""Plays every story that is shipped with an application that knows none of them, each beside a simulator of its own.

Usage: play_stories.py SIMULATOR SCENARIOS -- COMMAND [ARGUMENT ...]     the viewer's words come behind
"""
import concurrent.futures
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

LIMIT = 60
# What the viewer does, page by page; without: looks on.
WORDS = {
    "menu-walk": ["1", "", "4"],
    "menu-250-entries": ["250", ""],
    "text-torture": [""],
    "enquiry-visible": ["1015"],
    "enquiry-pin": ["0042"],
}
# Which steps a plain on-screen display cannot play: those of other interfaces, or of a viewer who comes back. Nothing
# else may be passed over.
PASSED_OVER = {
    "ca-pmt-life": {3, 4, 5, 6, 8},
    "cam-pulled": {4, 7, 10, 11},
    "enquiry-pin": {7, 9, 10},
    "enquiry-visible": {7, 8},
    "malformed-data": {3, 4},
    "operator-profile-install": {3, 4, 5, 6, 7},
    "pin-content-control": {4, 5, 6},
    "host-control": {3, 4, 5},
    "sas": {3, 4, 5},
    "recording-expiry": {3, 4, 5, 7},
    "sample-decryption": {3, 4, 5},
    "cicam-player": {3, 4, 5, 6},
    "auxiliary-files": {3, 4, 5},
    "application-mmi": {3, 4, 5, 6},
    "slow-daemon": {4, 5},
    "trust-failure": {3},
    "two-slots": {3, 4},
    "unsolicited-menu": {3},
    "upgrade-delayed": {3, 4, 5},
    "upgrade-unlucky": {6},
}


def play(simulator, command, story, folder):
    """What went wrong, or nothing."""
    report = folder / (story + ".xml")
    whole = [] if story in PASSED_OVER else ["--whole"]
    line = [simulator, "play", story, "--end", "--junit", report, *whole, "--", *command, *WORDS.get(story, ["."] * 20)]
    done = subprocess.run(line, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=LIMIT)
    text = done.stdout.decode(errors="replace")[-3000:]
    if done.returncode != 0:
        return f"{story}: status {done.returncode}\n{text}"
    steps = [case for case in xml.etree.ElementTree.parse(report).getroot() if case.get("name").startswith("step ")]
    passed = {number for number, case in enumerate(steps, 1) if case.find("skipped") is not None}
    if not passed <= PASSED_OVER.get(story, set()):
        return f"{story}: the steps {sorted(passed)} were passed over\n{text}"
    return None


def main():
    simulator, scenarios = sys.argv[1:3]
    command = sys.argv[4:]
    stories = sorted(path.stem for path in pathlib.Path(scenarios).glob("*.json"))
    assert len(stories) > 20 and set(WORDS) | set(PASSED_OVER) <= set(stories)
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(4) as pool:
        wrong = list(filter(None, pool.map(
            lambda story: play(simulator, command, story, pathlib.Path(folder)), stories)))
    for one in wrong:
        print(one)
    print(f"{len(stories) - len(wrong)} of {len(stories)} stories were played to their end")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
