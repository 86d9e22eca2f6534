# SPDX-License-Identifier: Apache-2.0
"""The Python API of Korvane, a library for home devices that a phone provisions and a cloud manages.

    import korvane

    with korvane.Device() as device:
        ...

docs/python.md leads from an empty file to a running device.
"""

from korvane._registrations import set_exception_handler
from korvane.device import ConnectionStatus, Device
from korvane.errors import ErrorCode, KorvaneError
from korvane.received import (
    ChosenAccessPoint,
    CreatedCertificate,
    CreatedToken,
    DeviceProvisioning,
    FoundCertificate,
    HdrTokenInfo,
    SubDevicePresence,
    TcpHeaderInfo,
)
from korvane.subscription import Subscription
from korvane.supervised import SupervisedConnection, SupervisedState
from korvane.values import AccessPoint, CloudInfo, DeviceProfileInfo, LastStatusInfo, PlatformInfo, TncInfo

__all__ = [
    "AccessPoint",
    "ChosenAccessPoint",
    "CloudInfo",
    "ConnectionStatus",
    "CreatedCertificate",
    "CreatedToken",
    "Device",
    "DeviceProfileInfo",
    "DeviceProvisioning",
    "ErrorCode",
    "FoundCertificate",
    "HdrTokenInfo",
    "KorvaneError",
    "LastStatusInfo",
    "PlatformInfo",
    "SubDevicePresence",
    "Subscription",
    "SupervisedConnection",
    "SupervisedState",
    "TcpHeaderInfo",
    "TncInfo",
    "set_exception_handler",
]
