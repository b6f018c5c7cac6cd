from .server import Server

NO_TLS, TLS_REQUIRED_FOR_DATA_TOO = "0", "3"


class PureFtpd(Server):
    def command(self):
        row, site = self.row, self.site
        command = ["pure-ftpd", "--bind", f"{row.address},{row.port}", "--login", "unix", "--noanonymous",
                   "--dontresolve", "--minuid", "1", "--altlog", f"clf:{site.logs}/transfers"]
        if row.chrooted:
            command.append("--chrooteveryone")
        if row.scheme == "ftp":
            return command + ["--tls", NO_TLS]
        return command + ["--tls", TLS_REQUIRED_FOR_DATA_TOO, "--certfile", str(site.certificate())]
