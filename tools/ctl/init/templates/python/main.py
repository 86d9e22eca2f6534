"""@NAME@: connects to the agent, and connects again after each interruption."""

import asyncio
import signal

import korvane
import korvane.glib
from korvane import ErrorCode, SupervisedConnection, SupervisedState


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


def on_state(state: SupervisedState, reason: "ErrorCode | int") -> None:
    """Print each change of the connection."""
    cause = reason.name if isinstance(reason, ErrorCode) else reason
    print(f"{state.name.lower()}: {cause}", flush=True)


async def main() -> None:
    ended = asyncio.Event()
    for number in (signal.SIGTERM, signal.SIGINT):
        asyncio.get_running_loop().add_signal_handler(number, ended.set)

    with SupervisedConnection(configure, on_state) as connection:
        await ended.wait()
        if connection.device is not None:
            connection.device.stop()


if __name__ == "__main__":
    korvane.glib.run(main())
