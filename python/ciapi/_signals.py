"""Signals: as callbacks, and one after the other with a time limit."""

from __future__ import annotations

import collections
import dataclasses
import os
import sys
import threading
import time
import traceback
from typing import Any, Callable, Deque, Iterator, Optional

from ciapi import _ciapi
from ciapi._interfaces import check

MOST_WAITING = 100_000

_Key = tuple[int, int, int]  # type, profile, handle


@dataclasses.dataclass(frozen=True)
class Signal:
    """A signal of the daemon, and what its eight bytes say.

    ``slot`` is None where no slot is concerned. ``code`` and what ``meaning`` has by name are enumerators where they
    have a name; ``words`` is all of it for people.
    """

    type: Any
    profile: Any
    handle: int
    data: bytes = dataclasses.field(repr=False)
    slot: Optional[int]
    code: Any
    id: int = dataclasses.field(repr=False)
    value: int = dataclasses.field(repr=False)
    meaning: dict[str, Any] = dataclasses.field(hash=False)
    words: str = dataclasses.field(repr=False)

    def __str__(self) -> str:
        return f"{self.type} {self.words}"


def _made(type: int, profile: int, handle: int, data: bytes) -> Signal:
    described = _ciapi.describe_signal(type, profile, handle, data)
    return Signal(_ciapi.ECISignalType(type), _ciapi.EProfile(profile), handle, data, *described)


class _Switchboard:
    """Knows who has subscribed what. The library has one subscription for each type, profile and handle."""

    def __init__(self) -> None:
        self._change = threading.RLock()  # held while the daemon is told
        self._table = threading.Lock()  # held for a few lines
        self._receivers: dict[_Key, list[Signals]] = {}
        self._thread: Optional[threading.Thread] = None
        self.runs_loop = True
        self.has_ended = False

    def add(self, key: _Key, receiver: Signals) -> None:
        with self._change:
            self._start()
            with self._table:
                receivers = self._receivers.setdefault(key, [])
                receivers.append(receiver)
            if len(receivers) > 1:
                return
            result, became = _ciapi.subscribe(*key)
            try:
                check("ICISignalSubscriber.Subscribe", became)
                if result == 0:
                    raise RuntimeError(f"the daemon refuses {_ciapi.ECISignalType(key[0])}")
            except Exception:
                self.remove(key, receiver)
                raise

    def remove(self, key: _Key, receiver: Signals) -> None:
        with self._change:
            with self._table:
                receivers = self._receivers.get(key, [])
                if receiver not in receivers:
                    return
                receivers.remove(receiver)
                is_last = not receivers
                if is_last:
                    del self._receivers[key]
            if is_last:
                _ciapi.unsubscribe(*key)  # whatever becomes of it: the subscription is gone here

    def close_all(self) -> None:
        with self._table:
            receivers = {id(each): each for several in self._receivers.values() for each in several}
        for receiver in receivers.values():
            receiver.close()

    def _start(self) -> None:
        if self.runs_loop:
            _ciapi.start_loop()
        if self._thread is None:
            self._thread = threading.Thread(target=self._deliver, name="ciapi-signals", daemon=True)
            self._thread.start()

    def _deliver(self) -> None:
        while (parts := _ciapi.next_signal()) is not None:
            with self._table:
                receivers = list(self._receivers.get(parts[:3], ()))
            if receivers:
                signal = _made(*parts)
                for receiver in receivers:
                    receiver._take(signal)

    def end(self) -> None:
        if self._thread is None:
            return
        self.has_ended = True
        _ciapi.end_signals()
        if self._thread is not threading.current_thread():
            self._thread.join(1.0)  # a callback that takes longer is left where it is
        if self.runs_loop:
            _ciapi.stop_loop()


_switchboard = _Switchboard()


def _forget() -> None:
    """In a forked child: the threads are its parent's, and locks that they held stay held."""
    global _switchboard
    _switchboard = _Switchboard()


os.register_at_fork(after_in_child=_forget)


