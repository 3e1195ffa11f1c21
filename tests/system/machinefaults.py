"""Faults of the machine, switched on and off while the service runs; tests/faults/machinefaults.cpp is loaded into it.

    faults = MachineFaults(folder)
    panel.start_service(environment=faults.environment)
    faults.fail("sendto", errno.EPERM)
    ...
    faults.clear()

Of the functions listed there, each can be told to fail, also for calls of one kind alone: `socket`, `bind`, `connect`
and `sendto` of a family, `setsockopt` of an option, `open64` (Qt's) with an access mode.
"""

import errno
import mmap
import os
import struct

from hwsdsim import build_folder
from waiting import wait_for

ANY = -1
FOREVER = -1
_ORDERS = 32
# Function, kind, error, calls spared, times to fail, calls, failed calls.
_LAYOUT = struct.Struct("=16siiiiII")
_NUMBERS = 16
_ERROR = struct.Struct("=i")
_ERROR_OFFSET = _NUMBERS + 4


class MachineFaults:
    def __init__(self, folder):
        path = folder / "faults"
        path.write_bytes(bytes(_ORDERS * _LAYOUT.size))
        with open(path, "r+b") as file:
            self._orders = mmap.mmap(file.fileno(), 0)
        self._places = {}
        library = build_folder() / "tests" / "faults" / "libmachinefaults.so"
        # The loader would only warn.
        assert library.exists(), f"{library} is not built"
        self.environment = {"LD_PRELOAD": str(library), "MVDP_FAULTS": str(path)}

    def fail(self, function, error, *, kind=ANY, spared=0, times=FOREVER):
        """The next `times` calls fail, after `spared` ones that do not; their count begins anew."""
        place = self._place(function, kind)
        self._set_error(place, 0)
        _LAYOUT.pack_into(self._orders, place, function.encode(), kind, 0, spared, times, 0, 0)
        self._set_error(place, error)

    def take_descriptors(self):
        """Opens nothing for the program's own ends any more. A limit of the process would do the same, but the
        sanitizer of undefined behaviour opens pipes to find out whether an object is one."""
        self.fail("socket", errno.EMFILE)
        self.fail("open64", errno.EMFILE)

    def count(self, function, *, kind=ANY):
        """From now on `calls` tells of the function, which does not fail."""
        self.fail(function, 0, kind=kind)

    def calls(self, function, *, kind=ANY):
        return _LAYOUT.unpack_from(self._orders, self._place(function, kind))[5]

    def failed(self, function, *, kind=ANY):
        return _LAYOUT.unpack_from(self._orders, self._place(function, kind))[6]

    def wait_for_failed(self, function, times=1, *, kind=ANY):
        wait_for(lambda: self.failed(function, kind=kind) >= times,
                 f"{times} failed calls of {function}")

    def clear(self):
        """Nothing fails any more; the counts stay."""
        for place in self._places.values():
            self._set_error(place, 0)

    def forget(self):
        """As at the beginning."""
        self.clear()
        self._orders[:] = bytes(len(self._orders))
        self._places = {}

    def close(self):
        self._orders.close()

    def _place(self, function, kind):
        return self._places.setdefault((function, kind), len(self._places) * _LAYOUT.size)

    def _set_error(self, place, error):
        _ERROR.pack_into(self._orders, place + _ERROR_OFFSET, error)


def name_of(error):
    """For the names of tests."""
    return errno.errorcode[error]


def descriptors(panel):
    """The numbers of the service's open descriptors."""
    return {int(number) for number in os.listdir(f"/proc/{panel.process.pid}/fd")}
