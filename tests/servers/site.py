"""What a server needs around it in the sandbox: the login and its folder, certificate and keys."""

import base64
import hashlib
import os
import pwd
import shutil
import subprocess
from pathlib import Path

from .server import ServerError

ROOT = Path("/run/zelt")
CAN_MOUNT = os.environ.get("ZDV_SANDBOX") != "container"
PASSWORD = "Band & 7%41@:/?"
SMALL_FOLDER_SIZE = 1 << 20


class Site:
    def __init__(self, row):
        self.row = row
        self.uid = int(os.environ["ZDV_SANDBOX_UID"]) or 2000  # who runs the tests may write to the store
        self.store = ROOT / "home" / row.user
        self.home = "/" if row.chrooted else str(self.store)
        self.logs = ROOT / "log"
        self.owner = "server"  # of keys and certificate
        self.password_hash = _run("openssl", "passwd", "-6", PASSWORD).strip()

    def __enter__(self):
        shutil.rmtree(self.store.parent, ignore_errors=True)  # of a run that was killed
        self.store.parent.mkdir(exist_ok=True)
        if CAN_MOUNT:
            _mount_tmpfs(self.store.parent, "mode=755")
        self.store.mkdir()
        os.chown(self.store, self.uid, self.uid)
        if CAN_MOUNT:
            _mount_tmpfs(self.store / "small", f"mode=755,uid={self.uid},gid={self.uid},size={SMALL_FOLDER_SIZE}")
        (self.store / "readonly").mkdir()
        shutil.rmtree(self.logs, ignore_errors=True)
        self.logs.mkdir()
        if all(entry.pw_name != "sshd" for entry in pwd.getpwall()):  # else made by the package's install
            _add_account("sshd:x:2001:65534::/run/sshd:/usr/sbin/nologin", "*")
        if self.row.user.isascii():
            _add_account(self.passwd_line("x"), self.password_hash)
        return self

    def __exit__(self, *_):
        if CAN_MOUNT:
            _run("umount", "--recursive", "--lazy", str(self.store.parent))
        shutil.rmtree(self.store.parent)

    def passwd_line(self, password):
        return f"{self.row.user}:{password}:{self.uid}:{self.uid}::{self.store}:/bin/sh"

    def certificate(self, owner=""):
        """One PEM file with the key and the self-signed certificate, the server's or somebody else's."""
        owner = owner or self.owner
        pem = ROOT / f"{owner}.pem"
        if not pem.exists():
            key, certificate = ROOT / f"{owner}.key", ROOT / f"{owner}.crt"
            _run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-noenc", "-days", "30",
                 "-subj", "/CN=tape.example", "-keyout", str(key), "-out", str(certificate))
            pem.touch(mode=0o600)
            pem.write_bytes(key.read_bytes() + certificate.read_bytes())
        return pem

    def host_key(self, kind):
        key = ROOT / f"{self.owner}_{kind}_key"
        if not key.exists():
            _run("ssh-keygen", "-q", "-t", kind, "-N", "", "-f", str(key))
        return key

    def accept_a_key(self):
        """Makes one that lets the login in, as its password does, and puts both halves where OpenSSH looks for them."""
        key = self.store / ".ssh/id_rsa"
        if not key.exists():
            key.parent.mkdir(mode=0o700)
            _run("ssh-keygen", "-q", "-t", "rsa", "-m", "PEM", "-N", "", "-f", str(key))
            key.with_suffix(".pub").rename(key.with_name("authorized_keys"))
            for path in (key.parent, *key.parent.iterdir()):
                os.chown(path, self.uid, self.uid)

    def keys(self):
        """The server's, as its administrator would tell them."""
        if self.row.scheme == "sftp":
            return [_run("ssh-keygen", "-lf", str(self.host_key(kind))).split()[1] for kind in self.row.host_keys]
        if self.row.scheme == "ftp":
            return []
        pem = _run("openssl", "x509", "-noout", "-pubkey", "-in", str(self.certificate()))
        key = base64.b64decode("".join(pem.splitlines()[1:-1]))
        return ["sha256//" + base64.b64encode(hashlib.sha256(key).digest()).decode()]


def _add_account(passwd_line, password_hash):
    name = passwd_line.split(":")[0]
    for file, line in ("/etc/passwd", passwd_line), ("/etc/shadow", f"{name}:{password_hash}:19000:0:99999:7:::"):
        kept = [old for old in Path(file).read_text().splitlines() if not old.startswith(f"{name}:")]
        Path(file).write_text("\n".join([*kept, line, ""]))


def _mount_tmpfs(folder, options):
    folder.mkdir(exist_ok=True)
    _run("mount", "-t", "tmpfs", "-o", options, "zelt", str(folder))


def _run(*command):
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if done.returncode != 0:
        raise ServerError(f"{command[0]} failed: {done.stderr}")
    return done.stdout
