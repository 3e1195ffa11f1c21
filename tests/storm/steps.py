"""The storm as data: the same seed gives the same steps, without a clock and without a service.

A step is a dict with its kind as "do" and plain parameters, so that it can be written to a file and run again.
"""

import random

import mvdp
from mvdp import Command

MAC, SECOND_MAC = "00:1a:2b:3c:4d:5e", "00:1a:2b:3c:4d:5f"
# Who sends: address, the interface by which the panel reaches it, and that interface's MAC address.
SENDERS = {"near": ("192.168.10.1", "eth0", MAC), "far": ("10.9.0.2", "eth0", MAC),
           "neighbour": ("10.20.0.1", "eth1", SECOND_MAC)}
UNICAST = {"near": "192.168.10.5", "far": "192.168.10.5", "neighbour": "10.20.0.5"}
DIRECTED = {"near": "192.168.10.255", "far": "192.168.10.255", "neighbour": "10.20.255.255"}
BROADCAST = "255.255.255.255"

READING = ["getInterfaceConfig", "info", "manufactureCode", "readSlvAddr"]
METHODS = [*READING, "setInterfaceConfigJSON", "applyNewConfiguration", "resetConfiguration", "restartSystem", "*"]
SIGNATURES = ["s", "i", "u", "t", "y", "b", "o", "ay", "(yyyyay)", "(yyyy)", "(yyyyays)", "(s)", "((((s))))", "iay",
              "ayi", "ii", "sss", "iayiayiay"]
TEXTS = ["", "{", "[]", "null", "{}", '{"name": ""}', '{"name": 1}', '{"name": "eth0"', '{"name": "eth0", "dhcp": 3}',
         '{"name": "eth0"}', '{"name": "eth0", "actual_ip_address": []}', "[" * 4000, '{"a":' * 4000, "\\u0000",
         '{"name": "eth0", "metric": 1e999}', '{"name": "eth0", "actual_ip_address": "256.1.1.1"}']

# None of them has the panel's own model.
FACTORY_FILES = ["[Brand]\noptions/devicename=1:one,2:two\n", "[", "x" * 5000]

# What may happen beside datagrams, and how likely it is in a phase.
WINDS = {"state": 0.5, "platform": 0.4, "network": 0.3, "screen": 0.3, "stall": 0.3, "disk": 0.3,
         "clock": 0.2}
# These mean another process; without them the service grows old.
ROUGH_WINDS = {"bus": 0.4, "process": 0.4, "memory": 0.1}
FEWEST, MOST = 40, 200


def phase(seed, number):
    """The steps of one phase."""
    dice = random.Random(f"{seed}/{number}")
    likelihoods = {**WINDS, **ROUGH_WINDS} if is_rough(number) else WINDS
    winds = [wind for wind, likelihood in likelihoods.items() if dice.random() < likelihood]
    steps = []
    for _ in range(dice.randrange(FEWEST, MOST)):
        if winds and dice.random() < 0.25:
            steps.append(KINDS[dice.choice(winds)](dice))
        elif dice.random() < 0.02:
            steps.append({"do": "pause", "ms": dice.randrange(60)})
        elif dice.random() < 0.01:
            steps.append({**send(dice, winds), "do": "flood", "times": dice.choice((dice.randrange(2, 100),
                                                                                    dice.randrange(500)))})
        else:
            steps.append(send(dice, winds))
    return steps


def is_rough(number):
    """The last ten phases of forty; later, when a run is long, the last hundred of a thousand."""
    return number % 40 >= 30 if number <= 400 else number % 1000 >= 900


# Datagrams

def send(dice, winds):
    sender = dice.choices(list(SENDERS), (5, 2, 3))[0]
    destinations = [UNICAST[sender]] * 3 + [DIRECTED[sender], BROADCAST]
    if sender != "neighbour":
        destinations.append(mvdp.GROUP)
    # Where the panel's addresses change, it may take its own echo for one of others.
    own_port = sender != "neighbour" and not {"network", "platform"} & set(winds) and dice.random() < 0.03
    return {"do": "send", "from": sender, "to": dice.choice(destinations), "own_port": own_port,
            "data": payload(dice, sender).hex()}


def payload(dice, sender):
    kind = dice.random()
    if kind < 0.03:
        return dice.randbytes(dice.choice((dice.randrange(9000), dice.randrange(300), 256)))
    data = bytearray(request(dice, sender))
    if kind < 0.60:
        return bytes(data)
    if kind < 0.66:
        # Almost a request.
        data[dice.choice((0, 1, 2, 3, 4, 5))] = dice.randrange(256)
    elif kind < 0.72:
        data[6] = dice.randrange(256)
    elif kind < 0.86:
        return bytes(data[:dice.choice((dice.randrange(256), dice.randrange(28)))])
    elif kind < 0.90:
        return bytes(data) + dice.randbytes(dice.choice((1, dice.randrange(1200), dice.randrange(8000))))
    return bytes(data)


def request(dice, sender):
    command = dice.choices(list(Command), (25, 22, 22, 9, 2, 9, 3, 2, 4))[0]
    own = SENDERS[sender][2]
    other = SECOND_MAC if own == MAC else MAC
    mac = dice.choice((own, own, own, own, other, changed(dice, own), changed(dice, own),
                       mac_text(dice.randbytes(6)), "00:00:00:00:00:00"))
    address, netmask, gateway = settings(dice)
    return mvdp.request(command, version=dice.choice((2, 2, 3, 4, 255)), tag=dice.randrange(256), address=address,
                        netmask=netmask, gateway=gateway, mac=mac,
                        rest=dice.choice((bytes(230), dice.randbytes(230))))


def mac_text(octets):
    return ":".join(f"{octet:02x}" for octet in octets)


