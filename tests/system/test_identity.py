"""What panel this is: the partition version and the 64 bytes of description."""

import pytest

import mvdp
from mvdp import Command

DISCOVER = mvdp.request(Command.DISCOVER)

MODELS = {501: "QM310-44LRNA", 502: "QM316-44LRNA", 504: "QM313-44LRNA", 506: "QM413-JD562",
          509: "QM913-K8BW27", 510: "QM916-K8BW27", 511: "QM921-K8BW27", 512: "QM927-K8BW27",
          513: "QM911-K8BW27", 519: "QMG911-44LRNA", 520: "QMG913-44LRNA", 521: "QMG916-44LRNA",
          522: "QMG921-44LRNA", 523: "QMG927-44LRNA", 525: "QM906R-K8HW27", 528: "QM913GD-K8BW27",
          529: "QM906N-K8HW27", 530: "QM906C-K8HW27", 532: "QM921GD-K8BW27"}
NAMELESS_CODES = [503, 505, 507, 508, 514, 515, 516, 517, 518, 524, 526, 527, 531, 500, 533, 0, 1, -1,
                  2147483647, -2147483648]
# In the board's EEPROM at its place.
BOARD_TEXT = "SIMULATED PANEL"
TEXT_ADDRESS = 0x55
TEXT_LENGTH = 20


@pytest.fixture(name="identify")
def fixture_identify(panel):
    """The reply's fields from a service that knows nothing yet."""
    def identify(code=None, ini=None):
        if code is not None:
            panel.sim.set_state({"identity": {"manufactureCode": code}})
        panel.write_machine_ini(ini)
        panel.restart_service()
        panel.sim.clear_calls()
        return panel.tool_at().ask(DISCOVER)
    return identify


def in_full(description):
    """The 64 bytes of a description and the zeros to the reply's end."""
    return description + bytes(64 - len(description)) + bytes(148)


# The model table

@pytest.mark.parametrize("code, model", MODELS.items())
def test_a_known_code_gives_its_model(panel, identify, code, model):
    assert identify(code).data[44:] == in_full(model.encode())
    assert "readSlvAddr" not in {call[0] for call in panel.calls()}


def test_the_table_has_19_models():
    assert len(MODELS) == 19
    assert len(set(range(501, 533)) - MODELS.keys()) == 13
    assert set(range(501, 533)) - MODELS.keys() < set(NAMELESS_CODES)


@pytest.mark.parametrize("code", NAMELESS_CODES)
def test_an_unknown_code_gives_the_boards_own_text(panel, identify, code):
    assert identify(code).data[44:] == in_full(BOARD_TEXT.encode())
    assert panel.calls()[-2:] == [("manufactureCode",), ("readSlvAddr", 0x50, TEXT_ADDRESS, TEXT_LENGTH)]


# The board's EEPROM

def chip(content):
    """The EEPROM's 256 bytes with this at the text's place, and no NUL anywhere else near."""
    whole = bytearray(b"\xff" * 256)
    whole[TEXT_ADDRESS:TEXT_ADDRESS + len(content)] = content
    return {"eeprom": {"hex": whole.hex(), "text": ""}}


@pytest.mark.parametrize("content, description", [
    (b"ABC\0", b"ABC"), (b"ABC\0\xff\x01garbage", b"ABC"), (b"x" * 19 + b"\0", b"x" * 19), (b"!\0", b"!"),
    (b"A\x7fB\0", b"A\x7fB"), (b" \0", b" "), (b" padded \0", b" padded "),
    (b"x" * 20 + b"\0", None), (b"\0ABC\0", None), (b"A\x1fB\0", None), (b"A\x80B\0", None),
    (b"Caf\xe9\0", None), (b"A\nB\0", None), (b"\xff" * 20, None)], ids=repr)
def test_a_board_text_is_printable_and_ends_in_its_field(panel, identify, content, description):
    panel.sim.set_state(chip(content))
    assert identify(503).data[44:] == in_full(description or b"HMI 503")


@pytest.mark.parametrize("fault", [("error", {}), ("no-arguments", {}), ("wrong-type", {}),
                                   ("wrong-type", {"signature": "ay"}), ("wrong-type", {"signature": "says"}),
                                   ("wrong-type", {"signature": "is"}), ("short-array", {"bytes": 0}),
                                   ("short-array", {"bytes": 14})], ids=repr)
def test_a_board_that_cannot_be_read_gives_the_code(panel, identify, fault):
    kind, parameters = fault
    panel.sim.set_fault("readSlvAddr", kind, **parameters)
    assert identify(517).data[44:] == in_full(b"HMI 517")


