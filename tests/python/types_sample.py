"""What a type checker knows of the package. Checked by mypy, not run; each ignored error has to be one."""

import ciapi
from ciapi import ECamStatus, ECISignalType, EMmiAnswerId

slots: dict[int, ECamStatus] = ciapi.general.get_ci_slot_status(0)
title: str = ciapi.general.get_mmi_menu(slot=0).title
question: bool = ciapi.general.is_ci_supported()
handle = ciapi.TVSHandle(profile=ciapi.EProfile.PROFILE_SUB, handle=1)
ciapi.general.disable_descrambling((handle,))
ciapi.general.verify_cam_pin(0, b"1234", one_way=True)
ciapi.general.answer_mmi_enquiry(0, EMmiAnswerId.MMI_ANSWER_ID_ANSWER, "x", flag=False)

ciapi.general.enter_menu("0")  # type: ignore[arg-type]
ciapi.general.enter_menu(0, True)  # type: ignore[misc]
ciapi.general.verify_cam_pin(0, "1234")  # type: ignore[arg-type]
ciapi.general.send_cam_upgrade_reply(0, ECamStatus.CAM_STATUS_READY)  # type: ignore[arg-type]
ciapi.general.enter_the_menu(0)  # type: ignore[attr-defined]
handle.handle = 2  # type: ignore[misc]

with ciapi.sim.run(insert={0: "plus", 1: None}) as sim:
    sim.remove_cam(0)
    sim.insert_cam(0)  # type: ignore[call-arg]
    sim.faults.add("late", operation=ciapi.general.get_mmi_menu, ms=500)
    with ciapi.Signals(ECISignalType.SIGNAL_CI_MMI_STATUS_CHANGED) as signals:
        slot: int | None = signals.get(timeout=1.0).slot