def changed(dice, mac):
    """One bit is different."""
    octets = bytearray(mvdp.mac_bytes(mac))
    octets[dice.randrange(6)] ^= 1 << dice.randrange(8)
    return mac_text(octets)


def any_address(dice):
    return ".".join(str(dice.randrange(256)) for _ in range(4))


def settings(dice):
    """Address, netmask, gateway."""
    return (dice.choice(("192.168.10.5", "192.168.10.20", "10.9.0.5", "0.0.0.0", any_address(dice))),
            dice.choice(("255.255.255.0", "255.255.255.0", "255.255.0.0", "0.0.0.0", "255.255.255.255",
                         "255.0.255.0", any_address(dice))),
            dice.choice(("192.168.10.1", "0.0.0.0", any_address(dice))))


# The platform service, as long as it keeps its contract

def state(dice):
    address, netmask, gateway = settings(dice)
    return {"do": "state", "interface": dice.choice(("eth0", "eth0", "eth1")), "address": address, "netmask": netmask,
            "gateway": gateway, "dhcp": dice.random() < 0.3,
            "mac": mac_text(dice.randbytes(6)) if dice.random() < 0.15 else None,
            "label": "x" * dice.choice((0, 5, 3000))}


# The platform service, when it does not

def platform(dice):
    do = dice.choices(("fault", "clear_faults", "sim_kill", "sim_start", "sim_pause", "sim_resume", "disappear",
                       "name_taken", "name_given_back"), (10, 2, 1, 3, 1, 2, 2, 1, 1))[0]
    if do == "fault":
        return fault(dice)
    if do == "sim_start":
        # `follows`: the panel's real interfaces take the settings that it applies.
        return {"do": do, "other": dice.random() < 0.3, "follows": dice.random() < 0.3}
    if do == "disappear":
        return {"do": do, "ms": dice.choice((1, 20, 100))}
    return {"do": do}


def fault(dice):
    method = dice.choice(METHODS)
    kind = dice.choice(("error", "delay", "delay", "silence", "wrong-type", "wrong-type", "no-arguments",
                        "short-array", "text", "text", "disappear"))
    if kind == "short-array":
        method = dice.choice(("info", "manufactureCode", "readSlvAddr"))
    if kind == "text":
        method = "getInterfaceConfig"
    parameters = {
        "error": lambda: {"name": dice.choice(("com.zelt.HWSD.Error.Simulated", "org.freedesktop.DBus.Error.NoReply",
                                               "org.freedesktop.DBus.Error.ServiceUnknown")),
                          "message": "x" * dice.choice((1, 100, 5000))},
        "delay": lambda: {"ms": dice.choice((1, 10, 50))},
        "wrong-type": lambda: {"signature": dice.choice(SIGNATURES)},
        "short-array": lambda: {"bytes": dice.randrange(22)},
        "text": lambda: text(dice),
        "disappear": lambda: {"ms": dice.choice((0, 5, 50))}}.get(kind, dict)()
    return {"do": "fault", "method": method, "kind": kind, "calls": dice.choice((0, 1, 1, 3)),
            "parameters": parameters}


def text(dice):
    if dice.random() < 0.1:
        # A record of megabytes, or noise of the same length.
        return {"text": dice.choice(TEXTS), "size": dice.choice((100000, 2000000))}
    return {"text": dice.choice(TEXTS)}


# The rest of the world

def network(dice):
    do = dice.choices(("link", "address", "route", "extra_link"), (3, 4, 1, 2))[0]
    if do == "link":
        return {"do": do, "interface": dice.choice(("eth0", "eth1")), "up": dice.random() < 0.6}
    if do == "address":
        return {"do": do, "interface": dice.choice(("eth0", "eth1", "eth1", "lo")), "add": dice.random() < 0.6,
                "address": dice.choice(("192.168.10.5/24", "10.20.0.5/16", "10.9.0.5/24", "192.168.10.7/32",
                                        "172.20.0.5/30", "1.2.3.4/1"))}
    if do == "route":
        return {"do": do, "add": dice.random() < 0.5}
    return {"do": do, "add": dice.random() < 0.6, "name": dice.choice(("eth2", "wan", "lan-x")),
            "address": dice.choice(("192.168.10.6/24", "10.9.0.6/24", "172.30.0.1/16"))}


def screen(dice):
    return dice.choice(({"do": "cover"}, {"do": "uncover"},
                        {"do": "send", "from": "near", "to": UNICAST["near"], "own_port": False,
                         "data": mvdp.request(Command.WINK, mac=MAC, tag=dice.randrange(256)).hex()}))


def stall(dice):
    return dice.choice(({"do": "stop_service"}, {"do": "continue_service"}, {"do": "continue_service"}))


def disk(dice):
    return dice.choice(({"do": "disk_full"}, {"do": "disk_gone"}, {"do": "marker_folder"},
                        {"do": "factory_file", "text": dice.choice(FACTORY_FILES)}))


def bus(dice):
    return {"do": dice.choice(("bus_stop", "bus_start", "bus_start")),
            "bus": dice.choice(("system", "system", "session"))}


def process(dice):
    return {"do": "signal", "signal": dice.choice(("SIGHUP", "SIGUSR1", "SIGTERM", "SIGPIPE", "SIGKILL", "SIGWINCH",
                                                   "SIGCHLD"))}


def clock(dice):
    return {"do": "clock", "ahead": dice.choice((0, -1, 1, 3600, -86400, 86400 * 3650, -10**9, 2**31))}


def memory(dice):
    return {"do": "no_memory", "after": dice.randrange(2000), "times": dice.choice((1, 1, 5, 1000))}


KINDS = {"state": state, "platform": platform, "network": network, "screen": screen, "stall": stall, "disk": disk,
         "bus": bus, "process": process, "clock": clock, "memory": memory}