def test_a_negative_code_is_shown_as_it_is(panel, identify):
    panel.sim.set_fault("readSlvAddr", "error")
    assert identify(-5).data[44:] == in_full(b"HMI -5")


# The code

@pytest.mark.parametrize("fault", [("error", {}), ("no-arguments", {}), ("wrong-type", {}),
                                   ("short-array", {"bytes": 0}), ("short-array", {"bytes": 3})], ids=repr)
def test_a_code_that_cannot_be_read_is_0(panel, identify, fault):
    kind, parameters = fault
    panel.sim.set_fault("readSlvAddr", "error")
    panel.sim.set_fault("manufactureCode", kind, **parameters)
    assert identify(506).data[44:] == in_full(b"HMI 0")
    # Nor is it the 0 that a number is which the factory's file spells wrongly.
    assert identify(506, ini("501:Panel A, 502:Panel B")).data[44:] == in_full(b"HMI 0")


# The factory's names

def ini(value):
    return f"[Brand]\noptions\\devicename={value}\n"


@pytest.mark.parametrize("value, code, description", [
    ("506:Line 3 panel", 506, b"Line 3 panel"),
    ('"506:Line 3 panel"', 506, b"Line 3 panel"),
    ("501:Panel A,502:Panel B", 502, b"Panel B"),
    ('"501:Panel A,502:Panel B"', 501, b"Panel A"),
    ("501:Panel A, 502:Panel B", 501, b"Panel A"),
    # A blank before the number makes it none: that is the entry of number 0.
    ("501:Panel A, 502:Panel B", 502, b"QM316-44LRNA"),
    ('"501:Panel A, 502:Panel B"', 502, b"QM316-44LRNA"),
    ("501:Panel A, 502:Panel B", 0, b"Panel B"),
    ("501:Panel A,abc:Panel B", 0, b"Panel B"),
    ("501:Panel A,:Panel B", 0, b"Panel B"),
    ("506:first,506:second", 506, b"second"),
    ("506:first,501:x,506:second,502:y", 506, b"second"),
    ("506:a:b", 506, b"QM413-JD562"), ("506", 506, b"QM413-JD562"), ("506=x", 506, b"QM413-JD562"),
    ("", 506, b"QM413-JD562"), (",,,", 506, b"QM413-JD562"), (":", 506, b"QM413-JD562"),
    (",506:after nothing,", 506, b"after nothing"),
    ("506: blanks inside  are kept", 506, b" blanks inside  are kept"),
    ("503:a name for a nameless one", 503, b"a name for a nameless one"),
    ("-7:below zero", -7, b"below zero"), ("0506:leading zero", 506, b"leading zero"),
    ("506:Caf\u00e9 \u00fc", 506, b"Caf\xe9 \xfc"),
    # As Qt 4 and 5 write it, and as Qt 6 does.
    (r"506:Caf\xe9 \xfc", 506, b"Caf\xe9 \xfc"), ("506:Caf\u00c3\u00a9 \u00c3\u00bc", 506, b"Caf\xe9 \xfc"),
    (r"506:19\" C:\\", 506, b"QM413-JD562"), (r"506:19\" C\\D\tE", 506, b'19" C\\D\tE'),
    ("506:Line 3;a comment", 506, b"Line 3"), ('"506:Line 3;no comment"', 506, b"Line 3;no comment"),
    ("501:A,\\\n506:B", 506, b"B"),
    ("506:" + "x" * 64, 506, b"x" * 64), ("506:" + "x" * 65, 506, b"x" * 64),
    ("506:" + "0123456789" * 30, 506, (b"0123456789" * 7)[:64])], ids=lambda each: repr(each)[:40])
def test_the_factorys_name_wins(identify, value, code, description):
    assert identify(code, ini(value)).data[44:] == in_full(description)


@pytest.mark.parametrize("content", [
    "[Brand]\r\noptions\\devicename=506:here\r\n",
    "; comment\n\n[Other]\noptions\\devicename=506:there\n[Brand]\nx=1\noptions\\devicename=506:here\ny=2\n",
    "[Brand]\noptions\\devicename=506:there\noptions\\devicename=506:here",
    "[Brand]\noptions\\devicename = 506:here\n",
    "[Brand/options]\ndevicename=506:here\n", "[BRAND]\nOptions\\DeviceName=506:here\n",
    "[%42rand]\noptions%U002fdevicename=506:here\n"], ids=repr)
def test_the_name_is_found_in_its_section(identify, content):
    assert identify(506, content).description == b"here"


