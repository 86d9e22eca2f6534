# SPDX-License-Identifier: Apache-2.0
"""Each method sends what its arguments say; each event reaches its handler."""

import json
from pathlib import Path
from typing import Any, Callable, List

import pytest

import korvane
from korvane import ErrorCode
from korvane.testing import Agent

# Each request with its method and the arguments that the agent must receive.
REQUESTS: List[Any] = [
    (lambda d: d.set_device_property("lamp", 1, 3), "set_device_property",
     {"device_name": "lamp", "wifi_mode": 1, "wifi_freq": 3}),
    (lambda d: d.set_device_property_with_wifi_authtype("lamp", 1, 3, [1, 2]), "common_interface", {}),
    (lambda d: d.start(), "start", {}),
    (lambda d: d.set_random_pin("1234"), "set_random_pin", {}),
    (lambda d: d.unset_random_pin(), "unset_random_pin", {}),
    (lambda d: d.set_preconfigured_pin("4321"), "set_preconfigured_pin", {}),
    (lambda d: d.set_mot_status(True), "set_mot_status", {"enable": True}),
    (lambda d: d.set_gatt_ble(True), "set_gatt_ble", {"enable": True}),
    (lambda d: d.set_language_list(["en-GB", "ko-KR"]), "set_language_list",
     {"languages": [{"language": "en-GB"}, {"language": "ko-KR"}]}),
    (lambda d: d.set_provisioning_vendor_info('{"v":1}'), "set_provisioning_vendor_info", {}),
    (lambda d: d.set_wifi_connection_error_code(3), "set_wifi_connection_error_code", {"error_code": 3}),
    (lambda d: d.set_sso_list("list"), "set_sso_list", {}),
    (lambda d: d.set_easysetup_version_info("7"), "set_easysetup_version_info", {"version_info": "7"}),
    (lambda d: d.set_platform_info(korvane.PlatformInfo(model_number="M-1", firmware_version="4.2")),
     "set_platform_info_with_device_no", {"device_no": 0}),
    (lambda d: d.set_platform_info_with_device_no(korvane.PlatformInfo(model_number="M-3"), 3),
     "set_platform_info_with_device_no", {"device_no": 3}),
    (lambda d: d.set_last_status_info(korvane.LastStatusInfo(17, "E-12")), "set_last_status_info",
     {"last_status_info": {"timestamp": 17, "error_code": "E-12"}}),
    (lambda d: d.set_device_profile_info(korvane.DeviceProfileInfo(nick="attic", serial_number="S-9")),
     "set_device_profile", {"device_no": 0}),
    (lambda d: d.set_regist_set_device("rsd"), "set_regist_set_device", {"regist_set_device": "rsd"}),
    (lambda d: d.set_nick_name(0, "lamp"), "set_nick_name", {"device_no": 0, "nick": "lamp"}),
    (lambda d: d.set_device_name("Lamp"), "set_device_name", {"device_name": "Lamp"}),
    (lambda d: d.set_device_name_with_device_no("Lamp", 0), "set_device_name_with_device_no",
     {"device_no": 0, "device_name": "Lamp"}),
    (lambda d: d.set_device_type_with_device_no(0, "light"), "common_interface", {}),
    (lambda d: d.set_keepalive_intervals([30, 60]), "set_keepalive_intervals",
     {"intervals": [{"interval": 30}, {"interval": 60}]}),
    (lambda d: d.select_keepalive_intervals([1]), "select_keepalive_intervals", {"indexes": [{"index": 1}]}),
    (lambda d: d.send_presence(1), "send_presence", {"presence": 1}),
    (lambda d: d.register_sub_device(1, "lamp-1"), "register_sub_device", {"device_no": 1, "device_id": "lamp-1"}),
    (lambda d: d.set_sub_device_presence([1], True), "set_sub_device_presence",
     {"device_nos": [1], "presence": True}),
    (lambda d: d.unregister_sub_device(1), "unregister_sub_device", {"device_no": 1}),
    (lambda d: d.set_tnc_info(korvane.TncInfo("2024-05", "Terms of use")), "set_tnc_data", {}),
    (lambda d: d.set_tnc_url("https://terms.example.org"), "set_tnc_url", {"url": "https://terms.example.org"}),
    (lambda d: d.set_tnc_type(5), "set_tnc_type", {"type": 5}),
    (lambda d: d.set_tnc_status(1), "set_tnc_status", {"status": 1}),
    (lambda d: d.send_custom_push_msg('{"title":"done"}'), "common_interface", {}),
    (lambda d: d.disable_signin(True), "common_interface", {}),
    (lambda d: d.stop(), "stop", {}),
]


