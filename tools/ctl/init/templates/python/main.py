"""@NAME@: connects to the agent, and connects again after each interruption."""

import asyncio
import signal

import korvane
import korvane.glib
from korvane import ConnectionStatus, ErrorCode, KorvaneError

FIRST_DELAY_S, MAX_DELAY_S = 0.1, 2.0


def configure(device: korvane.Device) -> None:
    """Register the handlers, describe the device and start its service.

    Runs after each connection, because a new connection has no registrations.
    """

    @device.on_scan_ap
    def scan(req_id: int) -> None:
        """Reply with the networks that the device sees. A real device scans first."""
        device.send_ap_list([korvane.AccessPoint(ssid="home", channel=6)], req_id)

    @device.on_wifi_ap_provisioning
    def chosen(access_point: korvane.ChosenAccessPoint) -> None:
        """Join the network that the phone has chosen. A real device does."""
        print("joining", access_point.ssid, flush=True)

    device.set_device_property("@NAME@", 11, 1)
    device.start()


def is_being_updated(device: korvane.Device) -> bool:
    """Return whether the agent is being replaced. The session must be kept then: it receives the end of the update."""
    try:
        device.get_easysetup_status()
    except KorvaneError as error:
        return error.code == ErrorCode.SERVICE_UNAVAILABLE
    return False


async def main() -> None:
    ended = asyncio.Event()
    for number in (signal.SIGTERM, signal.SIGINT):
        asyncio.get_running_loop().add_signal_handler(number, ended.set)

    async def reconnect() -> None:
        delay = FIRST_DELAY_S
        while True:
            await asyncio.sleep(delay)
            delay = min(2 * delay, MAX_DELAY_S)
            try:
                if not is_being_updated(device):
                    device.reopen()
                    return
            except KorvaneError as error:
                print(error, flush=True)

    async def changed(status: ConnectionStatus, reason: "ErrorCode | int") -> None:
        print(status.name.lower(), flush=True)
        try:
            if status == ConnectionStatus.CONNECTED:
                configure(device)
                return
        except KorvaneError as error:
            print(error, flush=True)
            if error.code == ErrorCode.IO_ERROR:
                return  # this function runs again with the end of the connection
        await reconnect()

    with korvane.Device(changed) as device:
        await ended.wait()
        if device.is_connected:
            device.stop()


if __name__ == "__main__":
    korvane.glib.run(main())
