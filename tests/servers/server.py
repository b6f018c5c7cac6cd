"""One way to start, watch, interrupt and end a server with all its children."""

import ctypes
import os
import signal
import socket
import subprocess
import time
from pathlib import Path

START_LIMIT_S = 20
POLL_INTERVAL_S = 0.02

PR_SET_CHILD_SUBREAPER = 36

# The shell adopts the server's orphans, so that all its processes can be found, whatever sessions they open. If
# vsftpd adopted them, it would crash when it reaps a process that it did not start. Each dies with the one before it.
UNDER_SHELL = ["setpriv", "--pdeathsig", "KILL", "sh", "-c", '"$@"; exit $?', "sh", "setpriv", "--pdeathsig", "KILL"]


def adopt_orphans():
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def processes():
    """The live ones of this machine, each with its parent."""
    parents = {}
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
        except OSError:  # it ended meanwhile
            continue
        state, parent, threads = fields[0], fields[1], fields[17]
        if state not in "ZX" or int(threads) > 1:  # the first thread may end before others, which hold the ports
            parents[int(pid)] = int(parent)
    return parents


def signal_each(pids, number):
    for pid in pids:
        try:
            os.kill(pid, number)
        except ProcessLookupError:
            pass


class ServerError(Exception):
    pass


class Server:
    """A subclass writes its configuration and gives the command that stays in the foreground."""

    rights = {}  # capabilities, and their bits, that it needs and containers lack
    traits = ()  # what it does unlike others, for tests that depend on it
    opaque = False  # whether its store shows nobody else what it holds

    def __init__(self, site):
        self.site = site
        self.row = site.row
        self._process = None
        self._running = False

    def command(self):
        raise NotImplementedError

    def start(self):
        if self._running:
            raise ServerError("it is running")
        if self._is_listening():
            raise ServerError(f"port {self.row.port} is another program's")
        with open(self.site.logs / "output", "ab") as output:
            self._process = subprocess.Popen(
                UNDER_SHELL + self.command(), stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                start_new_session=True, preexec_fn=adopt_orphans)
        self._running = True
        self._wait_until_live()

    def kill(self):
        """Ends all processes at once; when it returns they are gone."""
        self._require_running()
        self._process.send_signal(signal.SIGSTOP)  # the shell must not leave before the orphans
        while pids := self._pids():
            signal_each(pids, signal.SIGKILL)
        self._process.kill()
        self._process.wait()
        self._running = False

    def stop(self):
        self._signal_all(signal.SIGSTOP)

    def cont(self):
        self._signal_all(signal.SIGCONT)

    def close(self):
        if self._running:
            self.kill()

    def _wait_until_live(self):
        deadline = time.monotonic() + START_LIMIT_S
        while True:
            if self._process.poll() is not None:
                raise ServerError(f"it ended with code {self._process.returncode} while starting")
            try:
                return self._expect_greeting()
            except ConnectionRefusedError as error:
                if time.monotonic() > deadline:
                    raise ServerError(f"port {self.row.port} stays closed for {START_LIMIT_S} s") from error
            time.sleep(POLL_INTERVAL_S)

    def _expect_greeting(self):
        with socket.create_connection((self.row.address, self.row.port), timeout=START_LIMIT_S) as connection:
            # with implicit TLS the client speaks first
            if self.row.scheme != "ftps" and (greeting := connection.recv(3)) not in (b"220", b"SSH"):
                raise ServerError(f"its greeting begins with {greeting!r}")

    def _is_listening(self):
        with socket.socket(socket.AF_INET6 if ":" in self.row.address else socket.AF_INET) as probe:
            return probe.connect_ex((self.row.address, self.row.port)) == 0

    def _require_running(self):
        if not self._running:
            raise ServerError("it is not running")

    def _signal_all(self, number):
        self._require_running()
        reached = set()
        while fresh := self._pids() - reached:  # a child may be born meanwhile
            signal_each(fresh, number)
            reached |= fresh

    def _pids(self):
        """Of the server's processes, without the shell."""
        parents = processes()
        family = {self._process.pid}
        while found := {pid for pid, parent in parents.items() if parent in family} - family:
            family |= found
        return family - {self._process.pid}
