"""Runs every command line that the documentation and the manual pages show, as a reader would who copies it.

    commands_test.py SOURCES PROGRAMS NINJA_BUILD

The commands of a block run one after the other beside one simulator, those of a line of text or of a table each beside
its own. A command that cannot run here stands in ELSEWHERE, with what is checked of it instead.
"""

import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

BOUND = 60  # seconds for a block

# What a reader puts there.
PLACEHOLDERS = [
    (r"(?<=cictl run )FILE", "try.ci"),
    (r"(?<=cictl )VERB", "slots"),
    (r"(?<=ci-daemon-sim )COMMAND", "run"),
    (r"COMMAND", "cictl slots"),
    (r"VERB", "State"),
    (r"FILE", "my-story.json"),
    (r"WORD", "slo"),
]

# What a reader types. A command that would not end is ended by timeout(1) after so many seconds.
MANNERS = [
    (r"(.* && )?(ci-daemon-sim run -- )?cictl menu 0", {"input": "q\n"}),
    (r"ci-daemon-sim (run|play menu-walk .*) -- ./show-a-cams-menu", {"input": "1\n0\nq\n"}),
    (r"ci-daemon-sim run -- bash", {"input": "cictl slots\nexit\n"}),
    (r"cictl call ICIGeneral.VerifyCamPin .*pin=-", {"input": "1234\n"}),
    (r"ci-daemon-sim screen.*", {"seconds": 2}),
    (r"cictl watch|cictl wait .*signal=.*", {"seconds": 1}),
]


def runs_script(sources, _, words):
    return os.access(sources / words[0], os.X_OK)


def has_preset(sources, build, words):
    presets = json.loads((sources / "CMakePresets.json").read_text())
    names = {preset["name"] for preset in presets["configurePresets"] + presets["buildPresets"]}
    targets = words[words.index("--target") + 1 :] if "--target" in words else []
    named = words[words.index("--preset") + 1] if "--preset" in words else "release"
    return named in names and all(is_target(build, target) for target in targets)


def is_built(_, build, words):
    return is_target(build, pathlib.Path(words[0]).name)


def is_target(build, name):
    return subprocess.run(["ninja", "-C", build, "-t", "query", name], capture_output=True).returncode == 0


def trusted(*_):
    return True


# (command, why it does not run here, what is looked at instead)
ELSEWHERE = [
    (r"scripts/\S+\.sh.*", "CI runs it", runs_script),
    (r"(cmake|ctest --preset) .*", "builds for minutes", has_preset),
    (r"build/release/bin/.*", "measures for minutes", is_built),
    (r"(runuser|setpriv) .*|busctl .* ReloadConfig", "needs the machine's bus and users: tests/policy", trusted),
    (r"g\+\+ .*", "needs an installation: tests/install", trusted),
    (r"apt (install|remove) .*|systemctl .*|journalctl .*", "changes the machine: scripts/package-test.sh", trusted),
    (r"cictl -H .*", "needs another machine: tests/tools", trusted),
]


def blocks_of(document):
    """The commands, as lists of (line, command) that belong together. A name alone stands for its help."""
    fence, block, pending = None, [], ""
    isManual = document.suffix == ".in"  # has no words behind its fences
    for number, line in enumerate(document.read_text().splitlines(), 1):
        if line.startswith("```"):
            if block:
                yield block
            fence, block = (line[3:].strip() if fence is None else None), []
        elif fence == "sh" or (isManual and fence == "" and line.startswith(("cictl ", "ci-daemon-sim "))):
            pending += line
            if pending.endswith("\\"):
                pending = pending[:-1]
                continue
            if command := pending.strip():
                if not command.startswith("#"):
                    block.append((number, command))
            pending = ""
        elif fence is None:
            for command in re.findall(r"`((?:cictl|ci-daemon-sim) [^`]+)`", line):
                isName = len(re.sub(" ctl ", " ", command).split()) < 3
                yield [(number, command + (" --help" if isName else ""))]


def told(sources, build, place, command):
    """What is wrong with a command that runs elsewhere; None when it is to run here."""
    for part in command.split("&&"):
        words = shlex.split(part, comments=True)
        for pattern, _, check in ELSEWHERE:
            if re.fullmatch(pattern, " ".join(words)):
                if not check(sources, build, words):
                    return [f"{place}: {command}: there is no such thing"]
                break
        else:
            return None
    return []


