# SPDX-License-Identifier: Apache-2.0
"""A client and an agent that follow docs/wire-protocol.md, with the values of parcels."""

import fcntl
import os
import socket
import struct
from pathlib import Path
from typing import List, Tuple

DEADLINE_S = 20.0
MAIN, CALLBACK = 0, 1


def int32(value: int) -> bytes:
    return struct.pack("<i", value)


def boolean(value: bool) -> bytes:
    return b"\1" if value else b"\0"


def text(value: str) -> bytes:
    return int32(len(value.encode())) + value.encode()


def frame(payload: bytes) -> bytes:
    return struct.pack("<I", len(payload)) + payload


def reply(*values: bytes, result: int = 0, kind: int = 0) -> bytes:
    return frame(int32(kind) + b"".join(values) + int32(result))


def handshake(link: int, token: bytes = bytes(range(16)), name: bytes = b"demo", version: int = 1) -> bytes:
    return frame(b"VKPL" + struct.pack("<IB16sI", version, link, token, len(name)) + name)


class Link:
    """One socket connection."""

    def __init__(self, connection: socket.socket):
        self._socket = connection
        self._socket.settimeout(DEADLINE_S)
        self._received = b""

    def send(self, data: bytes) -> None:
        self._socket.sendall(data)

    def _receive(self, size: int) -> bytes:
        while len(self._received) < size:
            more = self._socket.recv(65536)
            if not more:
                break
            self._received += more
        taken, self._received = self._received[:size], self._received[size:]
        return taken

    def receive(self) -> bytes:
        """The next whole frame; b"" if the peer has closed the link."""
        try:
            head = self._receive(4)
            return head + self._receive(struct.unpack("<I", head)[0]) if len(head) == 4 else b""
        except ConnectionError:
            return b""

    def is_closed_by_peer(self) -> bool:
        return self.receive() == b""

    def close(self) -> None:
        self._socket.close()

    def credentials(self) -> Tuple[int, int, int]:
        """Process, user and group of the peer."""
        return struct.unpack("3i", self._socket.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, 12))


def socket_path(runtime: Path) -> str:
    return str(runtime / "org.korvane.agent.kv_master.sock")


def open_link(runtime: Path) -> Link:
    connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    connection.connect(socket_path(runtime))
    return Link(connection)


class Client:
    """An application's end: two links."""

    def __init__(self, runtime: Path):
        self.main = open_link(runtime)
        self.callback = open_link(runtime)

    def connect(self) -> "Client":
        token = os.urandom(16)
        self.main.send(handshake(MAIN, token))
        self.callback.send(handshake(CALLBACK, token))
        assert self.main.receive() == frame(b"VKPR" + int32(1) + int32(0))
        return self

    def exchange(self, request: bytes) -> bytes:
        self.main.send(request)
        return self.main.receive()

    def is_disconnected(self) -> bool:
        return self.main.is_closed_by_peer() and self.callback.is_closed_by_peer()

    def close(self) -> None:
        self.main.close()
        self.callback.close()


class Agent:
    """An agent's listener, with the package entry that names no program."""

    def __init__(self, directory: Path, version: str = "2.3"):
        self.runtime = directory / "run"
        self.packages = directory / "packages"
        self.runtime.mkdir(mode=0o700)
        self.packages.mkdir()
        (self.packages / "org.korvane.agent.package").write_text(f"[Package]\nVersion={version}\n", encoding="utf-8")
        self._lock = open(self.runtime / "org.korvane.agent.kv_master.lock", "w", encoding="utf-8")
        fcntl.flock(self._lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        self._listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._listener.settimeout(DEADLINE_S)
        self._listener.bind(socket_path(self.runtime))
        os.chmod(socket_path(self.runtime), 0o600)
        self._listener.listen()
        self.handshakes: List[bytes] = []

    def accept_links(self) -> Tuple[Link, Link]:
        """Accepts two links, reads their requests, and returns the main link and the callback link.

        Raises ConnectionError if a link ends without a request."""
        links: List[Link] = []
        for _ in range(2):
            links.append(Link(self._listener.accept()[0]))
            self.handshakes.append(links[-1].receive())
            if not self.handshakes[-1]:
                for link in links:
                    link.close()
                raise ConnectionError("a link ended without a handshake")
        is_main = self.handshakes[-2][12] == MAIN
        return links[0 if is_main else 1], links[1 if is_main else 0]

    def close(self) -> None:
        self._listener.close()
        self._lock.close()
