"""Turns into qemu's user emulation of a program for another machine; the process stays the same.

usage: emulate.py QEMU SYSROOT PROGRAM [ARGUMENT...]

QEMU is one of qemu's programs, as qemu-arm. What the program opens is looked for in SYSROOT first, then on this
machine. Two gaps of qemu 7.2 are closed:

- It refuses CLONE_PIDFD, with which QProcess starts programs when it finds that the kernel has it. QProcess tries that
  by waiting for such a descriptor, so here the kernel does not know how to wait for one.
- It does not look into SYSROOT for faccessat(2), by which 64-bit programs ask whether a file exists. Qt asks so for
  the folder of its plug-ins, and is told of it here.

MVDP_EMULATOR tells the program how it was started, one word in a line, so that it can start itself again.
"""

import ctypes
import errno
import os
import pathlib
import platform
import struct
import sys

_PR_SET_NO_NEW_PRIVS = 38
_PR_SET_SECCOMP = 22
_SECCOMP_MODE_FILTER = 2
_ALLOW = 0x7FFF0000
_ERRNO = 0x00050000
_LOAD, _JUMP_IF_EQUAL, _RETURN = 0x20, 0x15, 0x06  # BPF
_NUMBER, _FIRST_ARGUMENT = 0, 16  # offsets in the kernel's struct seccomp_data
_WAITID = {"x86_64": 247, "aarch64": 95}
_P_PIDFD = 3

_libc = ctypes.CDLL(None, use_errno=True)


class _FilterProgram(ctypes.Structure):
    _fields_ = [("length", ctypes.c_ushort), ("instructions", ctypes.c_char_p)]


def _prctl(option, *arguments):
    if _libc.prctl(option, *arguments, *[0] * (4 - len(arguments))) != 0:
        raise OSError(ctypes.get_errno(), "prctl")


def refuse_to_wait_for_pidfd():
    """From now on, also after an exec, waitid(P_PIDFD) fails as on a kernel before Linux 5.4."""
    instructions = b"".join(struct.pack("=HBBI", *each) for each in (
        (_LOAD, 0, 0, _NUMBER), (_JUMP_IF_EQUAL, 0, 3, _WAITID[platform.machine()]),
        (_LOAD, 0, 0, _FIRST_ARGUMENT), (_JUMP_IF_EQUAL, 0, 1, _P_PIDFD),
        (_RETURN, 0, 0, _ERRNO | errno.EINVAL), (_RETURN, 0, 0, _ALLOW)))
    program = _FilterProgram(len(instructions) // 8, instructions)
    _prctl(_PR_SET_NO_NEW_PRIVS, 1)
    _prctl(_PR_SET_SECCOMP, _SECCOMP_MODE_FILTER, ctypes.byref(program))


def main(qemu, sysroot, *command):
    plugins = ":".join(map(str, sorted(pathlib.Path(sysroot).glob("usr/lib/*/qt[56]/plugins"))))
    refuse_to_wait_for_pidfd()
    os.environ["MVDP_EMULATOR"] = "\n".join([sys.executable, os.path.abspath(__file__), qemu, sysroot])
    os.execvp(qemu, [qemu, "-L", sysroot, "-E", f"QT_PLUGIN_PATH={plugins}", *command])


if __name__ == "__main__":
    main(*sys.argv[1:])