def test_every_request_reaches_the_agent(korvane_agent: Agent, device: korvane.Device) -> None:
    for request, method, arguments in REQUESTS:
        request(device)
        korvane_agent.wait_for_call(method, **arguments)
    snapshot = json.dumps(korvane_agent.ask("snapshot"))
    for text in ("4321", "M-1", "4.2", "S-9", "attic", "2024-05", "Terms of use"):
        assert text in snapshot


def test_replies_to_questions_reach_the_agent(korvane_agent: Agent, device: korvane.Device) -> None:
    """The agent refuses some of them, because it has not asked."""
    for method in (
        lambda: device.send_user_confirm(True),
        lambda: device.send_reset_confirm(False),
        lambda: device.send_provisioning_language_setting_result(1, True),
        lambda: device.disconnect_cloud_session(),
        lambda: device.reset(),
    ):
        try:
            method()
        except korvane.KorvaneError as error:
            assert error.code == ErrorCode.OPERATION_FAILED
    for name in ("send_user_confirm", "send_reset_confirm", "send_provisioning_language_setting_result",
                 "disconnect_cloud_session", "reset"):
        assert korvane_agent.count_calls(name) == 1, name


def test_values_are_read(device: korvane.Device, failure_of: Callable[..., object]) -> None:
    assert device.get_device_id()
    assert device.get_easysetup_status() is False
    assert device.get_device_owned_status() is False
    assert failure_of(device.get_sub_device_presence_list) == ErrorCode.NO_DATA
    device.register_sub_device(1, "lamp-1")
    device.set_sub_device_presence([1], True)
    assert device.get_sub_device_presence_list() == [korvane.SubDevicePresence("lamp-1", 1)]


def test_sign_up_leads_to_a_session(korvane_agent: Agent, device: korvane.Device) -> None:
    events: List[str] = []
    device.on_signup_status_changed(lambda status: events.append(f"signed up {status}"))
    device.on_signin_status_changed(lambda status: events.append(f"signed in {status}"))
    device.start()
    device.sign_up_cloud(
        korvane.CloudInfo(
            region="region-1",
            auth_provider="provider",
            access_token="token",
            refresh_token="refresh",
            user_id="user",
            client_id="client",
            cloud_interface_server="https://cloud.example.org",
            deploy_environment="prod",
            token_type=2,
        )
    )
    korvane_agent.run_until(lambda: len(events) == 2)
    assert events == ["signed up True", "signed in True"]
    assert device.get_signup_status() and device.get_signin_status()
    assert device.get_thing_status() == 2
    header = device.get_tcp_header_info()
    assert header.ip_version == 4 and header.src_addr and header.dst_port and header.window_scale is not None
    device.send_keepalive()
    korvane_agent.wait_for_call("send_keepalive")
    snapshot = json.dumps(korvane_agent.ask("snapshot"))
    assert all(text in snapshot for text in ("region-1", "user", "prod", "https://cloud.example.org"))


@pytest.mark.korvane_agent(version="1.4")
def test_an_old_agent_gets_what_it_knows_if_asked(
    korvane_agent: Agent, device: korvane.Device, failure_of: Callable[..., object]
) -> None:
    device.start()
    account = korvane.CloudInfo(access_token="token", user_id="user", token_type=2)
    assert failure_of(device.sign_up_cloud, account) == ErrorCode.AGENT_VERSION_LOWER
    assert korvane_agent.count_calls("signup_cloud") == 0
    device.sign_up_cloud(account, leave_out_too_new=True)
    korvane_agent.wait_for_call("signup_cloud", cloud_info={"user_id": "<secret, 4 bytes>"})


