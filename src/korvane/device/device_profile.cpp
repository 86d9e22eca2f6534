// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/json_handle.hpp"

using namespace kv;
using namespace kv::api;

struct korvane_device_profile_info_s : JsonHandle {
    static constexpr int minimum = since(1, 3);
    static constexpr const char *object_name = "dev_profile_json";
};

namespace {

namespace document = master::documents::device_profile;

constexpr JsonField nick_field{document::nick.key, "nick", since(1, 3)};
constexpr JsonField locale_field{document::locale.key, "locale", since(1, 3)};
constexpr JsonField push_reg_id_field{document::push_reg_id.key, "push_reg_id", since(1, 3)};
constexpr JsonField push_app_id_field{document::push_app_id.key, "push_app_id", since(1, 3)};
constexpr JsonField push_provider_field{document::push_provider.key, "push_provider", since(1, 3)};
constexpr JsonField serial_number_field{document::serial_number.key, "serial_number", document::serial_number.since};

constexpr int device_itself = 0;

} // namespace

int korvane_device_profile_info_create(korvane_device_profile_info_h *dev_profile)
{
    return create_json_handle(Caller::here(), dev_profile);
}

int korvane_device_profile_info_destroy(korvane_device_profile_info_h dev_profile)
{
    return destroy_json_handle(Caller::here(), dev_profile);
}

int korvane_device_profile_info_set_nick(korvane_device_profile_info_h dev_profile, const char *nick)
{
    if (int code = set_json_text(Caller::here(), dev_profile, nick_field, nick))
        return code;
    log::info()("nick [%s]"_fmt, nick);
    return KORVANE_ERROR_NONE;
}

int korvane_device_profile_info_set_locale(korvane_device_profile_info_h dev_profile, const char *locale)
{
    return set_json_text(Caller::here(), dev_profile, locale_field, locale);
}

int korvane_device_profile_info_set_push_reg_id(korvane_device_profile_info_h dev_profile, const char *push_reg_id)
{
    return set_json_text(Caller::here(), dev_profile, push_reg_id_field, push_reg_id);
}

int korvane_device_profile_info_set_push_app_id(korvane_device_profile_info_h dev_profile, const char *push_app_id)
{
    return set_json_text(Caller::here(), dev_profile, push_app_id_field, push_app_id);
}

int korvane_device_profile_info_set_push_provider(korvane_device_profile_info_h dev_profile, const char *push_provider)
{
    return set_json_text(Caller::here(), dev_profile, push_provider_field, push_provider);
}

int korvane_device_profile_info_set_serial_number(korvane_device_profile_info_h dev_profile, const char *serial_number)
{
    return set_json_text(Caller::here(), dev_profile, serial_number_field, serial_number);
}

int korvane_set_device_profile_info(korvane_h handle, korvane_device_profile_info_h dev_profile)
{
    AgentCall call{handle, since(1, 3)};
    ReadyCall &ready = call.require_given(dev_profile, "dev_profile_h").ready();
    if (!ready || !has_object(ready, dev_profile))
        return ready.result();

    return invoke_with_json<master::set_device_profile>(ready, dev_profile->object.get(), device_itself);
}
