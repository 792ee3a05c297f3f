"""For pytest: a simulated set as a fixture, which markers describe.

    @pytest.mark.ci_sim(insert={0: "plain"}, seed=7)
    def test_banner(ci_sim): ...

    @pytest.mark.ci_story("menu-walk")
    def test_menu(): ...

Under pytest-xdist each worker has a bus of its own.
"""

from __future__ import annotations

import contextlib
import functools
import threading
from typing import Any, Iterator, Optional

import pytest

import ciapi.sim

_SHOWN_CALLS = 20
_CALLS_TIMEOUT = 5.0
_SIMULATOR = pytest.StashKey[ciapi.sim.Simulator]()


def pytest_configure(config: pytest.Config) -> None:
    config.addinivalue_line("markers", "ci_sim(**options): a simulated set, with the options of ciapi.sim.run")
    config.addinivalue_line("markers", "ci_story(name, **options): a story that has to be over and met with the test")


def pytest_itemcollected(item: pytest.Item) -> None:
    names = getattr(item, "fixturenames", None)
    if names is not None and "ci_sim" not in names and any(item.iter_markers("ci_story")):
        names.append("ci_sim")


@pytest.fixture
def ci_sim(request: pytest.FixtureRequest) -> Iterator[ciapi.sim.Simulator]:
    """A simulated set, running: see ciapi.sim.Simulator. Markers ci_sim and ci_story say which."""
    item: Any = request.node
    options: dict[str, Any] = {}
    for marker in reversed([*item.iter_markers("ci_story"), *item.iter_markers("ci_sim")]):
        options.update(marker.kwargs)
    story = item.get_closest_marker("ci_story")
    if story is not None:
        options["story"] = story.args[0]
    simulator = ciapi.sim.run(**options)
    simulator.__enter__()
    try:
        item.stash[_SIMULATOR] = simulator
        if simulator.story is not None:
            item.obj = _telling(item.obj, simulator.story)
        yield simulator
    finally:
        del item.stash[_SIMULATOR]
        simulator.close()


def _telling(test: Any, story: ciapi.sim.Story) -> Any:
    """A test that fails, too, when its story is not met."""

    @functools.wraps(test)
    def told(*args: Any, **kwargs: Any) -> None:
        __tracebackhide__ = True
        test(*args, **kwargs)
        story.finish()

    return told


def _last_calls(simulator: ciapi.sim.Simulator) -> Optional[list[ciapi.sim.Call]]:
    """None when the simulator is away, refuses to tell, or hangs: then the bus would wait far longer for it."""
    told: list[list[ciapi.sim.Call]] = []

    def ask() -> None:
        with contextlib.suppress(RuntimeError, ValueError):
            told.append(simulator.calls[-_SHOWN_CALLS:])

    asking = threading.Thread(target=ask, daemon=True)
    asking.start()
    asking.join(_CALLS_TIMEOUT)
    return told[0] if told else None


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_makereport(item: pytest.Item) -> Iterator[None]:
    outcome: Any = yield
    report = outcome.get_result()
    simulator = item.stash.get(_SIMULATOR, None)
    if report.when == "call" and report.failed and simulator is not None:
        calls = _last_calls(simulator)
        if calls is not None:
            lines = [f"{each.name} {each.arguments}" for each in calls]
            report.sections.append(("calls of the CI daemon", "\n".join(lines)))
