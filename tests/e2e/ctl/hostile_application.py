# SPDX-License-Identifier: Apache-2.0
"""An application that sends wrong bytes on several connections, and then runs a correct one: hostile_application.py DEVICE"""

import os
import socket
import struct
import subprocess
import sys

PORT = os.path.join(os.environ["KORVANE_RUNTIME_DIR"], "org.korvane.agent.kv_master.sock")


def frame(payload):
    return struct.pack("<I", len(payload)) + payload


def connection():
    """The two links of a connection that the agent has accepted."""
    token = os.urandom(16)
    links = []
    for number in (0, 1):
        link = socket.socket(socket.AF_UNIX)
        link.connect(PORT)
        link.sendall(frame(b"VKPL" + struct.pack("<IB", 1, number) + token + struct.pack("<I", 7) + b"hostile"))
        links.append(link)
    reply = links[0].recv(16, socket.MSG_WAITALL)
    if reply != frame(b"VKPR" + struct.pack("<Ii", 1, 0)):
        sys.exit(f"the agent replies {reply!r} to a handshake")
    return links


def must_end(link):
    link.settimeout(30)
    if link.recv(1):
        sys.exit("the agent replies to wrong bytes")


for beginning in (frame(b"hello"), b"GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"):
    with socket.socket(socket.AF_UNIX) as link:
        link.connect(PORT)
        link.sendall(beginning)
        must_end(link)

for request in (b"\xff" * 64, frame(struct.pack("<I", 3) + b"\0\0")):
    main, callback = connection()
    main.sendall(request)
    must_end(main)

main, callback = connection()
main.sendall(frame(struct.pack("<I", 999)))
if main.recv(12, socket.MSG_WAITALL) != frame(struct.pack("<ii", 0, -1)):
    sys.exit("the agent does not refuse an unknown method")
callback.sendall(frame(struct.pack("<I", 3)))
main.close()

sys.exit(subprocess.run([sys.argv[1]], check=False).returncode)