@pytest.mark.parametrize("content", [
    b"", b"[", b"[]", b"=", b"\\", b"[Brand", b"\xff\xfe\x00\x00" * 100, bytes(range(256)) * 10,
    b"[Brand]\noptions\\devicename", b"[Brand]\ndevicename=506:there\n", b"options\\devicename=506:there\n",
    b"[brand]\n[General]\nBrand\\x=1\n" + b"x" * 5000000], ids=lambda content: repr(content[:30]))
def test_a_file_without_the_name_is_no_trouble(identify, content):
    assert identify(506, content).description == b"QM413-JD562"


def test_a_directory_in_the_files_place_is_no_trouble(panel, identify):
    (panel.mnt / "factory" / "machine.ini").mkdir(parents=True)
    panel.write_machine_ini = lambda content: None
    try:
        assert identify(506).description == b"QM413-JD562"
    finally:
        del panel.write_machine_ini


def test_the_working_folders_file_does_not_count(panel, identify):
    (panel.working_folder / "machine.ini").write_text(ini("506:there"), encoding="ascii")
    assert identify(506).description == b"QM413-JD562"


def test_an_empty_name_is_used_and_asked_for_again(panel, identify):
    assert identify(506, ini("506:")).data[44:] == bytes(212)
    panel.tool_at().ask(DISCOVER)
    assert [call[0] for call in panel.calls()].count("manufactureCode") == 2
    panel.write_machine_ini(ini("506:a name at last"))
    assert panel.tool_at().ask(DISCOVER).description == b"a name at last"


def test_the_description_is_decided_once(panel, identify):
    assert identify(503, ini("501:x")).description == BOARD_TEXT.encode()
    panel.write_machine_ini(ini("503:too late"))
    panel.sim.set_state({"identity": {"manufactureCode": 506}})
    for _ in range(3):
        assert panel.tool_at().ask(DISCOVER).description == BOARD_TEXT.encode()
    calls = [call[0] for call in panel.calls()]
    assert (calls.count("manufactureCode"), calls.count("readSlvAddr")) == (1, 1)


# The partition version

@pytest.mark.parametrize("text, version", [
    ("UN20HS_01234567", 0x01EA3807),  # 01, 234, 56, 7
    ("x01234567", 0x01EA3807), ("ABCDEFGHIJKL01234567", 0x01EA3807),
    ("x00000001", 0x00000001), ("x00000100", 0x00000A00), ("x00001000", 0x00010000),
    ("x10000000", 0x0A000000),
    # A three-digit part above 255 runs over into the first.
    ("x99999999", 0x63E76309), ("x00256000", 0x01000000), ("x01511023", 0x01FF0203),
    # What is no number counts as 0.
    ("xab123cd4", 0x007B0004), ("x12abc345", 0x0C002205),
    # White space around a number does not belong to it.
    ("x1 23 5 7", 0x01170507), ("x1\u00a0234567", 0x01EA3807)])
def test_the_partition_version_is_cut_from_the_texts_end(panel, identify, text, version):
    panel.sim.set_state({"partition": {"version": text}})
    assert identify().partition_version == version


@pytest.mark.parametrize("text", ["", "1", "01234567", "x00000000", "xabcdefgh"])
def test_a_partition_version_of_0_is_asked_for_again(panel, identify, text):
    panel.sim.set_state({"partition": {"version": text}})
    assert identify().partition_version == 0
    tool = panel.tool_at()
    assert tool.ask(DISCOVER).partition_version == 0
    panel.sim.set_state({"partition": {"version": "UN20HS_01234567"}})
    assert tool.ask(DISCOVER).partition_version == 0x01EA3807
    panel.sim.set_state({"partition": {"version": "UN20HS_99999999"}})
    assert tool.ask(DISCOVER).partition_version == 0x01EA3807
    assert [call[0] for call in panel.calls()].count("info") == 3


@pytest.mark.parametrize("fault, version", [
    (("error", {}), 0), (("no-arguments", {}), 0), (("wrong-type", {}), 0),
    (("wrong-type", {"signature": "ay"}), 0), (("wrong-type", {"signature": "(yyyyyay)"}), 0),
    (("wrong-type", {"signature": "(yyyy)"}), 0),
    (("short-array", {"bytes": 0}), 0), (("short-array", {"bytes": 8}), 0),
    # "UN20HS_012": what came is all there is: 20, no number, 01, 2.
    (("short-array", {"bytes": 10}), 0x14000102)], ids=repr)
def test_a_partition_version_that_cannot_be_read_whole(panel, identify, fault, version):
    kind, parameters = fault
    panel.sim.set_fault("info", kind, **parameters)
    reply = identify()
    assert reply.partition_version == version
    assert reply.description == b"QM413-JD562"
    panel.sim.clear_faults()
    assert panel.tool_at().ask(DISCOVER).partition_version == (version or 0x01EA3807)
