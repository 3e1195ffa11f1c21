"""A row of cabinets: many real panels, each with its own platform service, on one switch."""

import json

import pytest

from fleet import Fleet, address_of, mac_of

SIZE = 64


@pytest.fixture(name="fleet", scope="module")
def fixture_fleet():
    with Fleet(SIZE) as fleet:
        yield fleet


@pytest.mark.parametrize("run", [1, 2, 3])
def test_discovery_finds_every_panel(fleet, run):
    assert fleet.discover() == fleet.expected()


def test_a_plan_gives_every_panel_its_address(fleet, tmp_path):
    """Each gets a new address that no other panel has."""
    plan = tmp_path / "row.csv"
    new = [address_of(number + 256) for number in range(SIZE)]
    plan.write_text("mac,address\n" + "".join(f"{mac_of(n)},{new[n]}\n" for n in range(SIZE)), encoding="ascii")
    code, out, err = fleet.mvdpctl("set", "--from", plan, "--yes", "--json")
    assert code == 0, (out[-2000:], err[-2000:])
    results = [each["result"] for each in json.loads(out)["results"]]
    assert results == ["applied"] * SIZE
    assert [fleet.address_in_force(number) for number in range(SIZE)] == new
    assert fleet.discover() == sorted((mac_of(number), new[number]) for number in range(SIZE))
