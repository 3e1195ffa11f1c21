"""A bus that takes connections and says nothing, or falls silent in the middle."""

import pathlib
import socket
import threading

import mvdp
from mvdp import Command
from test_platform_connection import NO_SESSION_BUS, NO_SYSTEM_BUS
from waiting import PATIENCE

DISCOVER = mvdp.request(Command.DISCOVER)
# Asks the platform service once.
ECHO = mvdp.request(Command.ECHO)


def test_a_bus_that_hangs_counts_as_none_until_it_goes_on(make_panel):
    """The kernel takes the connection for it. Without an end to the waiting no datagram would be answered any more."""
    panel = make_panel()
    tool = panel.tool_at()
    panel.system_bus.pause()
    try:
        assert tool.ask(ECHO).data == ECHO
    finally:
        panel.system_bus.resume()
    assert panel.warnings() == [NO_SYSTEM_BUS, NO_SESSION_BUS]
    assert tool.ask(DISCOVER).data == panel.expected_identity()
    assert panel.warnings() == [NO_SYSTEM_BUS, NO_SESSION_BUS]


class FallingSilent:
    """A bus that lets clients authenticate and answers nothing after that, until it is closed."""

    def __init__(self, address):
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(address.removeprefix("unix:path="))
        self._listener.listen()
        self._path = pathlib.Path(address.removeprefix("unix:path="))
        self._connections = []
        self.silent = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            self._connections.append(connection)
            self._authenticate(connection)

    def _authenticate(self, connection):
        answers = {b"AUTH": b"REJECTED EXTERNAL\r\n", b"\0AUTH": b"REJECTED EXTERNAL\r\n",
                   b"NEGOTIATE_UNIX_FD": b"ERROR\r\n"}
        with connection.makefile("rb") as lines:
            for line in lines:
                word, *rest = line.split()
                if word == b"BEGIN":
                    self.silent.set()
                    return
                accepted = word.endswith(b"AUTH") and rest
                connection.sendall(b"OK 0123456789abcdef0123456789abcdef\r\n" if accepted else answers[word])

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self._path.unlink()
        self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()
        for connection in self._connections:
            connection.shutdown(socket.SHUT_RDWR)
            connection.close()
        self._thread.join(PATIENCE)


def test_a_bus_that_falls_silent_and_goes_is_replaced_by_the_next(make_panel):
    panel = make_panel(system_bus=False, sim=None)
    tool = panel.tool_at()
    with FallingSilent(panel.system_bus.address) as bus:
        tool.send(ECHO)
        assert bus.silent.wait(PATIENCE)
    assert tool.receive() == ECHO
    assert panel.warnings() == [NO_SYSTEM_BUS, NO_SESSION_BUS]
    panel.system_bus.start()
    panel.start_sim()
    assert tool.ask(DISCOVER).data == panel.expected_identity()
