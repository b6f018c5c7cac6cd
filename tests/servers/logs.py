"""The logs of a run: the module's and the server's."""

import contextlib
import os
import shutil
import subprocess
import sys
from pathlib import Path

from .site import CAN_MOUNT

BUILD = Path(__file__).resolve().parents[2] / "build"
MODULE_LOGS = BUILD / "release/bin/Logfiles"
KEPT_LOGS = BUILD / "log"


@contextlib.contextmanager
def full_log(programs, server_logs):
    """Has the programs of a folder log all that the module can tell, and keeps the logs in KEPT_LOGS.

    Each load of the DLL deletes the log of the load before it. It cannot delete a file that another one is mounted on,
    so there all loads append to one log. A container that cannot mount keeps those of the last two loads."""
    shutil.rmtree(KEPT_LOGS, ignore_errors=True)
    log, settings = programs / "Logfiles/ZDV_FTP_trace.log", programs / "trace.ini"
    kept = KEPT_LOGS / log.name
    for file in log, kept:
        file.parent.mkdir(exist_ok=True)
        file.touch()
        _give_to_user(file.parent, file)
    settings.write_text("[Main]\nZDV_FTP_TraceLevel=4\n")
    if CAN_MOUNT:
        subprocess.run(["mount", "--bind", kept, log], check=True)
    try:
        yield
    finally:
        settings.unlink(missing_ok=True)
        if CAN_MOUNT:
            subprocess.run(["umount", "--lazy", log], check=True)
        else:
            shutil.copytree(log.parent, KEPT_LOGS, dirs_exist_ok=True)
        shutil.copytree(server_logs, KEPT_LOGS, dirs_exist_ok=True)
        _give_to_user(*KEPT_LOGS.iterdir())


def print_ends(files, most_lines):
    for file in sorted(files):
        lines = file.read_text(errors="replace").splitlines()[-most_lines:]
        print(f"--- {file.name}", *lines, sep="\n", file=sys.stderr)


def _give_to_user(*paths):
    for path in paths:
        os.chown(path, int(os.environ["ZDV_SANDBOX_UID"]), int(os.environ["ZDV_SANDBOX_GID"]))
