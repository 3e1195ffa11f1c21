"""What panel this is, from each of the places where it may be told."""

import mvdp
from mvdp import Command

DISCOVER = mvdp.request(Command.DISCOVER)


def fresh_answer(panel):
    """The reply of a service that knows nothing yet."""
    panel.restart_service()
    panel.sim.clear_calls()
    return panel.tool_at().ask(DISCOVER).data


def test_an_unknown_model_is_what_the_board_says(panel):
    panel.sim.set_state({"identity": {"manufactureCode": 503}, "partition": {"version": "UN20HS_12345678"}})
    expected = panel.expected_identity(description=b"SIMULATED PANEL", partition_version=0x0D594308)
    assert fresh_answer(panel) == expected
    assert panel.calls()[-2:] == [("manufactureCode",), ("readSlvAddr", 0x50, 0x55, 20)]


def test_the_factorys_name_wins(panel):
    panel.write_machine_ini("[Brand]\noptions\\devicename=501:Oven,506:Caf\u00e9\n")
    assert fresh_answer(panel) == panel.expected_identity(description=b"Caf\xe9")
