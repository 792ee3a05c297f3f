"""A simulated set: a private bus, a CI daemon and CAMs on it, and whatever can be done to them.

    with ciapi.sim.run(insert={0: "plus"}, seed=7) as sim:
        ciapi.general.enter_menu(0)
        sim.remove_cam(0)

The library connects once in a process. So the bus is started by the first run and lasts until the process has ended, in
whatever way; each run has a fresh daemon on it, one at a time.
"""

from __future__ import annotations

import atexit
import contextlib
import dataclasses
import datetime
import enum
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
from typing import Any, Iterator, Mapping, Optional, Union

from ciapi import _ciapi, _signals
from ciapi._controls import Controls
from ciapi._interfaces import operation_name

START_TIMEOUT = 20.0
STOP_TIMEOUT = 5.0
INTERVAL = 0.005
EXIT_UNMET = 3

_environment: dict[str, str] = {}
_keys: dict[str, str] = {}
_running: Optional[Simulator] = None


class StoryError(AssertionError):
    """An application did not do what a story expects of it; the text says what."""


def _snake(name: str) -> str:
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])", "_", name).lower()


def _word(value: Any) -> str:
    """An argument of a verb as the simulator reads it; an empty text is one that is left out."""
    if value is None:
        return ""
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, enum.Enum):
        return str(value)
    if isinstance(value, (bytes, bytearray)):
        return value.hex()
    if isinstance(value, (dict, list, tuple)):
        return json.dumps(value)
    return str(value)


def _can_be_sent(text: str) -> bool:
    try:
        text.encode()
    except UnicodeEncodeError:
        return False
    return True


def _set_up_bus(keys: Mapping[str, str]) -> None:
    """The process's bus, with the feature keys of the set."""
    global _keys
    if not _environment:
        if _ciapi.has_been_used():
            raise RuntimeError(
                "the library has been used before the first simulator: it keeps the bus and the feature keys of then"
            )
        _environment.update(_ciapi.start_bus())
    elif dict(keys) != _keys and _ciapi.has_been_used():
        raise RuntimeError("the library reads the feature keys once: other ones need another process")
    os.environ.update(_environment)
    _ciapi.write_keys(dict(keys))
    _keys = dict(keys)


def _marker() -> pathlib.Path:
    return pathlib.Path(_environment["CIAPI_DAEMON_READY_FILE"])


def _stamp() -> tuple[int, int]:
    """Tells one readiness marker from the next."""
    status = _marker().stat()
    return status.st_ino, status.st_mtime_ns


@dataclasses.dataclass(frozen=True)
class Call:
    """A call that the daemon received. Secrets are not shown."""

    number: int
    time: int
    interface: str
    operation: str
    arguments: dict[str, Any]
    outcome: str
    result: Any = None
    outputs: dict[str, Any] = dataclasses.field(default_factory=dict)
    program: str = ""
    process_id: int = 0
    one_way: bool = False

    @property
    def name(self) -> str:
        return f"{self.interface}.{self.operation}"


def _call(entry: Mapping[str, Any]) -> Call:
    known = {field.name for field in dataclasses.fields(Call)}
    given = {_snake(name): value for name, value in entry.items()}
    members: dict[str, Any] = {"arguments": {}, **{name: value for name, value in given.items() if name in known}}
    return Call(**members)


class Fault:
    """A fault that is on, until ``remove`` or the end of a ``with`` block."""

    def __init__(self, sim: Simulator, number: int) -> None:
        self._sim = sim
        self.number = number

    def remove(self) -> None:
        if not self._sim._has_ended():
            with contextlib.suppress(ValueError):  # it has happened, and is off
                self._sim.ask("RemoveFault", self.number)

    def __enter__(self) -> Fault:
        return self

    def __exit__(self, *_: object) -> None:
        self.remove()


class Faults:
    """What goes wrong."""

    def __init__(self, sim: Simulator) -> None:
        self._sim = sim

    def add(self, kind: str, *, operation: Any = None, **members: Any) -> Fault:
        """Switches a fault on: ``add("late", operation=ciapi.general.get_mmi_menu, ms=500, times=1)``."""
        fault: dict[str, Any] = {"kind": kind, **members}
        if operation is not None:
            fault["operation"] = operation_name(operation)
        return Fault(self._sim, int(self._sim.ask("AddFault", fault)))

    def clear(self) -> None:
        self._sim.ask("ClearFaults")

    def __iter__(self) -> Iterator[dict[str, Any]]:
        return iter(json.loads(self._sim.ask("ListFaults")))

    def __len__(self) -> int:
        return len(list(iter(self)))


