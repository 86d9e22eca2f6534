# SPDX-License-Identifier: Apache-2.0
"""The relay of `korvanectl record --through` passes on every byte, holds up a sender whose receiver does not read, and passes
on the end of each side: relayed_bytes_test.py CTL

The agent here is this process, and the application is this file again, with the word 'application'.
"""

import hashlib
import os
import random
import select
import socket
import subprocess
import sys

PORT = "org.korvane.agent.kv_master.sock"
SIZE = 5_000_000
ENOUGH = 32 * 2**20
DONE = "the application has found no mistake"
SECONDS = 60


def some_bytes(seed):
    return random.Random(seed).randbytes(SIZE)


def connected():
    link = socket.socket(socket.AF_UNIX)
    link.settimeout(SECONDS)
    link.connect(os.path.join(os.environ["KORVANE_RUNTIME_DIR"], PORT))
    return link


def received(link):
    """All bytes until the other side sends no more."""
    digest = hashlib.sha256()
    while data := link.recv(10_000):
        digest.update(data)
    return digest.hexdigest()


def sha(data):
    return hashlib.sha256(data).hexdigest()


def check(is_good, problem):
    if not is_good:
        raise SystemExit(f"FAILED: {problem}")


def hang_up_arrives(link):
    poll = select.poll()
    poll.register(link, 0)
    return bool(poll.poll(1000 * SECONDS))


def application(held_up):
    # 1. Both directions at once; each side says with a half-closed link that it has sent everything.
    with connected() as link:
        if os.fork() == 0:
            link.sendall(some_bytes(1))
            link.shutdown(socket.SHUT_WR)
            os._exit(0)
        check(received(link) == sha(some_bytes(2)), "the application received other bytes")
        check(os.wait()[1] == 0, "the application could not send")
    # 2. An agent that does not read: after what the sockets hold, the application cannot send.
    with connected() as link:
        link.setblocking(False)
        sent = 0
        while sent < ENOUGH and select.select([], [link], [], 1)[1]:
            sent += link.send(bytes(65536))
        check(sent < ENOUGH, "an agent that does not read does not hold up the application")
        with open(held_up, "w", encoding="ascii") as report:
            report.write(str(sent))
    # 3. An agent that closes the link.
    with connected() as link:
        check(hang_up_arrives(link), "the end of the agent does not arrive")
    with open(DONE, "w", encoding="utf-8"):
        pass


def accepted(listener):
    link = listener.accept()[0]
    link.settimeout(SECONDS)
    return link


def agent(listener, held_up):
    with accepted(listener) as link:
        if os.fork() == 0:
            link.sendall(some_bytes(2))
            link.shutdown(socket.SHUT_WR)
            os._exit(0)
        check(received(link) == sha(some_bytes(1)), "the agent received other bytes")
        check(os.wait()[1] == 0, "the agent could not send")
    with accepted(listener) as link:
        sent = int(os.read(held_up, 100))
        while data := link.recv(65536):
            sent -= len(data)
        check(sent == 0, f"{sent} bytes of an application that has closed its link do not arrive")
        check(hang_up_arrives(link), "the end of the application does not arrive")
    accepted(listener).close()


def main():
    if sys.argv[1] == "application":
        return application(sys.argv[2])
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(os.path.join(os.environ["KORVANE_RUNTIME_DIR"], PORT))
        listener.listen()
        held_up, held_up_end = os.pipe()  # the application reports here that it is held up
        words = [sys.executable, __file__, "application", f"/proc/{os.getpid()}/fd/{held_up_end}"]
        with subprocess.Popen([sys.argv[1], "record", "--through", "bytes.json", "--", *words]) as recording:
            probe = accepted(listener)  # the recording checks first whether an agent listens
            probe.close()
            listener.settimeout(SECONDS)
            agent(listener, held_up)
            check(recording.wait(SECONDS) == 0, "the recording failed")
        check(os.path.exists(DONE), "the application found a mistake")
    return None


if __name__ == "__main__":
    main()