def application_runs_loop() -> None:
    """Says that the application runs GLib's default main context itself: no thread is started for it.

    Without it no signal comes. To be called before the first subscription.
    """
    if _switchboard._thread is not None:
        raise RuntimeError("there are subscriptions already")
    _switchboard.runs_loop = False


class Signals:
    """Subscriptions to some types of signals, until ``close`` or the end of a ``with`` block.

    With a callback, each signal is handed to it, on a thread of the package's own, one at a time; without, they wait
    here to be taken, by ``get``, ``within`` or a ``for`` loop; ``dropped`` counts those beyond 100,000. What concerns a
    slot is raised for the profile MAIN and the slot as handle, what concerns a pipeline for that pipeline's.
    """

    def __init__(
        self,
        *types: Any,
        profile: Any = None,
        handle: int = 0,
        callback: Optional[Callable[[Signal], object]] = None,
    ) -> None:
        if not types:
            raise TypeError("Signals needs a type of signal at least")
        if callback is not None and not callable(callback):
            raise TypeError("callback: a function is needed")
        self._callback = callback
        self._signals: Deque[Signal] = collections.deque()
        self._changed = threading.Condition()
        self.dropped = 0
        self._is_closed = False
        if not 0 <= handle <= 0xFFFF:
            raise ValueError("handle: a number from 0 to 65535 is needed")
        profile = _ciapi.EProfile.PROFILE_MAIN if profile is None else _ciapi.EProfile(profile)
        self._keys = list(dict.fromkeys((int(_ciapi.ECISignalType(each)), int(profile), handle) for each in types))
        try:
            for key in self._keys:
                _switchboard.add(key, self)
        except BaseException:
            self.close()
            raise

    def close(self) -> None:
        """Ends the subscriptions. No callback begins after this; one that is running is not waited for."""
        with self._changed:
            self._is_closed = True
            self._changed.notify_all()
        for key in self._keys:
            _switchboard.remove(key, self)

    def __enter__(self) -> Signals:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def _take(self, signal: Signal) -> None:
        with self._changed:
            if self._is_closed:
                return
            if self._callback is None:
                if len(self._signals) >= MOST_WAITING:
                    self.dropped += 1
                    return
                self._signals.append(signal)
                self._changed.notify_all()
                return
        try:
            self._callback(signal)
        except BaseException:  # sys.exit() too: it would end everybody's signals
            if _switchboard.has_ended:  # the program is ending, and took away what the callback uses
                return
            print(f"ciapi: the callback for {signal} has failed:", file=sys.stderr)
            traceback.print_exc()

    def _next(self, timeout: Optional[float]) -> Optional[Signal]:
        """The next signal; None when the time is over or the subscriptions have ended."""
        if self._callback is not None:
            raise RuntimeError("these signals go to a callback")
        with self._changed:
            self._changed.wait_for(lambda: self._signals or self._is_closed, timeout)
            return self._signals.popleft() if self._signals else None

    def get(self, timeout: Optional[float] = None) -> Signal:
        """The next signal. Waits for so many seconds, or without end. Raises TimeoutError when there is none."""
        signal = self._next(timeout)
        if signal is None:
            if self._is_closed:
                raise RuntimeError("these subscriptions have ended")
            names = ", ".join(str(_ciapi.ECISignalType(key[0])) for key in self._keys)
            raise TimeoutError(f"no {names} within {timeout} s")
        return signal

    def within(self, seconds: float) -> Iterator[Signal]:
        """The signals that are there or come before so many seconds are over."""
        deadline = time.monotonic() + seconds
        while (signal := self._next(max(0.0, deadline - time.monotonic()))) is not None:
            yield signal

    def __iter__(self) -> Iterator[Signal]:
        """The signals as they come, until somebody closes the subscriptions."""
        while (signal := self._next(None)) is not None:
            yield signal


def close_all() -> None:
    """Ends all subscriptions of the process."""
    _switchboard.close_all()


def end() -> None:
    """For the end of the process: no callback begins any more, and the threads end."""
    _switchboard.end()
