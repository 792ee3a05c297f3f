"""Signals as callbacks and one after the other."""

import threading

import pytest

import ciapi
from ciapi import ECamStatus, ECISignalType, Signals

READY = ECISignalType.SIGNAL_CI_CAM_READY_STATUS_CHANGED
MMI = ECISignalType.SIGNAL_CI_MMI_STATUS_CHANGED


def test_signals_come_in_order_and_say_what_they_mean(ci_sim):
    with Signals(MMI, READY) as signals:
        ci_sim.open_menu(0)
        menu = signals.get(timeout=20)
        assert (menu.type, menu.slot, menu.code) == (MMI, 0, ciapi.ECiMmiStatus.CI_MMI_STATUS_MENU_RECEIVED)
        assert menu.meaning == {"entries": 4}
        assert str(menu) == "SIGNAL_CI_MMI_STATUS_CHANGED slot 0: CI_MMI_STATUS_MENU_RECEIVED, 4 entries"
        ci_sim.remove_cam(0)
        assert signals.get(timeout=20).code == ciapi.ECiMmiStatus.CI_MMI_STATUS_SESSION_CLOSED
        gone = signals.get(timeout=20)
        assert (gone.type, gone.code) == (READY, ECamStatus.CAM_STATUS_NO_CAM)
        assert gone.data == bytes(8)


def test_no_signal_in_time(ci_sim):
    with Signals(READY) as signals:
        with pytest.raises(TimeoutError, match="SIGNAL_CI_CAM_READY_STATUS_CHANGED within 0.01 s"):
            signals.get(timeout=0.01)
        assert list(signals.within(0.01)) == []
        ci_sim.remove_cam(0)
        assert [each.code for each in signals.within(20) if not signals.close()] == [ECamStatus.CAM_STATUS_NO_CAM]


@pytest.mark.ci_sim(insert={0: "plus", 1: "plain"})
def test_only_what_was_subscribed_comes(ci_sim):
    with Signals(READY, handle=1) as signals:
        ci_sim.remove_cam(0)
        ci_sim.remove_cam(1)
        assert signals.get(timeout=20).slot == 1


def test_what_a_slot_does_not_have(ci_sim):
    unknown = ECISignalType.SIGNAL_CI_SHOW_DEBUG_MESSAGE
    with Signals(unknown) as signals:
        ci_sim.raise_signal(unknown, ciapi.EProfile.PROFILE_MAIN, 0, slot=255, code=200)
        signal = signals.get(timeout=20)
    assert (signal.slot, signal.code, signal.meaning) == (None, 200, {})


def test_callbacks_and_two_subscribers_of_the_same(ci_sim):
    heard = []
    done = threading.Event()

    def hear(signal):
        heard.append((signal.code, threading.current_thread() is threading.main_thread()))
        done.set()

    with Signals(READY, callback=hear), Signals(READY) as second:
        ci_sim.remove_cam(0)
        assert done.wait(20)
        assert second.get(timeout=20).code == ECamStatus.CAM_STATUS_NO_CAM
    assert heard == [(ECamStatus.CAM_STATUS_NO_CAM, False)]
    assert [call.operation for call in ci_sim.calls] == ["Subscribe", "Unsubscribe"]


def test_a_callback_may_do_anything(ci_sim):
    results = []
    done = threading.Event()

    def hear(signal):
        with Signals(MMI):
            results.append((signal.code, ciapi.general.get_ci_slot_status(0)[0]))
        outer.close()
        done.set()

    outer = Signals(READY, callback=hear)
    with Signals(READY) as witness:
        ci_sim.remove_cam(0)
        assert done.wait(20)
        ci_sim.insert_cam(0, "plus")
        ci_sim.advance(seconds=3)
        codes = [witness.get(timeout=20).code for _ in range(2)]
    assert codes == [ECamStatus.CAM_STATUS_NO_CAM, ECamStatus.CAM_STATUS_READY]
    assert results == [(ECamStatus.CAM_STATUS_NO_CAM, ECamStatus.CAM_STATUS_NO_CAM)]


@pytest.mark.parametrize("failure", [LookupError, SystemExit])
def test_a_callback_that_fails_is_told_and_the_next_signal_comes(ci_sim, capsys, failure):
    done = threading.Event()

    def hear(signal):
        if signal.code == ECamStatus.CAM_STATUS_NO_CAM:
            raise failure("first")
        done.set()

    with Signals(READY, callback=hear):
        ci_sim.remove_cam(0)
        ci_sim.insert_cam(0, "plus")
        ci_sim.advance(seconds=3)
        assert done.wait(20)
    assert f"{failure.__name__}: first" in capsys.readouterr().err


def test_threads_subscribe_while_signals_come(ci_sim):
    failures = []

    def change():
        try:
            for _ in range(30):
                with Signals(READY, MMI):
                    pass
        except Exception as error:  # told below
            failures.append(error)

    threads = [threading.Thread(target=change) for _ in range(4)]
    for thread in threads:
        thread.start()
    for _ in range(30):
        ci_sim.raise_signal(READY, ciapi.EProfile.PROFILE_MAIN, 0)
    for thread in threads:
        thread.join(30)
    assert failures == [] and not any(thread.is_alive() for thread in threads)


def test_subscriptions_live_on_when_the_daemon_restarts(ci_sim):
    with Signals(READY) as signals:
        ci_sim.restart()
        ci_sim.advance(seconds=5)
        assert signals.get(timeout=20).code == ECamStatus.CAM_STATUS_READY


def test_without_a_daemon_subscribing_fails(ci_sim):
    ci_sim.kill()
    with pytest.raises(ciapi.CallError) as caught:
        Signals(READY)
    assert caught.value.outcome == ciapi.CallOutcome.ERROR_REPLY
