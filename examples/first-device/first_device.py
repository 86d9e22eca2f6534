#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""A first device in Python: connects to the agent, starts the device service and stops it again. See README.md."""

import asyncio
import signal
import sys
from typing import Callable

import korvane
import korvane.glib
from korvane import ConnectionStatus, ErrorCode, KorvaneError

DONE, STEP_FAILED, NOT_REACHED, LINK_BROKEN = range(4)


def step(what: str, call: Callable[[], object]) -> "ErrorCode | int":
    """Make a call, print its result and return the code."""
    try:
        call()
        code: "ErrorCode | int" = ErrorCode.NONE
    except KorvaneError as error:
        code = error.code
    print(f"{what}: {code.name if isinstance(code, ErrorCode) else code}", flush=True)
    return code


async def main(stay: bool) -> int:
    ended: "asyncio.Future[int]" = asyncio.get_running_loop().create_future()

    def end(status: int) -> None:
        if not ended.done():
            ended.set_result(status)

    def is_being_replaced() -> bool:
        """Return whether the agent is being replaced. The session receives the end of the update, so it is kept."""
        try:
            device.get_easysetup_status()
        except KorvaneError as error:
            return error.code == ErrorCode.SERVICE_UNAVAILABLE
        return False

    async def reconnect() -> None:
        while True:
            await asyncio.sleep(0.1)
            if not is_being_replaced() and step("reopen", device.reopen) == ErrorCode.NONE:
                return

    def run_service() -> None:
        started = step("start", device.start)
        if started == ErrorCode.IO_ERROR:
            return  # the connection handler follows
        if started != ErrorCode.NONE:
            end(STEP_FAILED)
            return
        print("device id:", device.get_device_id())
        if not stay:
            end(DONE if step("stop", device.stop) == ErrorCode.NONE else STEP_FAILED)

    async def changed(status: ConnectionStatus, reason: int) -> None:
        print(f"{status.name.lower()}: {reason}", flush=True)
        if status == ConnectionStatus.CONNECTED:
            run_service()
        elif status == ConnectionStatus.REJECTED:
            end(NOT_REACHED)
        elif stay:
            await reconnect()
        else:
            end(LINK_BROKEN)

    def terminate() -> None:
        if not ended.done():
            end(DONE if step("stop", device.stop) == ErrorCode.NONE else STEP_FAILED)

    try:
        device = korvane.Device(changed)
    except KorvaneError as error:
        print(error)
        return NOT_REACHED
    for number in (signal.SIGTERM, signal.SIGINT):
        asyncio.get_running_loop().add_signal_handler(number, terminate)
    with device:
        return await ended


if __name__ == "__main__":
    sys.exit(korvane.glib.run(main("--stay" in sys.argv[1:])))
