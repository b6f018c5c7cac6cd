"""One way to start, watch, interrupt and end a server with all its children."""

import os
import signal
import socket
import subprocess
import time

START_LIMIT_S = 20
POLL_INTERVAL_S = 0.02

# A namespace of process ids holds the children together, whatever sessions they open. The shell
# in it adopts orphans: vsftpd crashes when it reaps a process that it did not start.
IN_NAMESPACE = ["setpriv", "--pdeathsig", "KILL", "unshare", "--pid", "--fork", "--kill-child",
                "sh", "-c", '"$@"; exit $?', "sh"]


class ServerError(Exception):
    pass


class Server:
    """A subclass writes its configuration and gives the command that stays in the foreground."""

    def __init__(self, site):
        self.site = site
        self.row = site.row
        self._process = None
        self._namespace = None

    def command(self):
        raise NotImplementedError

    def start(self):
        if self._namespace:
            raise ServerError("it is running")
        with open(self.site.logs / "output", "ab") as output:
            self._process = subprocess.Popen(
                IN_NAMESPACE + self.command(), stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                start_new_session=True)
        self._wait_until_live()
        self._namespace = os.readlink(f"/proc/{self._process.pid}/ns/pid_for_children")

    def kill(self):
        """Ends all processes at once; when it returns they are gone."""
        self._signal_all(signal.SIGKILL)
        self._process.wait()
        self._namespace = None

    def stop(self):
        self._signal_all(signal.SIGSTOP)

    def cont(self):
        self._signal_all(signal.SIGCONT)

    def close(self):
        if self._namespace:
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

    def _signal_all(self, number):
        if not self._namespace:
            raise ServerError("it is not running")
        reached = set()
        while fresh := self._pids() - reached:  # a child may be born meanwhile
            for pid in fresh:
                try:
                    os.kill(pid, number)
                except ProcessLookupError:
                    pass
            reached |= fresh

    def _pids(self):
        pids = set()
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                if os.readlink(f"/proc/{pid}/ns/pid") == self._namespace:
                    pids.add(int(pid))
            except OSError:  # it ended meanwhile
                continue
        return pids
