#!/usr/bin/python3
"""Usage: faulty_sftp.py ADDRESS PORT UID KEY FAULT

An SSH server for whoever comes, whose SFTP breaks as the file FAULT says once it has given some answers, while the
connection lives on. It wants new keys for every MiB."""

import os
import socket
import sys
import threading
from pathlib import Path

import paramiko
from paramiko.common import cMSG_CHANNEL_REQUEST, cMSG_GLOBAL_REQUEST, MSG_CHANNEL_FAILURE
from paramiko.sftp import CMD_DATA, CMD_HANDLE, CMD_STATUS, SFTP_FAILURE, SFTP_OK

HEALTHY = 60  # answers to reads, writes and the like before anything breaks
MESSAGE = b"Well done, in so many words. " * 150  # 4 KiB

paramiko.packet.Packetizer.REKEY_BYTES = 1 << 20
paramiko.Transport._channel_handler_table[MSG_CHANNEL_FAILURE] = lambda channel, message: None  # else it closes


class Login(paramiko.ServerInterface):
    def check_auth_password(self, username, password):
        return paramiko.AUTH_SUCCESSFUL

    def check_channel_request(self, kind, channel):
        return paramiko.OPEN_SUCCEEDED


class Files(paramiko.SFTPServerInterface):
    def list_folder(self, path):
        return [paramiko.SFTPAttributes.from_stat(entry.stat(), entry.name) for entry in os.scandir(path)]

    def lstat(self, path):
        return paramiko.SFTPAttributes.from_stat(os.stat(path))

    stat = lstat

    def mkdir(self, path, attributes):
        os.mkdir(path)
        return SFTP_OK

    def open(self, path, flags, attributes):
        handle = paramiko.SFTPHandle(flags)
        handle.readfile = handle.writefile = os.fdopen(os.open(path, flags, 0o644), "rb" if flags & 3 == 0 else "wb")
        return handle


class Sftp(paramiko.SFTPServer):
    answers = 0

    def _process(self, kind, number, message):
        try:
            super()._process(kind, number, message)
        except OSError as error:
            self._send_status(number, self.convert_errno(error.errno))

    def _send_packet(self, kind, packet):
        fault = FAULT.read_text()
        self.answers += kind in (CMD_STATUS, CMD_DATA)
        packet = packet.asbytes()
        if fault == "talk":
            packet = self.talk(kind, packet)
        elif fault == "no handle" and kind == CMD_HANDLE:
            self.break_at(fault, kind, packet)
        elif fault not in ("none", "no handle") and self.answers >= HEALTHY:
            kind, packet = self.break_at(fault, kind, packet)
        super()._send_packet(kind, paramiko.Message(packet))

    def talk(self, kind, packet):
        """All that a server may say besides, much of which wants an answer."""
        self.sock.sendall_stderr(MESSAGE)
        for request, channel in ((cMSG_GLOBAL_REQUEST, b""),
                                 (cMSG_CHANNEL_REQUEST, self.sock.remote_chanid.to_bytes(4, "big"))):
            message = paramiko.Message(request + channel + string(b"keepalive") + b"\1")
            self.sock.get_transport()._send_user_message(message)
        return packet[:8] + string(MESSAGE) + string(b"en") if kind == CMD_STATUS else packet

    def break_at(self, fault, kind, packet):
        if fault == "another type":
            return CMD_HANDLE, packet
        if fault == "refusal":
            return CMD_STATUS, packet[:4] + SFTP_FAILURE.to_bytes(4, "big") + string(b"No") + string(b"en")
        if fault == "half a packet":
            self.sock.sendall((string(bytes([kind]) + packet))[:len(packet) // 2])
        if fault == "end of data":
            self.sock.shutdown_write()
            threading.Event().wait()  # takes no more either
        self.sock.close()
        raise EOFError


def string(data):
    return len(data).to_bytes(4, "big") + data


def main():
    listener = socket.create_server((sys.argv[1], int(sys.argv[2])))
    os.setuid(int(sys.argv[3]))
    while True:
        transport = paramiko.Transport(listener.accept()[0])
        transport.add_server_key(paramiko.RSAKey(filename=sys.argv[4]))
        transport.set_subsystem_handler("sftp", Sftp, Files)
        transport.start_server(threading.Event(), Login())


FAULT = Path(sys.argv[5])
main()