class Calls:
    """The calls that the daemon has received, the latest last."""

    def __init__(self, sim: Simulator) -> None:
        self._sim = sim

    def _all(self) -> list[Call]:
        return [_call(entry) for entry in json.loads(self._sim.ask("Journal"))]

    def __iter__(self) -> Iterator[Call]:
        return iter(self._all())

    def __len__(self) -> int:
        return len(self._all())

    def __getitem__(self, place: Any) -> Any:
        return self._all()[place]

    def of(self, operation: Any) -> list[Call]:
        """Those of an operation: ``sim.calls.of(ciapi.general.enter_menu)``."""
        name = operation_name(operation)
        return [call for call in self._all() if name in (call.name, call.operation)]

    def wait_for(self, operation: Any, count: int = 1, timeout: float = 5.0) -> list[Call]:
        """Waits until an operation has been called so often, the calls before included. Raises TimeoutError."""
        deadline = time.monotonic() + timeout
        while len(calls := self.of(operation)) < count:
            if time.monotonic() >= deadline:
                name = operation_name(operation)
                raise TimeoutError(f"{name} came {len(calls)} times within {timeout} s, not {count}")
            time.sleep(INTERVAL)
        return calls

    def clear(self) -> None:
        self._sim.ask("ClearJournal")


class Story:
    """A story that is being played. At the end of a ``with`` block it has to come to its end and to be met."""

    def __init__(self, sim: Simulator, name: str) -> None:
        self._sim = sim
        self.name = name

    @property
    def is_over(self) -> bool:
        return self._sim._has_ended()

    def finish(self, timeout: float = 30.0) -> None:
        """Waits until the story is over. Raises StoryError, with the simulator's words, when it was not met."""
        __tracebackhide__ = True
        deadline = time.monotonic() + timeout
        while not self._sim._has_ended() and time.monotonic() < deadline:
            time.sleep(INTERVAL)
        status = self._sim._end()
        if status == EXIT_UNMET:
            raise StoryError(self._sim._take_words().strip())
        if status != 0:
            words = f"{self.name} does not come to its end (status {status})\n{self._sim._take_words()}"
            raise StoryError(words.strip())

    def __enter__(self) -> Story:
        return self

    def __exit__(self, kind: object, *_: object) -> None:
        if self._sim._owner != os.getpid():  # a forked child has nothing to end
            return
        try:
            if kind is None:
                self.finish()
        finally:
            if self._sim._is_open:
                self._sim._restart()


