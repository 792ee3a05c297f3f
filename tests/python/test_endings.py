"""However a program ends, it ends cleanly, and bus and simulator with it."""

import os
import pathlib
import select
import signal
import subprocess
import sys
import time

import pytest

BOUND = 30
BEGIN = """
import os, signal, sys, threading, time
import ciapi
from ciapi import ECISignalType, Signals, sim
READY = ECISignalType.SIGNAL_CI_CAM_READY_STATUS_CHANGED
def tell(simulator):
    bus = simulator.bus_address.partition("path=")[2].partition(",")[0]
    print(os.path.dirname(bus), simulator._process.pid, flush=True)
"""


begun = []


@pytest.fixture(autouse=True)
def no_program_is_left():
    try:
        yield
    finally:
        while begun:
            with begun.pop() as process:  # which closes its pipes
                process.kill()


class Program:
    """A program of its own that has told which folder and which simulator are its."""

    def __init__(self, text):
        self.process = subprocess.Popen(
            [sys.executable, "-c", BEGIN + text],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
        )
        begun.append(self.process)
        told = self.line().split()
        if len(told) != 2:
            raise AssertionError(self.process.communicate(timeout=BOUND)[1])
        self.folder, self.simulator = pathlib.Path(told[0]), int(told[1])
        assert self.folder.is_dir()

    def line(self):
        """The next line of its output, and not a byte more, which is for ``end``. Less when there is no more."""
        deadline = time.monotonic() + BOUND
        output = self.process.stdout.fileno()
        said = b""
        while not said.endswith(b"\n"):
            if not select.select([output], [], [], max(0, deadline - time.monotonic()))[0]:
                raise AssertionError(f"nothing comes after {said!r}")
            byte = os.read(output, 1)
            if not byte:
                break
            said += byte
        return said.decode()

    def end(self):
        """What it has said on standard error, when it and all that was its have ended."""
        output, errors = self.process.communicate(timeout=BOUND)
        self.left_its_folder = self.folder.exists()
        deadline = time.monotonic() + BOUND
        while self.folder.exists() or _runs(self.simulator):
            assert time.monotonic() < deadline, f"{self.folder} or {self.simulator} is left"
            time.sleep(0.01)
        return output + errors


def _runs(process):
    try:
        state = pathlib.Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[0]
    except (FileNotFoundError, ProcessLookupError):
        return False
    return state != "Z"  # an orphan that nobody has collected


@pytest.mark.parametrize(
    "ending, status, words",
    [
        ("pass", 0, ""),
        ("raise LookupError('mine')", 1, "LookupError: mine"),
        ("sys.exit(7)", 7, ""),
        ("os._exit(8)", 8, ""),
        ("os.kill(os.getpid(), signal.SIGKILL)", -signal.SIGKILL, ""),
        ("os.kill(os.getpid(), signal.SIGINT); time.sleep(20)", -signal.SIGINT, "KeyboardInterrupt"),
        ("simulator.kill()", 0, ""),
    ],
)
def test_a_block_ends(ending, status, words):
    program = Program(f"with sim.run() as simulator:\n  tell(simulator)\n  ciapi.general.get_cam_modes()\n  {ending}\n")
    said = program.end()
    assert program.process.returncode == status, said
    assert words in said if words else said == ""
    # Where it is the first process of a container, nobody is there to do it afterwards.
    assert not program.left_its_folder or ending.startswith("os.")


def test_a_call_while_the_interpreter_ends():
    program = Program(
        "class Late:\n"
        "  def __del__(self):\n"
        "    try: ciapi.general.get_cam_modes()\n"
        "    except ciapi.CallError: pass\n"
        "late = Late(); simulator = sim.run().__enter__(); tell(simulator); ciapi.general.get_cam_modes()\n"
    )
    assert (program.end(), program.process.returncode) == ("", 0)


def test_without_a_block():
    program = Program("simulator = sim.run().__enter__(); tell(simulator); signals = Signals(READY)")
    assert (program.end(), program.process.returncode) == ("", 0)


def test_an_interrupt_while_a_signal_is_waited_for():
    program = Program(
        "with sim.run() as simulator, Signals(READY) as signals:\n"
        "  tell(simulator); print('waits', flush=True); signals.get()\n"
    )
    assert program.line() == "waits\n"
    os.kill(program.process.pid, signal.SIGINT)
    assert "KeyboardInterrupt" in program.end()
    assert program.process.returncode == -signal.SIGINT


