from .server import Server

NO_TLS, TLS_REQUIRED_FOR_DATA_TOO = "0", "3"


class PureFtpd(Server):
    rights = {"DAC_READ_SEARCH": 2, "SYS_NICE": 23}  # it ends at once where one of these is missing

    def command(self):
        row, site = self.row, self.site
        command = ["pure-ftpd", "--bind", f"{row.address},{row.port}", "--login", "unix", "--noanonymous",
                   "--dontresolve", "--minuid", "1", "--altlog", f"clf:{site.logs}/transfers"]
        if row.chrooted:
            command.append("--chrooteveryone")
        if row.scheme == "ftp":
            return command + ["--tls", NO_TLS]
        return command + ["--tls", TLS_REQUIRED_FOR_DATA_TOO, "--certfile", str(site.certificate())]