class Simulator(Controls):
    """A running simulator. Beside what stands here it has a method for each of the simulator's controls:
    ``remove_cam(0)``, ``open_menu(0)``, ... (``help(ciapi.sim.Simulator)``).
    """

    def __init__(
        self, options: list[str], play: list[str], keys: Mapping[str, str], warm_up: int, program: str
    ) -> None:
        self._options = options
        self._play = play
        self._keys = dict(keys)
        self._warm_up = warm_up
        self._program = program
        self._process: Optional[subprocess.Popen[bytes]] = None
        self._status: Optional[int] = None
        self._words: Any = None
        self._is_open = False
        self._owner = os.getpid()
        self.story: Optional[Story] = None

    def __enter__(self) -> Simulator:
        global _running
        if _running is not None:
            raise RuntimeError("there is a simulator already: one at a time")
        _set_up_bus(self._keys)
        _running = self
        self._is_open = True
        try:
            self._restart()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, kind: object, *_: object) -> None:
        if self._owner != os.getpid():
            return
        try:
            if kind is None and self.story is not None:
                self.story.finish()
        finally:
            self.close()

    def close(self) -> None:
        """Ends the simulator, and the subscriptions of the process."""
        global _running
        if self._is_open and self._owner == os.getpid():  # a forked child has nothing to end
            self._is_open = False
            try:
                _signals.close_all()
            finally:
                self._end()
                sys.stderr.write(self._take_words())
                _running = None

    def _restart(self) -> None:
        if self._play:
            self._start(["play", *self._play])
            self.story = Story(self, self._play[0])
        else:
            self._start(["serve", *self._options])
            if self._warm_up > 0:
                self.ask("AdvanceClock", self._warm_up)

    def _start(self, arguments: list[str]) -> None:
        self._end()
        sys.stderr.write(self._take_words())
        self._status = None
        self._words = tempfile.TemporaryFile()
        _marker().unlink(missing_ok=True)
        # An interrupt from the terminal is for the application; the simulator follows when the bus goes.
        self._process = subprocess.Popen(
            [self._program, *arguments], stdin=subprocess.DEVNULL, stderr=self._words, start_new_session=True
        )
        self._wait_for_marker(START_TIMEOUT)

    def _wait_for_marker(self, timeout: float, before: tuple[int, int] = (0, 0)) -> None:
        """Waits until the daemon has said that it is ready: anew, when it had said so before."""
        deadline = time.monotonic() + timeout
        while True:
            with contextlib.suppress(FileNotFoundError):
                if _stamp() != before:
                    return
            if self._has_ended() or time.monotonic() >= deadline:
                self._end()
                words = self._take_words().strip() or f"status {self._status}, without a word"
                raise RuntimeError(f"the simulator does not start: {words}")
            time.sleep(INTERVAL)

    def _has_ended(self) -> bool:
        return self._process is None or self._process.poll() is not None

    def _end(self) -> int:
        """Ends the process, if there is one. Gives its exit status, also later."""
        if self._process is not None:
            if self._process.poll() is None:
                self._process.terminate()
                try:
                    self._process.wait(STOP_TIMEOUT)
                except subprocess.TimeoutExpired:
                    self._process.kill()
            self._status = self._process.wait()
            self._process = None
        return self._status or 0

    def _take_words(self) -> str:
        """What the simulator has said on standard error."""
        if self._words is None:
            return ""
        self._words.seek(0)
        words: str = self._words.read().decode(errors="replace")
        self._words.close()
        self._words = None
        return words

    def ask(self, verb: str, *arguments: Any) -> str:
        """Any verb of ``ci-daemon-sim ctl``. Raises ValueError, with the reason, when it is refused."""
        words = [_word(each) for each in arguments]
        if any(not _can_be_sent(word) for word in words):
            raise ValueError(f"{verb}: a text with characters that cannot be sent")
        return _ciapi.ask(verb, words)

    def play(
        self, scenario: Union[str, os.PathLike[str]], *, step_timeout: float = 10.0, seed: Optional[int] = None
    ) -> Story:
        """Plays a story in place of the set; afterwards the set is there again, as it was at the beginning.

            with sim.play("menu-walk"):
                application.run()
        """
        try:
            self._start(["play", *_play_arguments(scenario, step_timeout, seed)])
        except RuntimeError:
            self._restart()
            raise
        return Story(self, os.fspath(scenario))

    def advance(self, **duration: float) -> datetime.timedelta:
        """Moves the virtual clock on: ``advance(minutes=90)``, as for a timedelta. Gives its new time."""
        ms = round(datetime.timedelta(**duration) / datetime.timedelta(milliseconds=1))
        return datetime.timedelta(milliseconds=int(self.ask("AdvanceClock", ms)))

    def restart(self, **duration: float) -> None:
        """Lets the daemon leave the bus and come back, after so long: ``restart(seconds=3)``. Waits for it.

        One that was killed is started anew, at once.
        """
        if self._has_ended():
            self._restart()
            return
        away = datetime.timedelta(**duration)
        before = _stamp()
        self.ask("Restart", round(away / datetime.timedelta(milliseconds=1)))
        self._wait_for_marker(away.total_seconds() + START_TIMEOUT, before)

    def kill(self) -> None:
        """Ends the daemon as a crash would."""
        if self._process is not None:
            self._process.kill()
            self._end()
            _marker().unlink(missing_ok=True)

    @property
    def faults(self) -> Faults:
        return Faults(self)

    @property
    def calls(self) -> Calls:
        return Calls(self)

    @property
    def state(self) -> dict[str, Any]:
        """All that can be known about the set."""
        state: dict[str, Any] = json.loads(self.ask("State"))
        return state

    @property
    def cams(self) -> list[dict[str, Any]]:
        """The CAMs that there are, and where they are."""
        cams: list[dict[str, Any]] = json.loads(self.ask("ListCams"))
        return cams

    @property
    def bus_address(self) -> str:
        return _environment["DBUS_SYSTEM_BUS_ADDRESS"]


def _play_arguments(scenario: Any, step_timeout: float, seed: Optional[int]) -> list[str]:
    given = [os.fspath(scenario), "--end", "--step-timeout", str(step_timeout)]
    return given + (["--seed", str(seed)] if seed is not None else [])


def run(
    *,
    insert: Optional[Mapping[int, Optional[str]]] = None,
    seed: int = 1,
    manual_clock: bool = False,
    warm_up: int = 2000,
    story: Union[str, os.PathLike[str], None] = None,
    step_timeout: float = 10.0,
    keys: Optional[Mapping[str, str]] = None,
    program: Optional[str] = None,
) -> Simulator:
    """A simulator for a ``with`` block.

    insert        which CAM is in a slot, None for none; without it "plus" is in slot 0
    seed          of everything random
    manual_clock  the virtual clock stands still but for ``advance``
    warm_up       virtual milliseconds that the CAMs have had when the block begins; 0: they are just being put in
    story         plays this one, by name or as a file; it has to be over and met at the end of the block
    keys          feature keys of the set that differ; they are read once in a process
    program       the simulator, when it is not the ``ci-daemon-sim`` of PATH
    """
    if story is not None and insert:
        raise ValueError("a story brings its own set: give one of both")
    options = ["--seed", str(seed)] + (["--manual-clock"] if manual_clock else [])
    for slot, cam in (insert or {}).items():
        options += ["--insert", f"{slot}={cam or ''}"]
    play = _play_arguments(story, step_timeout, seed if seed != 1 else None) if story is not None else []
    found = program or shutil.which("ci-daemon-sim")
    if found is None:
        raise FileNotFoundError("there is no ci-daemon-sim in PATH (package ciapi-tools)")
    return Simulator(options, play, keys or {}, warm_up, found)


def _end_process() -> None:
    _signals.end()  # first: callbacks are not to be told that the daemon goes
    if _running is not None:
        _running.close()
    _ciapi.end_bus()


atexit.register(_end_process)
