#!/usr/bin/env python3
"""What is recorded is played again, and says the same.

Usage: replay_test.py SIMULATOR CICTL EXAMPLE
       replay_test.py --beside CICTL FILE COMMAND [ARGUMENT ...]   records to FILE while the command runs
"""
import concurrent.futures
import difflib
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
LIMIT = 60
# What the viewer does, page by page.
STORIES = {
    "menu-walk": ["1", "", "4"],
    "enquiry-pin": ["0042"],
    "cold-insertion": ["."],
    "cam-pulled": ["."] * 20,
    "daemon-restart": ["."],
}


def beside(cictl, file, command):
    """Runs a command while its traffic is recorded; ends it when asked to end."""
    recorder = subprocess.Popen([cictl, "trace", "--record", file], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    assert b"tracing" in recorder.stderr.readline()
    application = subprocess.Popen(command, stdin=subprocess.DEVNULL)
    signal.signal(signal.SIGTERM, lambda *_: application.terminate())
    status = application.wait()
    subprocess.run([cictl, "mark", "end"], check=False)  # once it is taken, nothing of the application's is on its way
    recorder.terminate()
    recorder.wait(LIMIT)
    return status if status >= 0 else 128 - status


class Desk:
    def __init__(self, simulator, cictl, example, folder):
        self.simulator, self.cictl, self.example, self.folder = simulator, cictl, example, pathlib.Path(folder)

    def run(self, *command):
        done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=LIMIT)
        return done.returncode, done.stdout.decode(errors="replace")

    def play(self, *arguments):
        return self.run(self.simulator, "play", *arguments)

    def recorded(self, file, *command):
        return [sys.executable, __file__, "--beside", self.cictl, file, *command]

    def words(self, file):
        """A recording in CAM words, without what differs between two runs, and what came behind the last reply."""
        status, text = self.run(self.cictl, "trace", file)
        assert status == 0 and "call " in text, text
        words = re.sub(r"(?m)^\S+ |from=\d+ | ms=[\d.]+|, processId: \d+", "", text).split("\n")
        last = max(number for number, line in enumerate(words) if line.startswith("reply "))
        return words[:last + 1]

    def gaps(self, file):
        """How long after the call before it each signal came, in ms."""
        gaps, last = [], None
        for line in self.run(self.cictl, "trace", file)[1].splitlines():
            time = sum(float(part) * unit for part, unit in zip(line[11:23].split(":"), (3.6e6, 6e4, 1e3)))
            if " call " in line:
                last = time
            elif " signal " in line and last is not None:
                gaps.append(time - last)
        return gaps

    def loop(self, story, words, *options):
        first, second = (str(self.folder / f"{story}{''.join(options)}.{n}.pcapng") for n in (1, 2))
        status, text = self.play(story, "--end", "--", *self.recorded(first, self.example, *words))
        assert status == 0, f"{story} cannot be recorded: {status}\n{text}"
        status, text = self.play(first, "--strict", "--end", *options, "--",
                                 *self.recorded(second, self.example, *words))
        assert status == 0, f"{story} cannot be played again: {status}\n{text}"
        one, two = self.words(first), self.words(second)
        difference = "\n".join(difflib.unified_diff(one, two, "recorded", "played", lineterm=""))
        assert not difference, f"{story}:\n{difference}"
        return first, second

    def real_time(self):
        first, second = self.loop("menu-walk", STORIES["menu-walk"], "--real-time")
        recorded, played = max(self.gaps(first)), self.gaps(second)[self.gaps(first).index(max(self.gaps(first)))]
        assert recorded > 40 and played > recorded * 0.7, f"{recorded} ms became {played} ms"

    def differences(self):
        """Each: options and the application, what it ends with, and what is said."""
        file, _ = self.loop("menu-walk", STORIES["menu-walk"], "--step-timeout", "10")
        cut = self.folder / "cut.pcapng"
        cut.write_bytes(pathlib.Path(file).read_bytes()[:-700])
        unnamed = self.folder / "recording"  # is one by what it begins with
        unnamed.write_bytes(pathlib.Path(file).read_bytes())
        empty = self.folder / "empty.pcapng"
        empty.write_bytes(pathlib.Path(file).read_bytes()[:28])
        two = self.folder / "two.pcapng"
        both = f"{self.cictl} slots; exec {self.example} 1 '' 4"
        self.play("menu-walk", "--end", "--", *self.recorded(str(two), "sh", "-c", both))
        osd, cictl = self.example, self.cictl
        cases = [
            (file, ["--strict", "--end", "--junit", str(self.folder / "r.xml")], [osd, "2", "", "4"], 3, [
                r"call 6 of 12 differs\n.*recorded: ICIGeneral.AnswerMmiMenu .*\"choice\":1.*\n.*made: .*\"choice\":2"]),
            (file, ["--strict"], [cictl, "slots"], 3, [r"call 1 of 12 differs\n.*Subscribe.*\n.*GetCiSlotStatus"]),
            (file, ["--strict"], ["true"], 3, [r"the application ended before: call 1 of 12\n.*Subscribe"]),
            (file, ["--strict", "--step-timeout", "0.2"], ["sleep", "20"], 3, ["call 1 of 12 does not come\n"]),
            (file, ["--end"], [osd, "2", "", "4"], 0, [
                r"answered as call 6 of 12, which has other arguments\n.*choice\":1.*\n.*choice\":2",
                "9 of 10 calls as recorded, 4 of 4 signals, 1 with other arguments"]),
            (file, [], [cictl, "call", "ICIGeneral.GetCamModes"], 0, [
                r"answered by the model: the recording has no such operation\n.*GetCamModes", "0 of 10 calls",
                "1 answered by the model"]),
            # Its signals come though the calls before them do not.
            (file, ["--step-timeout", "2"], [cictl, "wait", "signal=CI_MMI_STATUS_CHANGED", "--timeout", "10"], 0, [
                "makes no more calls of the recording: the play goes on with SIGNAL_CI_MMI_STATUS_CHANGED slot 0: "
                "CI_MMI_STATUS_MENU_RECEIVED, 4 entries without 1 call\n"]),
            (str(cut), ["--end"], [osd, "1", "", "4"], 0, ["the file ends within a block", "is played: "]),
            (str(unnamed), ["--strict", "--end"], [osd, "1", "", "4"], 0, []),
            (str(two), ["--strict"], ["true"], 2, [r"--client says whose.*cictl \(:1.\d+\): \d+ calls, example-osd"]),
            (str(two), ["--strict", "--client", "cictl"], [cictl, "slots"], 0, []),
            (str(two), ["--client", "tv"], ["true"], 1, ["no calls of an application tv; there are: cictl"]),
            (str(empty), [], ["true"], 1, ["holds no call to the CI daemon"]),
            (str(self.folder / "none.pcapng"), [], ["true"], 1, ["cannot be read: No such file"]),
            (__file__, ["--strict"], ["true"], 2, ["go with a recording"]),
            (file, ["--whole"], ["true"], 2, ["--whole goes with a scenario"]),
        ]
        for piece, options, command, expected, texts in cases:
            status, text = self.play(piece, *options, "--", *command)
            wrong = [one for one in texts if not re.search(one, text)]
            assert status == expected and not wrong, f"{piece} {options} {command}: {status}, lacks {wrong}\n{text}"

    def foreign(self):
        """A daemon that has nothing of the library answers, and its recording answers the same."""
        file = str(self.folder / "foreign.pcapng")
        daemon = str(HERE.parent / "foreign" / "foreign_daemon.py")
        bus = 'DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS exec "$0" "$@"'
        status, text = self.run("dbus-run-session", "--", "sh", "-c", bus, sys.executable, daemon, self.cictl, file)
        assert status == 0, text
        status, text = self.play(file, "--", sys.executable, daemon, "--ask", self.cictl)
        assert status == 0 and "answered by the model" not in text, text


def main():
    if sys.argv[1] == "--beside":
        return beside(sys.argv[2], sys.argv[3], sys.argv[4:])
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(3) as pool:
        desk = Desk(*sys.argv[1:4], folder)
        assert shutil.which("dbus-run-session")
        jobs = [pool.submit(desk.loop, story, words) for story, words in STORIES.items()]
        jobs += [pool.submit(job) for job in (desk.real_time, desk.differences, desk.foreign)]
        wrong = [job.exception() for job in jobs if job.exception() is not None]
    for one in wrong:
        print(repr(one) if not isinstance(one, AssertionError) else one)
    print(f"{len(jobs) - len(wrong)} of {len(jobs)} parts are right")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
