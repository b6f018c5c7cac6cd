"""The table of servers that the tests run against."""

from dataclasses import dataclass

from .faulty import FaultySftp
from .inetutils import Inetutils
from .openssh import OpenSsh
from .proftpd import ProFtpd
from .pureftpd import PureFtpd
from .rclone import Rclone, RcloneCrypt
from .server import Server
from .vsftpd import Vsftpd

PORTS = {"ftp": 21, "ftpes": 21, "ftps": 990, "sftp": 22}
UNUSUAL_NAME = "Prüfer zu Haus Яна 日本"

# All but those that need a row of their own. It begins with "-": what is added to it is left out, too.
MOST = "-*Stranger.*:TwoAtOnce.*:WrongPort.*:Memory.*:Stalled.*:*Fault.*:Waiting.*:Middle.*"


@dataclass(frozen=True)
class Row:
    server: type[Server]
    scheme: str  # ftp has no TLS at all; ftpes refuses a login without it
    chrooted: bool = False
    address: str = "127.0.0.1"
    user: str = "tape"
    tls: tuple[str, ...] = ("TLSv1.2", "TLSv1.3")
    host_keys: tuple[str, ...] = ("rsa", "ecdsa", "ed25519")
    other_port: int = 0
    delay_ms: int = 0  # of the line to the server, one way
    rate: int = 0  # bytes that the line takes in a second; 0 for any. A slow SFTP server renews its keys at every 4 MiB
    middle: bool = False  # somebody is between, for those who ask at FAR_ADDRESS
    tests: str = MOST  # of tape_tests, as GoogleTest filters them

    @property
    def port(self):
        return self.other_port or PORTS[self.scheme]


# For rows that differ from another one in an address, a TLS version or a host key
STORY = "Story.BackupIs*:Keys.*"
# In the login folder or the user's name
ROOTS = STORY + ":*Root*"
# What depends on the line's length
FAR = "Flight.*:Story.ClosingEnds*:Story.OptionsTake*:*FullDisk*:*KilledServer*"
# Where tests can break the server, but not see what it holds
WITHOUT_STORE = "Story.*:Flight.*:Server.EmptyRoot*:Server.Failed*:Server.Retry*:*KilledServer*"

ROWS = {
    "proftpd-ftp": Row(ProFtpd, "ftp", chrooted=True),
    "proftpd-ftp-unchrooted": Row(ProFtpd, "ftp", tests=ROOTS),
    "proftpd-ftp-ipv6": Row(ProFtpd, "ftp", address="::1", tests=STORY),
    "proftpd-ftp-names": Row(ProFtpd, "ftp", user=UNUSUAL_NAME, tests=ROOTS),
    "proftpd-ftpes": Row(ProFtpd, "ftpes", chrooted=True, middle=True),
    "proftpd-ftpes-ipv6": Row(ProFtpd, "ftpes", address="::1", tests=STORY),
    "proftpd-ftpes-tls12": Row(ProFtpd, "ftpes", tls=("TLSv1.2",), tests=STORY),
    "proftpd-ftps": Row(ProFtpd, "ftps", chrooted=True, middle=True),
    "proftpd-sftp": Row(ProFtpd, "sftp", chrooted=True),
    "proftpd-sftp-slow": Row(ProFtpd, "sftp", delay_ms=25, rate=1_000_000, tests="Flight.EverySize*:Waiting.*"),
    "proftpd-sftp-unchrooted": Row(ProFtpd, "sftp", tests=ROOTS),
    "proftpd-sftp-ipv6": Row(ProFtpd, "sftp", address="::1", tests=STORY),
    "proftpd-sftp-names": Row(ProFtpd, "sftp", user=UNUSUAL_NAME, tests=ROOTS),
    "vsftpd-ftp": Row(Vsftpd, "ftp"),
    "vsftpd-ftpes": Row(Vsftpd, "ftpes"),
    "vsftpd-ftps": Row(Vsftpd, "ftps", chrooted=True),
    "pureftpd-ftp": Row(PureFtpd, "ftp", chrooted=True),
    "pureftpd-ftpes": Row(PureFtpd, "ftpes"),
    "inetutils-ftp": Row(Inetutils, "ftp", tests=MOST + ":Keys.*"),  # its log tells of no login
    "openssh-sftp": Row(OpenSsh, "sftp"),
    "openssh-sftp-far": Row(OpenSsh, "sftp", delay_ms=25, tests=FAR),
    "faulty-sftp": Row(FaultySftp, "sftp", tests="*Fault.*"),
    "openssh-sftp-rsa": Row(OpenSsh, "sftp", host_keys=("rsa",), tests=STORY),
    "openssh-sftp-ecdsa": Row(OpenSsh, "sftp", host_keys=("ecdsa",), tests=STORY),
    "openssh-sftp-ed25519": Row(OpenSsh, "sftp", host_keys=("ed25519",), tests=STORY),
    # It removes an object that it could not write in full: those after it move up
    "rclone-sftp": Row(Rclone, "sftp", chrooted=True, tests=Row.tests + ":*FullDisk*"),
    "rclone-crypt": Row(RcloneCrypt, "sftp", chrooted=True, tests=WITHOUT_STORE),
}
