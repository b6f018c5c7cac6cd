"""What may lie between a client and its server: a long line, or somebody with plans of his own."""

import queue
import socket
import ssl
import threading
import time

from .server import ServerError

PIECE = 1 << 18
SLOW_BUFFER = 1 << 16  # what a slow line holds, as the sender sees it


class Relay(threading.Thread):
    """A long line: it delays what passes through it, and can limit the rate. Listens at an address and connects each
    client to a server. The delay is in seconds and that of one way; the rate is in bytes per second, for each way, and
    0 means any."""

    def __init__(self, address, server, delay, rate=0):
        super().__init__(daemon=True)
        self._listener = socket.create_server(address)
        self._server = server
        self._delay = delay
        self._rate = rate
        if rate:
            self._listener.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, SLOW_BUFFER)

    def run(self):
        while True:
            client, _ = self._listener.accept()
            try:
                server = socket.create_connection(self._server)
            except OSError:
                client.close()
                continue
            for source, target in ((client, server), (server, client)):
                source.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                pieces = queue.SimpleQueue()
                threading.Thread(target=self._receive, args=(source, pieces), daemon=True).start()
                threading.Thread(target=_deliver, args=(pieces, target), daemon=True).start()

    def _receive(self, source, pieces):
        piece = b"first"
        while piece:
            try:
                piece = source.recv(PIECE)
            except OSError:  # a reset arrives as an end
                piece = b""
            if self._rate:
                time.sleep(len(piece) / self._rate)
            pieces.put((time.monotonic() + self._delay, piece))


def _deliver(pieces, target):
    piece = b"first"
    while piece:
        due, piece = pieces.get()
        time.sleep(max(0.0, due - time.monotonic()))
        try:
            target.sendall(piece)
            if not piece:
                target.shutdown(socket.SHUT_WR)
        except OSError:  # nobody is there any more
            return


class Middle:
    """Somebody between client and server, who is met at another address. He passes on all that comes to the ports
    until he becomes something else, the first port being that of commands."""

    # What each answers with a refusal of his own; libcurl asks for SSL first.
    KINDS = {"passes": (), "strips": b"AUTH", "denies": (b"234", b"AUTH TLS"), "impersonates": (), "takes": ()}

    def __init__(self, address, server, ports, certificate, implicit):
        self._server = server
        self._implicit = implicit  # TLS is not asked for
        self._tls = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        self._tls.load_cert_chain(certificate)
        self._kind = "passes"
        self._told = b""
        for port in ports:
            arguments = socket.create_server((address, port)), port, port == ports[0]
            threading.Thread(target=self._listen, args=arguments, daemon=True).start()

    def become(self, kind):
        self._kind = kind

    def require_nothing(self):
        if self._told:
            raise ServerError(f"it was told {self._told!r}")

    def _listen(self, listener, port, commands):
        while True:
            client, _ = listener.accept()
            server = socket.create_connection((self._server, port))
            if self._kind == ("impersonates" if commands else "takes"):
                threading.Thread(target=self._play_server, args=(client, server, commands), daemon=True).start()
                continue
            for source, target in ((client, server), (server, client)):
                threading.Thread(target=self._pass_on, args=(source, target, client), daemon=True).start()

    def _pass_on(self, source, target, client):
        try:
            while piece := source.recv(PIECE):
                if piece.startswith(self.KINDS[self._kind]):
                    client.sendall(b"500 There is no such thing.\r\n")
                else:
                    target.sendall(piece)
            target.shutdown(socket.SHUT_WR)
        except OSError:  # one of them has hung up
            return

    def _play_server(self, client, server, commands):
        if commands and not self._implicit:
            client.sendall(b"220 Ready.\r\n")
            client.recv(PIECE)
            client.sendall(b"234 Go on.\r\n")
        try:
            with server, self._tls.wrap_socket(client, server_side=True) as told:
                self._told += told.recv(80)
        except OSError:  # it hung up
            return
