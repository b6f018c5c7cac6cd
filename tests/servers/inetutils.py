import sys
from pathlib import Path

from .server import Server

# The server's own daemon mode listens at every address, so it is started as inetd does it.
INETD = """\
import signal, socket, subprocess, sys
signal.signal(signal.SIGCHLD, signal.SIG_IGN)
listener = socket.create_server((sys.argv[1], int(sys.argv[2])))
while True:
    connection, _ = listener.accept()
    subprocess.Popen(sys.argv[3:], stdin=connection, stdout=connection)
    connection.close()
"""


class Inetutils(Server):
    """A classic FTP server, which answers NLST of an empty directory with 550."""

    def command(self):
        Path("/etc/ftpusers").touch()
        return [sys.executable, "-c", INETD, self.row.address, str(self.row.port), "ftpd", "-q"]
