// SPDX-License-Identifier: Apache-2.0
#include "setup_pairs.hpp"

namespace kv::test {

namespace {

const Bytes ap_info_record = bytes(str("home"), str("secret"), i32(2), i32(3), i32(6), str("aa:bb"), i32(-40), i32(54));
const Bytes provisioning_record = bytes(str("en"), str("GB"), str("2026-01-02"), str("phone"), str("someone"));

} // namespace

const std::vector<Pair> setup_pairs = {
    {"WifiApProvisioningBelow13",
     "wifi_ap_provisioning_cb",
     0,
     "1.2",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_wifi_ap_provisioning_cb(handle, Note<'w', korvane_ap_info_h>::call, recorder);
     },
     korvane_unset_wifi_ap_provisioning_cb,
     19,
     20,
     {{7, ap_info_record, "w ap_info", {}}},
     false},
    {"WifiApProvisioningSince13",
     "wifi_ap_provisioning_cb",
     0,
     "1.3",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_wifi_ap_provisioning_cb(handle, Note<'w', korvane_ap_info_h>::call, recorder);
     },
     korvane_unset_wifi_ap_provisioning_cb,
     64,
     65,
     {{18, str("{\"ap_ssid\":\"home\"}"), "w ap_info", {}}},
     false},
    {"ScanAp",
     "scan_ap_cb",
     0,
     "1.0",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_scan_ap_cb(handle, Note<'s', int>::call, recorder);
     },
     korvane_unset_scan_ap_cb,
     23,
     24,
     {{9, i32(77), "s 77", {api_info("_scan_ap_cb", "req_id [77]")}}}},
    {"DeviceProvisioning",
     "device_provisioning_cb",
     0,
     "2.3",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_device_provisioning_cb(handle, Note<'d', korvane_device_prov_info_h>::call, recorder);
     },
     korvane_unset_device_provisioning_cb,
     21,
     22,
     {{8, provisioning_record, "d info", {}}}},
    {"Pin",
     "pin_cb",
     0,
     "1.0",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_pin_cb(handle, Note<'g', const char *, int>::call, Note<'c'>::call, recorder);
     },
     korvane_unset_pin_cb,
     17,
     18,
     {{5, bytes(str("0815"), i32(-1)), "g 0815 -1", {api_info("_pin_generated_cb", "value [-1]")}}, {6, {}, "c", {}}}},
    {"UltrasoundPin",
     "ultrasound_pin_cb",
     1001,
     "1.1",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_ultrasound_pin_cb(handle, Note<'u', const char *, int>::call, Note<'t'>::call, recorder);
     },
     korvane_unset_ultrasound_pin_cb,
     35,
     36,
     {{11, bytes(str(""), i32(5)), "u  5", {api_info("_ultrasound_pin_generated_cb", "value [5]")}},
      {12, {}, "t", {}}}},
    {"StopSoftAp",
     "stop_soft_ap_cb",
     0,
     "1.0",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_stop_soft_ap_cb(handle, Note<'a'>::call, recorder);
     },
     korvane_unset_stop_soft_ap_cb,
     26,
     27,
     {{10, {}, "a", {}}}},
    {"ProvisioningLanguage",
     "provisioning_language_cb",
     1003,
     "1.3",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_provisioning_language_cb(handle, Note<'l', unsigned int, const char *, const char *>::call,
                                                     recorder);
     },
     korvane_unset_provisioning_language_cb,
     56,
     57,
     {{16,
       bytes(i32(-1), str("ui"), str("ko-KR")),
       "l 4294967295 ui ko-KR",
       {api_info("_provisioning_language_cb", "req_id [4294967295], type [ui], value [ko-KR]")}}}},
    {"ProvisioningVendorInfo",
     "provisioning_vendor_info_cb",
     1003,
     "1.3",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_provisioning_vendor_info_cb(handle, Note<'v', int, const char *>::call, recorder);
     },
     korvane_unset_provisioning_vendor_info_cb,
     52,
     53,
     {{15,
       bytes(i32(4), str("{}")),
       "v 4 {}",
       {api_info("_provisioning_vendor_info_cb", "value [4], text length [2]")}}}},
    {"OtmSupportFeature",
     "otm_support_feature_cb",
     1003,
     "2.3",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_otm_support_feature_cb(handle, Note<'o', int>::call, recorder);
     },
     korvane_unset_otm_support_feature_cb,
     48,
     49,
     {{14, i32(3), "o 3", {api_info("_otm_support_feature_cb", "feature [3]")}}}},
    {"ProvisioningGetRequested",
     "provisioning_get_requested_cb",
     1004,
     "1.4",
     [](korvane_h handle, Recorder *recorder) {
         return korvane_set_provisioning_get_requested_cb(handle, Note<'r', const char *, int>::call, recorder);
     },
     korvane_unset_provisioning_get_requested_cb,
     95,
     96,
     {{25,
       bytes(str("what"), i32(8)),
       "r what 8",
       {api_info("_provisioning_get_requested_cb", "text length [4], value [8]")}}}},
};

} // namespace kv::test
