"""The pytest plugin, as tests of its own see it."""

import os
import subprocess
import sys

TESTS = '''
import os
import time
import pytest
import ciapi

@pytest.mark.ci_sim(insert={0: None, 1: "plain"}, seed=3)
class TestMarkers:
    def test_of_the_class(self, ci_sim):
        assert ciapi.general.get_cam_modes() == {1: ciapi.ECamMode.CAM_MODE_CI}

    @pytest.mark.ci_sim(insert={0: "plus"})
    def test_of_the_function_comes_first(self, ci_sim):
        assert ciapi.general.get_cam_modes() == {0: ciapi.ECamMode.CAM_MODE_CI_PLUS}

@pytest.mark.ci_story("menu-walk", step_timeout=0.2)
def test_story_that_is_not_met():
    ciapi.general.get_cam_modes()

@pytest.mark.ci_story("menu-walk")
def test_story_and_a_mistake_of_its_own():
    assert ciapi.general.get_cam_modes() == {}

def refuse(*_):
    raise ValueError("refused")

@pytest.mark.parametrize("answer", [refuse, lambda *_: time.sleep(60)])
def test_simulator_that_tells_no_calls(ci_sim, answer):
    ci_sim.ask = answer
    raise LookupError("mine")

def test_pin_stands_in_no_report(ci_sim):
    ci_sim.remove_cam(0)
    ciapi.general.verify_cam_pin(0, open(os.environ["PIN_FILE"], "rb").read())

def test_without_a_simulator():
    assert "ci_sim" not in globals()

@pytest.mark.parametrize("number", range(8))
def test_side_by_side(ci_sim, number):
    for _ in range(20):
        ciapi.general.get_cam_modes()
    assert len(ci_sim.calls) == 20
    with open(os.environ["BUSES"], "a") as buses:
        print(ci_sim.bus_address, file=buses)
'''


def run(folder, *options):
    (folder / "test_it.py").write_text(TESTS)
    (folder / "pin").write_text("73519")
    return subprocess.run(
        [sys.executable, "-m", "pytest", "-p", "no:cacheprovider", "--strict-markers", "--rootdir", folder]
        + ["--basetemp", folder / "tmp", *options],
        cwd=folder,
        env={**os.environ, "BUSES": str(folder / "buses"), "PIN_FILE": str(folder / "pin")},
        capture_output=True,
        text=True,
        timeout=100,
    ).stdout


def test_markers_and_what_a_failure_shows(tmp_path):
    said = run(tmp_path)
    assert "5 failed, 11 passed" in said
    assert said.count("E       LookupError: mine") == 2
    assert "StoryError: " in said and "waits for EnterMenu with slot 0; that did not come within 200 ms" in said
    assert "calls of the CI daemon" in said and "ICIGeneral.GetCamModes {}" in said
    assert "ERROR" not in said
    assert "test_pin_stands_in_no_report" in said and "73519" not in said
    assert len(set((tmp_path / "buses").read_text().split())) == 1


def test_each_worker_of_xdist_has_its_bus(tmp_path):
    said = run(tmp_path, "-n2", "-k", "side_by_side")
    assert "8 passed" in said
    assert len(set((tmp_path / "buses").read_text().split())) == 2
