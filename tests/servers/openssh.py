from .server import Server


class OpenSsh(Server):
    """As the package ships it: its own configuration."""

    def command(self):
        self.site.accept_a_key()
        keys = [argument for kind in self.row.host_keys for argument in ("-h", str(self.site.host_key(kind)))]
        return ["/usr/sbin/sshd", "-D", "-e", "-f", "/usr/share/openssh/sshd_config", *keys,
                "-o", f"ListenAddress={self.row.address}", "-o", f"Port={self.row.port}"]
