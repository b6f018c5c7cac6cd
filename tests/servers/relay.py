"""A long line to a server: it delays what passes through it, and can limit the rate."""

import queue
import socket
import threading
import time

PIECE = 1 << 18
SLOW_BUFFER = 1 << 16  # what a slow line holds, as the sender sees it


class Relay(threading.Thread):
    """Listens at an address and connects each client to a server. The delay is in seconds and that of one way; the rate
    is in bytes per second, for each way, and 0 means any."""

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
