import os

from .server import Server
from .site import PASSWORD

BELOW_PORT_1024 = "+net_bind_service"


class Rclone(Server):
    """A gateway to a bucket, here a folder. It lets nobody log in to this machine: it runs as the store's owner."""

    remote = "{}"

    def command(self):
        key, owner = self.site.host_key("ed25519"), str(self.site.uid)
        os.chown(key, self.site.uid, -1)
        return ["setpriv", "--reuid", owner, "--regid", owner, "--clear-groups", "--inh-caps", BELOW_PORT_1024,
                "--ambient-caps", BELOW_PORT_1024, "rclone", "serve", "sftp", self.remote.format(self.site.store),
                "--config", "", "--addr", f"{self.row.address}:{self.row.port}", "--key", str(key),
                "--user", self.row.user, "--pass", PASSWORD, "--dir-cache-time", "0",  # tests change the store, too
                "-v"]  # so that it logs logins


class RcloneCrypt(Rclone):
    """What lies in the store has neither its name nor its size. The passwords are obscured as rclone wants them."""

    opaque = True
    remote = (':crypt,remote="{}",password=oSzf8XEHXBKoT0wzDF3jLc8-_a7mZ4zQAe4hEg,'
              'password2=eM_1Xo0UtLE799hLvE-gE49M_DJuWMmt-iUX:')
