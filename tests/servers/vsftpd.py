from .server import Server
from .site import ROOT

BASE = """\
background=NO
listen=YES
anonymous_enable=NO
local_enable=YES
write_enable=YES
local_umask=022
pam_service_name=vsftpd
secure_chroot_dir=/run/vsftpd/empty
xferlog_enable=YES
log_ftp_protocol=YES
"""

CHROOT = """\
chroot_local_user=YES
allow_writeable_chroot=YES
"""

# The default list of ciphers names none that today's OpenSSL still has.
TLS = """\
ssl_enable=YES
ssl_ciphers=HIGH
force_local_logins_ssl=YES
force_local_data_ssl=YES
require_ssl_reuse=YES
"""


class Vsftpd(Server):
    traits = ("drops-stopped-sessions",)  # takes a stopped session for an ended one, and waits for it

    def command(self):
        row = self.row
        text = BASE + f"listen_address={row.address}\nlisten_port={row.port}\n"
        text += f"vsftpd_log_file={self.site.logs}/commands\n"
        if row.chrooted:
            text += CHROOT
        if row.scheme != "ftp":
            text += TLS + f"rsa_cert_file={self.site.certificate()}\n"
        if row.scheme == "ftps":
            text += "implicit_ssl=YES\n"
        config = ROOT / "vsftpd.conf"
        config.write_text(text)
        return ["vsftpd", str(config)]
