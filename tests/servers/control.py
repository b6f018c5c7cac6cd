"""The channel through which a test breaks its server from outside."""

import functools
import re
import socket
import threading

from .server import ServerError

# What the servers log when they get the user's name. Those that do not log it log a later step. The end of a session
# is logged too late.
LOGIN = rb'(?:(?:USER|password for|authenticating user|login from) |"PUT /.*)%s'


class Control(threading.Thread):
    """Answers lines on 127.0.0.1, one connection at a time.

    kill, stop, cont, start   what a signal does, and its opposite
    fault NAME                breaks a FaultySftp in a way of its own
    replace                   puts a server with other keys in the place of this one, and back
    unseen                    an error if the user's name has got into the server's logs since the last "unseen"
    one of Middle.KINDS       what a Middle does
    middle                    an error if a Middle has got anything
    """

    def __init__(self, server, middle=None):
        super().__init__(daemon=True)
        self._server = server
        self._seen = 0
        self._commands = {"kill": server.kill, "stop": server.stop, "cont": server.cont, "start": server.start,
                          "replace": self._replace, "unseen": self._require_unseen,
                          "fault": getattr(server, "fault", None)}
        if middle:
            self._commands |= {name: functools.partial(middle.become, name) for name in middle.KINDS}
            self._commands["middle"] = middle.require_nothing
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]

    def run(self):
        while True:
            connection, _ = self._listener.accept()
            with connection, connection.makefile("rw", encoding="ascii") as lines:
                for line in lines:
                    lines.write(self._carry_out(line.strip()) + "\n")
                    lines.flush()

    def _replace(self):
        self._server.kill()
        site = self._server.site
        site.owner = "server" if site.owner == "other" else "other"
        self._server.start()

    def _require_unseen(self):
        before = self._seen
        login = re.compile(LOGIN % re.escape(self._server.row.user.encode()))
        self._seen = sum(len(login.findall(file.read_bytes())) for file in self._server.site.logs.iterdir())
        if self._seen > before:
            raise ServerError("the user's name was seen")

    def _carry_out(self, line):
        name, *argument = line.split(" ", 1)
        if name not in self._commands:
            return f"error: {name!r} is not one of {', '.join(self._commands)}"
        try:
            self._commands[name](*argument)
        except (ServerError, OSError, TypeError) as error:
            return f"error: {error}"
        return "ok"
