from pathlib import Path

from .server import Server
from .site import ROOT

PASSIVE_PORTS = range(20000, 20020)
MODULES = Path("/usr/lib/proftpd")
BUILT_IN_BEFORE_DEBIAN_13 = ("mod_ls", "mod_xfer")
BASE = f"""\
ServerIdent on "ProFTPD"
SocketBindTight on
UseReverseDNS off
User nobody
Group nogroup
PidFile {ROOT}/proftpd.pid
ScoreboardFile {ROOT}/proftpd.scoreboard
AuthOrder mod_auth_file.c
AuthUserFile {ROOT}/proftpd.passwd
RequireValidShell off
<IfModule mod_delay.c>
DelayEngine off
</IfModule>
WtmpLog off
AllowOverwrite on
"""


class ProFtpd(Server):
    traits = ("ftpaccess",)  # settings in a file of that name, such as what a listing leaves out

    def command(self):
        passwd, config = ROOT / "proftpd.passwd", ROOT / "proftpd.conf"
        passwd.touch(mode=0o600)
        passwd.write_text(self.site.passwd_line(self.site.password_hash) + "\n", encoding="utf-8")
        config.write_text("\n".join([*self._modules(), BASE, *self._directives(), ""]))
        return ["proftpd", "--nodaemon", "--config", str(config)]

    def _modules(self):
        yield f"ModulePath {MODULES}"
        yield from (f"LoadModule {name}.c" for name in BUILT_IN_BEFORE_DEBIAN_13 if (MODULES / f"{name}.so").exists())

    def _directives(self):
        row, site = self.row, self.site
        yield from (f"DefaultAddress {row.address}", f"Port {row.port}", f"ExtendedLog {site.logs}/commands ALL")
        if row.middle:
            yield f"PassivePorts {PASSIVE_PORTS[0]} {PASSIVE_PORTS[-1]}"
        if row.chrooted:
            yield "DefaultRoot ~"
        if row.scheme in ("ftpes", "ftps"):
            yield from ("LoadModule mod_tls.c", "TLSEngine on", f"TLSLog {site.logs}/tls", "TLSRequired on",
                        f"TLSProtocol {' '.join(row.tls)}", f"TLSRSACertificateFile {site.certificate()}",
                        f"TLSRSACertificateKeyFile {site.certificate()}")
        if row.scheme == "ftps":
            yield "TLSOptions UseImplicitSSL"
        if row.scheme == "sftp":
            yield from ("LoadModule mod_sftp.c", "SFTPEngine on", f"SFTPLog {site.logs}/sftp")
            if row.rate:
                yield "SFTPRekey required 3600 4"
            yield from (f"SFTPHostKey {site.host_key(kind)}" for kind in row.host_keys)
