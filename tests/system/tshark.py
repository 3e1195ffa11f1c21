"""tshark with the project's dissector, and with nothing of the caller's own configuration."""

import os
import pathlib
import shutil
import subprocess
import tempfile

from waiting import PATIENCE

FOLDER = pathlib.Path(__file__).resolve().parents[2] / "tools" / "wireshark"
DISSECTOR = FOLDER / "mvdp.lua"
PLUGIN_FOLDER = pathlib.Path(".local", "lib", "wireshark", "plugins")  # in the home folder
# Separates what a field holds several times; no text of the dissector has it.
SEVERAL = "|"
_ROOT = "Running as user "
_LUA_ERROR, _LUA_ERROR_FIELD = "Lua Error", "_ws.lua.error"

# The dissector's fields and remarks, without "mvdp." in front.
FIELDS = """
    address command cut description excess fixed gateway identity identity.1 identity.2 identity.3 mac magic netmask
    partition partition.ww partition.xxx partition.yy partition.z payload reply request request_in reserved108
    reserved140 reserved32 reserved38 response_in response_time stale tag type unused version
""".split()
REMARKS = """
    bad_command bad_header bad_type bad_version fixed not_applied not_in_force stale too_long too_short
""".split()


def run(*options, copies=()):
    """What tshark says on stdout. A Lua error, while loading or later, fails the test: tshark itself goes on.

    The files of `copies` are put into folders of the home folder, in which its configuration also is:
    (file, folder) each.
    """
    with tempfile.TemporaryDirectory(prefix="mvdp-tshark-") as scratch:
        home = pathlib.Path(scratch)
        for file, folder in copies:
            (home / folder).mkdir(parents=True, exist_ok=True)
            shutil.copy(file, home / folder)
        environment = {"PATH": os.environ.get("PATH", "/usr/bin:/bin"), "HOME": scratch, "TZ": "UTC",
                       "LC_ALL": "C.UTF-8", "WIRESHARK_CONFIG_DIR": scratch}
        done = subprocess.run(["tshark", *map(str, options), "-n", "-X", f"lua_script:{DISSECTOR}"],
                              env=environment, stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=10 * PATIENCE, check=False)
    # Text fields may come cut in the middle of a character.
    out, err = done.stdout.decode(errors="replace"), done.stderr.decode(errors="replace")
    complaints = [line for line in err.splitlines() if line and not line.startswith(_ROOT)]
    assert done.returncode == 0 and not complaints, f"tshark ended with {done.returncode}: {err}"
    assert f"{_LUA_ERROR}: " not in out
    return out


def field_types():
    """The type of every filter name of the dissector's own, as the texts of `tshark -G ftypes` have it."""
    texts = dict(line.split("\t") for line in run("-G", "ftypes").splitlines())
    rows = [line.split("\t") for line in run("-G", "fields").splitlines()]
    return {"mvdp": texts["FT_PROTOCOL"],
            **{row[2]: texts[row[3]] for row in rows if row[0] == "F" and row[2].startswith("mvdp.")}}


def fields(capture, names, *options, copies=()):
    """A dict for each frame: the fields it has, as text."""
    requested = [argument for name in [*names, _LUA_ERROR_FIELD] for argument in ("-e", name)]
    out = run("-r", capture, *options, "-T", "fields", "-E", "occurrence=a", "-E", f"aggregator={SEVERAL}",
              *requested, copies=copies)
    rows = [line.split("\t") for line in out.split("\n")[:-1]]
    assert not [row for row in rows if row[-1]], "a Lua error"
    return [{name: value for name, value in zip(names, row) if value} for row in rows]
