"""Runs and controls the simulated platform service."""

import json
import os
import pathlib
import signal
import subprocess
import tempfile

from jeepney import DBusAddress, DBusErrorResponse, new_method_call
from jeepney.io.blocking import open_dbus_connection
from jeepney.wrappers import unwrap_msg

from privatebus import ENDS_WITH_US
from waiting import PATIENCE, wait_for

SERVICE_NAME = "com.zelt.HWSD"
CONTROL = DBusAddress("/org/mvdpserver/HwsdSim", bus_name="org.mvdpserver.HwsdSim",
                      interface="org.mvdpserver.HwsdSim1")
# For tests of the program itself: it prints no warnings of its own, so that a warning of Qt shows a mistake in it.
WARNINGS_END_IT = {"QT_FATAL_WARNINGS": "1"}
# It has one thread. What the thread sanitizer would report is how it and Qt's thread for the bus end.
NO_THREAD_REPORTS = {"TSAN_OPTIONS": "report_bugs=0"}


def build_folder():
    """Where the programs under test are: $MVDP_BUILD_DIR, else build/release."""
    default = pathlib.Path(__file__).resolve().parents[2] / "build" / "release"
    return pathlib.Path(os.environ.get("MVDP_BUILD_DIR", default)).resolve()


def program_path():
    return build_folder() / "tools" / "hwsd-sim" / "hwsd-sim"


def run_program(*options):
    """hwsd-sim to its end, for what it does without a bus or cannot do at all."""
    return subprocess.run([program_path(), *options], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          env=dict(os.environ, **WARNINGS_END_IT), timeout=PATIENCE)


class HwsdSim:
    """Runs hwsd-sim on the bus at `address`; ready when the constructor returns.

    `options` are more command line options, as a list. `state` is a dict laid over the built-in panel.
    `prefix` is a command to run the program under, such as ["ip", "netns", "exec", "panel"]; `popen` starts
    it in place of subprocess.Popen, for example a Namespace's popen.
    """

    def __init__(self, address, options=(), state=None, prefix=(), environment=None, popen=None):
        self.address = address
        self._state_file = None
        self._connection = None
        command = list(prefix) + [str(program_path()), "--bus", address] + list(options)
        if state is not None:
            self._state_file = tempfile.NamedTemporaryFile("w", suffix=".json", encoding="utf-8")
            json.dump(state, self._state_file)
            self._state_file.flush()
            command += ["--state", self._state_file.name]
        if popen is None:
            popen, command = subprocess.Popen, ENDS_WITH_US + command
        self.process = popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True,
                             env={**os.environ, **NO_THREAD_REPORTS, **(environment or {})})
        line = self.process.stdout.readline()
        if not line.startswith("hwsd-sim: ready on "):
            code = self.stop()
            raise RuntimeError(f"hwsd-sim did not get ready: {line!r}, exit code {code}")
        self._connection = open_dbus_connection(address)

    # Faults

    def set_fault(self, method, kind, calls=0, **parameters):
        """`method`: "*", "getInterfaceConfig", or "NetworkManager.getInterfaceConfig"; `calls` 0: until cleared.

        kinds and parameters: "error" name= message=, "delay" ms=, "silence", "wrong-type" signature=,
        "no-arguments", "short-array" bytes=, "text" text= or file=, size=; "disappear" ms=.
        """
        self._control("SetFault", "sssu", method, kind, json.dumps(parameters), calls)

    def clear_fault(self, method):
        """The faults set under exactly this key."""
        self._control("ClearFault", "s", method)

    def clear_faults(self):
        self._control("ClearFaults")

    def faults(self):
        return json.loads(self._control("Faults"))

    # The call log

    def calls(self, member=None):
        """Dicts with serial, path, interface, member, signature and arguments; all calls, or a member's."""
        calls = json.loads(self._control("Calls"))
        return [call for call in calls if member in (None, call["member"])]

    def clear_calls(self):
        self._control("ClearCalls")

    def call_count(self, member):
        return self._control("CallCount", "s", member)

    def wait_for_calls(self, member, count=1):
        """Returns the member's calls once there are at least `count`."""
        wait_for(lambda: self.call_count(member) >= count, f"{count} calls of {member}")
        return self.calls(member)

    # The panel

    def state(self):
        return json.loads(self._control("State"))

    def set_state(self, patch):
        self._control("SetState", "s", json.dumps(patch))

    def interface(self, name="eth0"):
        """The interface's record as the service would report it now."""
        return self.state()["interfaces"][name]

    def set_interface(self, name="eth0", **values):
        self.set_state({"interfaces": {name: values}})

    def restarts(self):
        return self._control("Restarts")

    # Presence

    def disappear(self, ms=0):
        """0: until reappear()."""
        self._control("Disappear", "u", ms)

    def reappear(self):
        self._control("Reappear")

    def present(self):
        return self._control("Present")

    def pause(self):
        """The service keeps its name but answers nothing at all, not even Ping, until resume()."""
        self.process.send_signal(signal.SIGSTOP)
        # After the signal alone the service could still send one more answer.
        os.waitid(os.P_PID, self.process.pid, os.WSTOPPED)

    def resume(self):
        self.process.send_signal(signal.SIGCONT)

    def stop(self):
        """Ends the program and returns its exit code."""
        if self._connection is not None:
            self._connection.close()
            self._connection = None
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGCONT)
            self.process.terminate()
            try:
                self.process.wait(PATIENCE)
            except subprocess.TimeoutExpired:
                self.process.kill()
        code = self.process.wait()
        self.process.stdout.close()
        if self._state_file is not None:
            self._state_file.close()
        return code

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.stop()

    def _control(self, method, signature=None, *arguments):
        call = new_method_call(CONTROL, method, signature, arguments)
        try:
            body = unwrap_msg(self._connection.send_and_get_reply(call, timeout=PATIENCE))
        except DBusErrorResponse as error:
            raise ValueError(f"{method}: {error.name}: {error.data}") from None
        return body[0] if body else None