@pytest.mark.parametrize("version", ["2.2", "2.3"])
def test_a_scan_is_answered(version: str) -> None:
    with Agent(version) as agent, korvane.Device() as device:
        agent.run_until(lambda: device.is_connected)

        @device.on_scan_ap
        def scan(req_id: int) -> None:
            home = korvane.AccessPoint(
                ssid=b"h\xffme", bssid="02:00:00:00:00:01", authtype=3, enctype=4, channel=6, signal_level=-48,
                max_rate=54, frequency=2437,
            )
            device.send_ap_list([home, korvane.AccessPoint("attic")], req_id, leave_out_too_new=True)

        device.start()
        agent.phone("connect")
        agent.phone("scan")
        agent.until("setup.networks.#", 2)
        agent.until("setup.networks.0.channel", 6)
        agent.until("setup.networks.1.ssid", "attic")
        assert scan.active


def test_every_event_reaches_its_handler_until_it_is_unset(korvane_agent: Agent, device: korvane.Device) -> None:
    seen: List[Any] = []

    def note(*values: Any) -> None:
        seen.append(values)

    def access_point(chosen: korvane.ChosenAccessPoint) -> None:
        assert chosen
        seen.append((chosen.ssid, chosen.password, chosen.authtype, chosen.enctype, chosen.channel,
                     chosen.candidate_ap, chosen.bssid))

    def provisioning(info: korvane.DeviceProvisioning) -> None:
        seen.append((info.language, info.country, info.datetime, info.regist_mobile_device))

    chosen = {"ap_ssid": "home", "ap_pwd": "secret", "ap_authtype": 2, "ap_enctype": 3, "ap_channel": 6,
              "ap_bssid": "02:00:00:00:00:01", "ap_candidates": "[]"}
    place = {"language": "en", "country": "GB", "datetime": "2026-01-02", "rmd": "phone"}
    pin = device.on_pin(note, lambda: note("closed"))
    sound = device.on_ultrasound_pin(note, lambda: note("stopped"))
    events: List[Any] = [
        (device.on_status_changed(note), "status_changed_cb", [-5], (-5,)),
        (device.on_user_confirm(note), "user_confirm_cb", [], ()),
        (device.on_reset_confirm(note), "reset_confirm_cb", [], ()),
        (device.on_reset_result(note), "reset_result_cb", [True], (True,)),
        (pin, "pin_generate_cb", ["0815", 3], ("0815", 3)),
        (pin, "pin_display_close_cb", [], ("closed",)),
        (sound, "ultrasound_pin_generate_cb", ["4711", 2], ("4711", 2)),
        (sound, "ultrasound_pin_stop_cb", [], ("stopped",)),
        (device.on_stop_soft_ap(note), "softap_stop_cb", [], ()),
        (device.on_scan_ap(note), "scan_ap_cb", [77], (77,)),
        (device.on_provisioning_language(note), "provisioning_language_cb", [9, "ui", "ko-KR"], (9, "ui", "ko-KR")),
        (device.on_provisioning_vendor_info(note), "provisioning_vendor_info_cb", [2, "vendor"], (2, "vendor")),
        (device.on_otm_support_feature(note), "otm_support_feature_cb", [3], (3,)),
        (device.on_provisioning_get_requested(note), "provisioning_get_requested_cb", ["what", 6], ("what", 6)),
        (device.on_signin_status_changed(note), "signin_status_changed_cb", [True], (True,)),
        (device.on_signup_status_changed(note), "signup_status_changed_cb", [False], (False,)),
        (device.on_tcp_session_disconnected(note), "tcp_session_disconnected_cb", [104], (104,)),
        (device.on_last_status_changed(note), "last_status_changed_cb", ["E-12"], ("E-12",)),
        (device.on_nick_changed(note), "nick_changed_cb", [3, "attic"], (3, "attic")),
        (device.on_keepalive_result(note), "keepalive_result_cb", [-1], (-1,)),
        (device.on_diagnostics(note), "diagnostics_cb", [5, "report"], (5, "report")),
        (device.on_tnc_result(note), "tnc_result_cb", ["agreed"], ("agreed",)),
        (device.on_cloud_device_list(note), "cloud_device_list_cb",
         [[{"device_id": "d-1"}, {"device_id": "d-2"}]], (["d-1", "d-2"],)),
        (device.on_wifi_ap_provisioning(access_point), "wifi_ap_prov_with_candidates_cb", [chosen],
         ("home", "secret", 2, 3, 6, "[]", "02:00:00:00:00:01")),
        (device.on_device_provisioning(provisioning), "device_provisioning_cb", [place],
         ("en", "GB", "2026-01-02", "phone")),
    ]
    for subscription, event, values, expected in events:
        assert subscription.active
        seen.clear()
        korvane_agent.ask(f"emit {event} {json.dumps(values)}")
        korvane_agent.run_until(lambda: bool(seen))
        assert seen == [expected], event
    for subscription, _, _, _ in events:
        subscription.unset()
        assert not subscription.active
    unset = {entry["method"] for entry in korvane_agent.journal() if entry.get("method", "").startswith("unset_")}
    assert len(unset) == 23
    seen.clear()
    for _, event, values, _ in events:
        korvane_agent.ask(f"emit {event} {json.dumps(values)}")
    assert seen == []


