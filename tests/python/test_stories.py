"""Three stories, each with an application in a few lines."""

import pytest

import ciapi
from ciapi import ECamStatus, ECiMmiStatus, ECISignalType, EMmiAnswerId, Signals

READY = ECISignalType.SIGNAL_CI_CAM_READY_STATUS_CHANGED
MMI = ECISignalType.SIGNAL_CI_MMI_STATUS_CHANGED


@pytest.mark.ci_story("menu-walk")
def test_the_viewer_walks_through_the_menu():
    with Signals(MMI) as signals:
        ciapi.general.enter_menu(0)
        assert signals.get(timeout=20).code == ECiMmiStatus.CI_MMI_STATUS_MENU_RECEIVED
        choices = ciapi.general.get_mmi_menu(0).choices
        ciapi.general.answer_mmi_menu(0, choices.index("Exit") + 1, False)
        assert signals.get(timeout=20).code == ECiMmiStatus.CI_MMI_STATUS_SESSION_CLOSED


@pytest.mark.ci_story("enquiry-pin")
def test_the_cam_asks_for_its_pin():
    with Signals(MMI) as signals:
        ciapi.general.enter_menu(0)
        for answer in ["9999", "0042"]:
            assert signals.get(timeout=20).code == ECiMmiStatus.CI_MMI_STATUS_ENQUIRY_RECEIVED
            question = ciapi.general.get_mmi_enquiry(0)
            assert (question.blind_answer, question.answer_length) == (True, 4)
            ciapi.general.answer_mmi_enquiry(0, EMmiAnswerId.MMI_ANSWER_ID_ANSWER, answer, False)
        assert signals.get(timeout=20).code == ECiMmiStatus.CI_MMI_STATUS_LIST_RECEIVED
        ciapi.general.get_mmi_list(0)
        ciapi.general.close_mmi(0, False)


@pytest.mark.ci_story("cam-pulled")
def test_the_cam_is_pulled_and_comes_back():
    with Signals(MMI) as pages, Signals(READY) as states:
        ciapi.general.enter_menu(0)
        assert pages.get(timeout=20).code == ECiMmiStatus.CI_MMI_STATUS_MENU_RECEIVED
        ciapi.general.get_mmi_menu(0)
        codes = [states.get(timeout=20).code for _ in range(2)]
        assert codes == [ECamStatus.CAM_STATUS_NO_CAM, ECamStatus.CAM_STATUS_READY]
        ciapi.general.enter_menu(0)
