"""A D-Bus daemon for one test alone."""

import os
import shutil
import signal
import subprocess
import tempfile

from waiting import PATIENCE

CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>{bus_type}</type>
  <keep_umask/>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
{policies}
</busconfig>
"""

ALLOW_EVERYTHING = """
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_sender="*" eavesdrop="true"/>
  </policy>"""

# The daemon ends with the tests, however they end.
ENDS_WITH_US = ["setpriv", "--pdeathsig", "KILL", "--"]


class PrivateBus:
    """A bus on a Unix socket in a folder of its own: anybody may own any name, nothing is activated.

    `address` is its D-Bus address, the same after a restart. `bus_type` is "session" or "system"; a program
    finds it through DBUS_SESSION_BUS_ADDRESS or DBUS_SYSTEM_BUS_ADDRESS. `policies` are XML elements in place of the
    one that allows everything. `prefix` is a command to run the daemon under.
    """

    def __init__(self, bus_type="session", start=True, policies=ALLOW_EVERYTHING, prefix=()):
        self._folder = tempfile.mkdtemp(prefix="mvdp-bus-")
        self._socket = os.path.join(self._folder, "bus")
        self._configuration = os.path.join(self._folder, "bus.conf")
        self._messages = os.path.join(self._folder, "messages")
        self._prefix = list(prefix)
        self._daemon = None
        self.address = "unix:path=" + self._socket
        with open(self._configuration, "w", encoding="ascii") as configuration:
            configuration.write(CONFIGURATION.format(bus_type=bus_type, socket=self._socket, policies=policies))
        if start:
            self.start()

    @property
    def running(self):
        return self._daemon is not None and self._daemon.poll() is None

    def start(self):
        """Returns when the bus accepts connections. A running one is left alone."""
        if self.running:
            return
        self._remove_socket()
        read_end, write_end = os.pipe()
        command = [*ENDS_WITH_US, *self._prefix, "dbus-daemon", "--nofork", f"--print-address={write_end}",
                   "--config-file=" + self._configuration]
        try:
            with open(self._messages, "w", encoding="utf-8") as messages:
                self._daemon = subprocess.Popen(command, pass_fds=[write_end], stdin=subprocess.DEVNULL,
                                                stderr=messages)
        finally:
            os.close(write_end)
        # The daemon prints its address when it listens, and closes the pipe when it fails.
        with os.fdopen(read_end, "rb") as announcement:
            line = announcement.readline()
        if not line:
            self._end_daemon()
            with open(self._messages, encoding="utf-8") as messages:
                raise RuntimeError("dbus-daemon did not start: " + messages.read())

    def pause(self):
        """The daemon hangs until resume(): the kernel takes connections for it, and nothing is answered."""
        self._daemon.send_signal(signal.SIGSTOP)
        os.waitid(os.P_PID, self._daemon.pid, os.WSTOPPED)

    def resume(self):
        self._daemon.send_signal(signal.SIGCONT)

    def stop(self):
        """Ends the daemon; whoever is connected loses the bus. start() brings it back at the same address."""
        self._end_daemon()
        self._remove_socket()

    def close(self):
        """stop(), and removes the folder."""
        self.stop()
        shutil.rmtree(self._folder, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def _end_daemon(self):
        if self._daemon is None:
            return
        if self._daemon.poll() is None:
            self._daemon.terminate()
            self.resume()
            try:
                self._daemon.wait(PATIENCE)
            except subprocess.TimeoutExpired:
                self._daemon.kill()
                self._daemon.wait()
        self._daemon = None

    def _remove_socket(self):
        try:
            os.unlink(self._socket)
        except FileNotFoundError:
            pass