@pytest.mark.parametrize(
    "callback",
    [
        "time.sleep(60)",
        "[None for _ in iter(int, 1)]",  # the interpreter's lock goes back and forth
        "ciapi.general.get_cam_modes()",  # is never answered
        "Signals(ECISignalType.SIGNAL_CI_MMI_STATUS_CHANGED)",
    ],
)
def test_an_exit_while_a_callback_runs(callback):
    program = Program(
        "simulator = sim.run().__enter__(); tell(simulator); begun = threading.Event()\n"
        "ciapi.general.get_cam_modes()\n"
        "signals = Signals(READY, callback=lambda signal: (begun.set(), {}))\n".format(callback)
        + "simulator.faults.add('never', operation='ICIGeneral.GetCamModes')\n"
        "simulator.remove_cam(0)\n"
        "begun.wait()\n"
    )
    assert (program.end(), program.process.returncode) == ("", 0)


def test_an_exit_while_threads_call():
    program = Program(
        "simulator = sim.run().__enter__(); tell(simulator)\n"
        "def call():\n"
        "  while True:\n"
        "    try: ciapi.general.get_ci_slot_status(0)\n"
        "    except ciapi.CallError: pass\n"
        "signals = Signals(READY, callback=lambda signal: None)\n"
        "for _ in range(4): threading.Thread(target=call, daemon=True).start()\n"
        "simulator.ask('AddFault', {'kind': 'storm', 'count': 2000})\n"
    )
    assert (program.end(), program.process.returncode) == ("", 0)


def test_a_forked_child_is_refused_and_ends_nothing():
    program = Program(
        "with sim.run() as simulator, Signals(READY) as signals:\n"
        "  tell(simulator); ciapi.general.get_cam_modes()\n"
        "  child = os.fork()\n"
        "  try: ciapi.general.get_cam_modes()\n"
        "  except ciapi.CallError as error: outcome = error.outcome\n"
        "  else: outcome = ciapi.CallOutcome.ANSWERED\n"
        "  if child == 0: sys.exit(outcome)\n"
        "  assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == ciapi.CallOutcome.NOT_SENT\n"
        "  assert outcome == ciapi.CallOutcome.ANSWERED\n"
        "  simulator.remove_cam(0); signals.get(timeout=20)\n"
    )
    assert (program.end(), program.process.returncode) == ("", 0)


def test_an_application_with_a_loop_of_its_own():
    program = Program(
        "from gi.repository import GLib\n"
        "ciapi.application_runs_loop()\n"
        "loop = GLib.MainLoop()\n"
        "with sim.run() as simulator:\n"
        "  tell(simulator)\n"
        "  with Signals(READY, callback=lambda signal: GLib.idle_add(loop.quit)):\n"
        "    simulator.remove_cam(0)\n"
        "    GLib.timeout_add_seconds(20, lambda: os._exit(9))\n"
        "    loop.run()\n"
    )
    assert (program.end(), program.process.returncode) == ("", 0)


def test_a_set_without_ci():
    program = Program(
        "with sim.run(keys={'product.num_of_ci': '0'}) as simulator:\n"
        "  tell(simulator)\n"
        "  assert ciapi.general.is_ci_supported() is False\n"
        "  for call in (lambda: ciapi.general.get_cam_modes(), lambda: Signals(READY)):\n"
        "    try: call()\n"
        "    except ciapi.NotOperableError as error: assert error.outcome == ciapi.CallOutcome.NONE\n"
        "    else: raise AssertionError\n"
    )
    assert (program.end(), program.process.returncode) == ("", 0)


def test_a_simulator_behind_the_library_is_refused(tmp_path):
    keys = tmp_path / "keys"
    keys.write_text("[com.kelvora/featureconf]\nproduct.num_of_ci=0\n")
    program = subprocess.run(
        [sys.executable, "-c", "import ciapi; ciapi.general.is_ci_supported(); ciapi.sim.run().__enter__()"],
        env={**os.environ, "TVPLATFORM_SYSTEM_INFO": str(keys)},
        capture_output=True,
        text=True,
        timeout=100,
    )
    assert "the library has been used before" in program.stderr
