"""Calls: what goes out, what comes back, and what a failure is."""

import threading

import pytest

import ciapi
from ciapi import CallOutcome, ECamMode, ECamStatus, ECIApplicationType, EMmiAnswerId


def test_outputs_are_returned(ci_sim):
    assert ciapi.general.get_ci_slot_status(0) == {0: ECamStatus.CAM_STATUS_READY, 1: ECamStatus.CAM_STATUS_NO_CAM}
    info = ciapi.general.get_application_info(slot=0)
    assert info == (ECIApplicationType.CI_APPLICATION_TYPE_CA, "Kelvora CAM", "Kelvora")
    assert info.first_text == "Kelvora CAM"
    assert ciapi.general.get_ca_system_ids() == {0: [0x0B00, 0x0B01]}
    assert ciapi.general.enter_menu(0) == 1


def test_questions_answer_no_without_an_exception(ci_sim):
    assert ciapi.general.is_ci_supported() is True
    assert ciapi.general.is_cam_pin_needed() is False
    assert ciapi.sample_decryption.is_drm_supported_system_id(0x1234) is False


@pytest.mark.ci_sim(insert={0: None})
def test_a_refusal_is_an_exception(ci_sim):
    with pytest.raises(ciapi.RefusedError, match="ICIGeneral.GetMmiMenu") as caught:
        ciapi.general.get_mmi_menu(0)
    assert (caught.value.outcome, caught.value.result) == (CallOutcome.ANSWERED, 0)


@pytest.mark.parametrize(
    "fault, outcome, name",
    [
        ({"kind": "error", "name": "org.example.No", "text": "no"}, CallOutcome.ERROR_REPLY, "org.example.No"),
        ({"kind": "status", "status": 0}, CallOutcome.REFUSED, ""),
        ({"kind": "no-arguments"}, CallOutcome.NOT_READABLE, ""),
    ],
)
def test_a_failure_has_its_outcome(ci_sim, fault, outcome, name):
    with ci_sim.faults.add(operation=ciapi.general.get_cam_modes, **fault):
        with pytest.raises(ciapi.CallError) as caught:
            ciapi.general.get_cam_modes()
    assert (caught.value.outcome, caught.value.error_name) == (outcome, name)
    assert caught.value.operation == "ICIGeneral.GetCamModes"
    assert ciapi.general.get_cam_modes() == {0: ECamMode.CAM_MODE_CI_PLUS}


def test_a_daemon_that_is_gone(ci_sim):
    ciapi.general.get_cam_modes()
    ci_sim.kill()
    with pytest.raises(ciapi.CallError) as caught:
        ciapi.general.get_cam_modes()
    assert caught.value.outcome == CallOutcome.ERROR_REPLY
    assert "ServiceUnknown" in caught.value.error_name


def test_values_arrive_as_they_were_given(ci_sim):
    handle = ciapi.TVSHandle(ciapi.EProfile.PROFILE_SUB, 3)
    ciapi.general.send_ca_pmt(0, handle, (1, 0xFFFF), ciapi.ECaPmtCmd.ECAPMTCMD_QUERY)
    ciapi.general.disable_descrambling([handle])
    ciapi.general.connect_to_sas_application(2**64 - 1)
    sent = [call.arguments for call in ci_sim.calls]
    assert sent == [
        {
            "slot": 0,
            "handle": {"profile": "PROFILE_SUB", "handle": 3},
            "values": [1, 0xFFFF],
            "command": "ECAPMTCMD_QUERY",
        },
        {"handles": [{"profile": "PROFILE_SUB", "handle": 3}]},
        {"applicationId": 2**64 - 1},
    ]


@pytest.mark.parametrize("text", ["Grüße", "\U0001f4fa", "a\0b", "\ud83d", ""])
def test_texts_survive(ci_sim, text):
    ci_sim.show_page(0, {"kind": "list", "title": {"codeUnits": _units(text)}})
    assert ciapi.general.get_mmi_list(0).title == text


def _units(text):
    data = text.encode("utf-16-le", "surrogatepass")
    return [int.from_bytes(data[i : i + 2], "little") for i in range(0, len(data), 2)]


@pytest.mark.parametrize(
    "call, error, words",
    [
        (lambda: ciapi.general.enter_menu(256), OverflowError, "slot: a number from 0 to 255"),
        (lambda: ciapi.general.enter_menu(-1), OverflowError, "slot"),
        (lambda: ciapi.general.enter_menu(2**70), OverflowError, "slot"),
        (lambda: ciapi.general.enter_menu("0"), TypeError, "slot: an int is needed, not str"),
        (lambda: ciapi.general.enter_menu(0.0), TypeError, "slot"),
        (lambda: ciapi.general.enter_menu(None), TypeError, "slot"),
        (lambda: ciapi.general.enter_menu(), TypeError, "slot"),
        (lambda: ciapi.general.enter_menu(0, True), TypeError, "positional"),
        (lambda: ciapi.general.verify_cam_pin(0, "1234"), TypeError, "pin: bytes is needed, not str"),
        (lambda: ciapi.general.disable_descrambling([(0, 0)]), TypeError, "TVSHandle is needed, not tuple"),
        (lambda: ciapi.general.backup_file_done("/a"), TypeError, "paths: a list is needed, not str"),
        (lambda: ciapi.general.send_cam_upgrade_reply(0, ECamStatus.CAM_STATUS_READY), TypeError, "ECamUpgradeAnswer"),
    ],
)
def test_a_wrong_argument_is_named_and_nothing_is_sent(ci_sim, call, error, words):
    with pytest.raises(error, match=words):
        call()
    assert len(ci_sim.calls) == 0


def test_a_secret_stands_in_no_error(ci_sim):
    ciapi.general.enter_menu(0)
    with pytest.raises(ciapi.RefusedError) as refused:
        ciapi.general.answer_mmi_enquiry(0, EMmiAnswerId.MMI_ANSWER_ID_ANSWER, "4711", False)
    with pytest.raises(TypeError) as wrong:
        ciapi.general.verify_cam_pin(0, 4711)
    assert "4711" not in repr(refused.value) + repr(wrong.value) + repr(list(ci_sim.calls))


def test_a_number_without_a_name_is_legal():
    unknown = ECamStatus(77)
    assert (unknown, str(unknown)) == (77, "77")
    assert unknown == ECamStatus(77)


def test_one_way_calls_are_not_waited_for(ci_sim):
    with ci_sim.faults.add("never", operation="*"):
        assert ciapi.general.enter_menu(0, one_way=True) == 1
        assert ci_sim.calls.wait_for(ciapi.general.enter_menu)[0].one_way


def test_a_call_that_waits_lets_other_threads_run(ci_sim):
    with ci_sim.faults.add("never", operation=ciapi.general.get_cam_modes):
        waiting = threading.Thread(target=_outlive, daemon=True)
        waiting.start()
        ci_sim.calls.wait_for(ciapi.general.get_cam_modes)  # which itself waits here, while the other thread does
        assert waiting.is_alive()
        ci_sim.kill()
        waiting.join(10)
    assert not waiting.is_alive()


def _outlive():
    with pytest.raises(ciapi.CallError):
        ciapi.general.get_cam_modes()