def test_io_errors_are_reported(korvane_agent: Agent, failure_of: Callable[..., object]) -> None:
    changes: List[Any] = []
    broken: List[str] = []
    with korvane.Device(lambda status, reason: changes.append((status, reason))) as device:
        korvane_agent.run_until(lambda: device.is_connected)
        device.on_rpc_io_error(lambda: broken.append("earlier")).unset()
        device.on_rpc_io_error(lambda: broken.append("broken"))
        korvane_agent.fault("start", "die")
        assert failure_of(device.start) == ErrorCode.IO_ERROR
        korvane_agent.run_until(lambda: broken == ["broken"] and len(changes) == 2)
    assert changes == [
        (korvane.ConnectionStatus.CONNECTED, ErrorCode.NONE),
        (korvane.ConnectionStatus.DISCONNECTED, ErrorCode.NONE),
    ]


def test_a_session_that_cannot_end_is_ended_by_the_next_one(
    korvane_agent: Agent, failure_of: Callable[..., object]
) -> None:
    device = korvane.Device()
    korvane_agent.run_until(lambda: device.is_connected)
    package = next(Path(korvane_agent.directory).glob("packages/*.package"))
    content = package.read_text()
    package.unlink()
    # The library looks for the agent again, and then refuses every call.
    assert failure_of(korvane.Device) == ErrorCode.NOT_SUPPORTED
    device.close()
    assert failure_of(korvane.Device) == ErrorCode.NOT_SUPPORTED
    package.write_text(content)
    with korvane.Device() as another:
        korvane_agent.run_until(lambda: another.is_connected)


def test_one_shot_requests_complete(korvane_agent: Agent, device: korvane.Device) -> None:
    korvane_agent.ask("personality owned-and-signed-in")
    done: List[Any] = []
    device.start_async(done=lambda result: done.append(("start", result)))
    device.get_group_id(done=lambda group: done.append(("group", bool(group))))
    device.create_hdr_token_info(done=lambda result, token: done.append(("token", result, bool(token.token))))
    device.create_hdr_token_info_custom("{}", done=lambda result, token: done.append(("custom", result, bool(token))))
    device.create_hdr_certificate("light", "no request", done=lambda result, text: done.append(("new", result != 0)))
    device.get_hdr_certificate("light", "none", done=lambda result, one, two: done.append(("old", result != 0)))
    korvane_agent.run_until(lambda: len(done) == 6)
    assert sorted(done) == [("custom", 0, True), ("group", True), ("new", True), ("old", True), ("start", 0),
                            ("token", 0, True)]
