"""A caller of the platform service, and fixtures for tests of the simulation alone."""

import json

import pytest
from jeepney import DBusAddress, HeaderFields, MessageType, new_method_call
from jeepney.io.blocking import open_dbus_connection

from hwsdcatalogue import NETWORK, OBJECTS, SIGNATURES
from hwsdsim import SERVICE_NAME, WARNINGS_END_IT, HwsdSim
from privatebus import PrivateBus
from waiting import PATIENCE


class Client:
    """Calls the service as any program on the bus would."""

    def __init__(self, address):
        self.connection = open_dbus_connection(address)

    def send(self, interface, member, *arguments, path=None, signature=None, to=SERVICE_NAME):
        """Sends a call and returns its serial."""
        if signature is None:
            signature = SIGNATURES[interface, member]
        target = DBusAddress(path or OBJECTS[interface], bus_name=to, interface=interface)
        serial = next(self.connection.outgoing_serial)
        self.connection.send(new_method_call(target, member, signature or None, arguments), serial=serial)
        return serial

    def receive(self):
        """The next reply or error, and the serial of the call it answers."""
        while True:
            message = self.connection.receive(timeout=PATIENCE)
            if message.header.message_type in (MessageType.method_return, MessageType.error):
                return Reply(message), message.header.fields[HeaderFields.reply_serial]

    def call(self, interface, member, *arguments, path=None, signature=None):
        serial = self.send(interface, member, *arguments, path=path, signature=signature)
        reply, answered = self.receive()
        assert answered == serial
        return reply

    def value(self, interface, member, *arguments):
        """The first value of a call that must succeed."""
        reply = self.call(interface, member, *arguments)
        assert reply.error is None, (reply.error, reply.body)
        return reply.body[0]

    def bus_call(self, member, signature, *arguments):
        """The bus daemon's answer; its text when that is an error."""
        daemon = DBusAddress("/org/freedesktop/DBus", "org.freedesktop.DBus", "org.freedesktop.DBus")
        call = new_method_call(daemon, member, signature, arguments)
        return Reply(self.connection.send_and_get_reply(call, timeout=PATIENCE))

    def service_owner(self):
        """The unique name of the connection that owns the service's name, or None."""
        reply = self.bus_call("GetNameOwner", "s", SERVICE_NAME)
        return None if reply.error else reply.body[0]

    def interface_config(self, name="eth0"):
        return json.loads(self.value(NETWORK, "getInterfaceConfig", name))

    def set_interface_config(self, name="eth0", **changes):
        return self.call(NETWORK, "setInterfaceConfigJSON", name,
                         json.dumps(dict(self.interface_config(name), **changes)))


class Reply:
    def __init__(self, message):
        fields = message.header.fields
        self.error = fields.get(HeaderFields.error_name)
        self.signature = fields.get(HeaderFields.signature, "")
        self.body = message.body


def connect(bus):
    return Client(bus.address)


@pytest.fixture(scope="module", name="bus")
def bus_fixture():
    with PrivateBus() as private:
        yield private


@pytest.fixture(name="start")
def start_fixture(bus):
    """Starts a simulation with the options given; at most one a test, as there is one name."""
    running = []

    def start_one(**arguments):
        running.append(HwsdSim(bus.address, environment=WARNINGS_END_IT, **arguments))
        return running[-1]

    yield start_one
    for sim in running:
        assert sim.stop() == 0


@pytest.fixture(name="sim")
def sim_fixture(start):
    return start()


@pytest.fixture(name="client")
def client_fixture(bus):
    return connect(bus)


@pytest.fixture(scope="module", name="shared")
def shared_fixture():
    """Calls a simulation shared by all tests that do not depend on the panel's state."""
    with PrivateBus() as own, HwsdSim(own.address, environment=WARNINGS_END_IT):
        yield connect(own)