def run_block(programs, block, folder):
    """What is wrong with the commands of a block."""
    script = ["export PATH=" + shlex.quote(f"{folder}:{programs}:{os.environ['PATH']}")]
    for number, command in block:
        for word, meaning in PLACEHOLDERS:
            command = re.sub(word + r"\b", meaning, command)
        bare = " ".join(shlex.split(command, comments=True))
        manner = next((manner for pattern, manner in MANNERS if re.fullmatch(pattern, bare)), {})
        given = shlex.quote(manner.get("input", ""))
        limit = manner.get("seconds", BOUND)
        script.append(
            f"printf %s {given} | timeout -s INT {limit} bash -c {shlex.quote(command)} >out.txt 2>&1; status=$?\n"
            # What is ended from here has run as long as it should.
            f"[ $status = 0 ] || {{ [ $status = 124 ] && [ {limit} != {BOUND} ]; }} || "
            f"{{ echo {shlex.quote(f'line {number}: {bare}')}: status $status; head -c 2000 out.txt; }}"
        )
    path = pathlib.Path(folder) / "block.sh"
    path.write_text("\n".join(script))
    result = subprocess.run(
        [f"{programs}/ci-daemon-sim", "run", "--", "bash", str(path)],
        cwd=folder, capture_output=True, text=True, timeout=2 * BOUND,
    )
    wrong = result.stdout
    if result.returncode != 0:
        wrong += f"the block ended with {result.returncode}: {result.stderr}"
    return wrong


def write_application(programs, folder):
    application = pathlib.Path(folder) / "my-app"
    application.write_text(f"#!/bin/sh\ntimeout -s TERM 6 {programs}/example-osd 1 0042\nexit 0\n")
    application.chmod(0o755)
    return application


def record(sources, programs):
    """What the application and the daemon say to each other, as a recording."""
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "set.pcapng"
        beside = [sys.executable, "-B", sources / "tests/replay/replay_test.py", "--beside", programs / "cictl", file]
        subprocess.run([programs / "ci-daemon-sim", "run", "--", *beside, write_application(programs, folder)],
                       stdout=subprocess.DEVNULL, timeout=BOUND, check=True)
        return file.read_bytes()


def prepare(sources, programs, recording, folder):
    """What the documents take for granted: an application, the story that they show, and a recording."""
    write_application(programs, folder)
    (pathlib.Path(folder) / "set.pcapng").write_bytes(recording)
    for document, fence, name in (("simulator.md", "jsonc", "my-story.json"), ("cictl.md", "cictl", "try.ci")):
        text = (sources / "docs" / document).read_text()
        (pathlib.Path(folder) / name).write_text(re.search(rf"```{fence}\n(.*?)```", text, re.S).group(1))
    (pathlib.Path(folder) / "pin.txt").write_text("1234\n")
    for program in (programs.parent / "tasks").iterdir():
        (pathlib.Path(folder) / program.name).symlink_to(program)
    (pathlib.Path(folder) / "ciapi.lua").symlink_to(programs.parent / "share/wireshark/ciapi.lua")


def main():
    sources, programs, build = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    documents = [sources / "README.md", *sorted((sources / "docs").rglob("*.md")), sources / "fuzz/README.md",
                 *sorted((sources / "docs/man").iterdir())]
    recording = record(sources, programs)
    count, wrong = 0, []
    for document in documents:
        for block in blocks_of(document):
            here = []
            for number, command in block:
                place = f"{document.relative_to(sources)}:{number}"
                problems = told(sources, build, place, command)
                if problems is None:
                    here.append((number, command))
                else:
                    wrong += problems
            if here:
                count += len(here)
                with tempfile.TemporaryDirectory() as folder:
                    prepare(sources, programs, recording, folder)
                    problem = run_block(programs, here, folder)
                    if problem:
                        wrong.append(f"{document.relative_to(sources)}: {problem}")
    print(f"{count} commands ran")
    if wrong or count < 20:
        sys.exit("\n".join(wrong) or "the commands were not found")


main()
