"""The simulated set: its controls, its stories, one after the other."""

import datetime
import json
import os

import pytest

import ciapi
from ciapi import ECamStatus, sim

READY, NO_CAM = ECamStatus.CAM_STATUS_READY, ECamStatus.CAM_STATUS_NO_CAM


def test_one_after_the_other_in_a_process():
    for insert, expected in [({}, {0: READY, 1: NO_CAM}), ({0: None, 1: "plain"}, {0: NO_CAM, 1: READY})] * 3:
        with sim.run(insert=insert) as simulator:
            assert ciapi.general.get_ci_slot_status(0) == expected
            assert len(simulator.calls) == 1
            slot = 1 if insert else 0
            with ciapi.Signals(ciapi.ECISignalType.SIGNAL_CI_CAM_READY_STATUS_CHANGED, handle=slot) as signals:
                simulator.remove_cam(slot)
                assert signals.get(timeout=20).code == NO_CAM


def test_one_at_a_time(ci_sim):
    with pytest.raises(RuntimeError, match="one at a time"):
        sim.run().__enter__()
    assert ciapi.general.get_cam_modes()


def test_what_is_wrong_is_said():
    with pytest.raises(RuntimeError, match="there is no CAM nix; .*plus.*"):
        with sim.run(insert={0: "nix"}):
            pass
    with sim.run() as simulator:
        with pytest.raises(ValueError, match="there is no CAM"):
            simulator.insert_cam(1, "nix")
        with pytest.raises(TypeError):
            simulator.insert_cam(1)
        with pytest.raises(ValueError, match="cannot be sent") as caught:
            simulator.ask("Control", "AnswerPin", "7351\ud800")
        assert "7351" not in str(caught.value)
        with pytest.raises(ValueError, match="handle"):
            ciapi.Signals(ciapi.ECISignalType.SIGNAL_CI_CAM_READY_STATUS_CHANGED, handle=-1)
        with pytest.raises(TypeError, match="callback"):
            ciapi.Signals(ciapi.ECISignalType.SIGNAL_CI_CAM_READY_STATUS_CHANGED, callback=5)
        with pytest.raises(ValueError, match="366 days"):
            simulator.advance(days=400)
        for verb in ("NoSuchVerb", "no such verb"):
            with pytest.raises(ValueError, match=verb):
                simulator.ask(verb)
    with pytest.raises(RuntimeError, match="no simulator answers"):
        simulator.ask("State")


def test_the_controls_are_those_of_the_simulator(ci_sim):
    for control in json.loads(ci_sim.ask("ListControls")):
        method = getattr(ci_sim, sim._snake(control["verb"]))
        taken = method.__code__.co_varnames[1 : method.__code__.co_argcount]
        assert list(taken) == [sim._snake(each["name"]) for each in control["parameters"]], control["verb"]


@pytest.mark.ci_sim(manual_clock=True)
def test_the_clock(ci_sim):
    begin = ci_sim.advance()
    assert ci_sim.advance(minutes=90, milliseconds=1) - begin == datetime.timedelta(minutes=90, milliseconds=1)


@pytest.mark.ci_sim(warm_up=0, manual_clock=True)
def test_cams_need_their_time(ci_sim):
    assert ciapi.general.get_ci_slot_status(0)[0] == NO_CAM
    ci_sim.advance(seconds=2)
    assert ciapi.general.get_ci_slot_status(0)[0] == READY


def test_faults(ci_sim):
    fault = ci_sim.faults.add("error", operation=ciapi.general.get_cam_modes, times=1)
    with pytest.raises(ciapi.CallError):
        ciapi.general.get_cam_modes()
    assert ciapi.general.get_cam_modes()
    fault.remove()
    fault.remove()
    with ci_sim.faults.add("error", operation="*"):
        assert [each["operation"] for each in ci_sim.faults] == ["*"]
    ci_sim.faults.add("error", operation="*")
    ci_sim.faults.clear()
    assert len(ci_sim.faults) == 0


def test_a_story_that_is_met_and_the_set_behind_it(ci_sim):
    with ci_sim.play("menu-walk"):
        _walk()
    assert ciapi.general.get_ci_slot_status(0)[0] == READY


def test_a_story_that_is_not_met():
    with sim.run() as simulator:
        with pytest.raises(sim.StoryError, match="waits for EnterMenu"):
            with simulator.play("menu-walk", step_timeout=0.2):
                pass
        assert ciapi.general.get_ci_slot_status(0)[0] == READY
    with pytest.raises(sim.StoryError, match="waits for EnterMenu"):
        with sim.run(story="menu-walk", step_timeout=0.2):
            pass


def test_what_fails_or_is_killed_leaves_a_set(ci_sim):
    with pytest.raises(RuntimeError, match="nope"):
        ci_sim.play("nope")
    assert ciapi.general.get_cam_modes()
    ci_sim.kill()
    ci_sim.restart()
    assert ciapi.general.get_cam_modes()


def test_an_exception_in_the_block_is_what_comes_out():
    with pytest.raises(KeyboardInterrupt):
        with sim.run(story="menu-walk"):
            raise KeyboardInterrupt
    assert sim._running is None


def test_other_feature_keys_need_another_process(ci_sim):
    ci_sim.close()
    ciapi.general.is_ci_supported()
    with pytest.raises(RuntimeError, match="another process"):
        sim.run(keys={"product.num_of_ci": "0"}).__enter__()
    with sim.run():
        assert os.path.exists(os.environ["CIAPI_DAEMON_READY_FILE"])


def _walk():
    with ciapi.Signals(ciapi.ECISignalType.SIGNAL_CI_MMI_STATUS_CHANGED) as signals:
        ciapi.general.enter_menu(0)
        assert signals.get(timeout=20).code == ciapi.ECiMmiStatus.CI_MMI_STATUS_MENU_RECEIVED
        ciapi.general.get_mmi_menu(0)
        ciapi.general.close_mmi(0, False)
