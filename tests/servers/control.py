"""The channel through which a test breaks its server from outside."""

import socket
import threading

from .server import ServerError


class Control(threading.Thread):
    """Answers lines on 127.0.0.1, one connection at a time: kill, stop, cont, start, fault NAME."""

    def __init__(self, server):
        super().__init__(daemon=True)
        self._commands = {"kill": server.kill, "stop": server.stop, "cont": server.cont, "start": server.start,
                          "fault": getattr(server, "fault", None)}
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]

    def run(self):
        while True:
            connection, _ = self._listener.accept()
            with connection, connection.makefile("rw", encoding="ascii") as lines:
                for line in lines:
                    lines.write(self._carry_out(line.strip()) + "\n")
                    lines.flush()

    def _carry_out(self, line):
        name, *argument = line.split(" ", 1)
        if name not in self._commands:
            return f"error: {name!r} is not one of {', '.join(self._commands)}"
        try:
            self._commands[name](*argument)
        except (ServerError, OSError, TypeError) as error:
            return f"error: {error}"
        return "ok"
