import shutil
from pathlib import Path

from .server import Server
from .site import ROOT


class FaultySftp(Server):
    """Our own SFTP server, which breaks as a test asks. It runs as the login, which the tests' folder may be closed to."""

    def command(self):
        program, key = (shutil.copy(path, ROOT / f"faulty.{path.name}") for path in (
            Path(__file__).with_name("faulty_sftp.py"), self.site.host_key("rsa")))
        shutil.chown(key, self.site.uid)
        self.fault("none")
        return ["/usr/bin/python3", str(program), self.row.address, str(self.row.port), str(self.site.uid), str(key),
                str(ROOT / "fault")]

    def fault(self, name):
        (ROOT / "fault").write_text(name)
