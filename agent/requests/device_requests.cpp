// SPDX-License-Identifier: Apache-2.0
#include "handlers.hpp"
#include "values.hpp"

#include <stdexcept>

namespace kv::virtual_agent {

std::optional<Json> document_of(const char *text)
{
    if (std::strlen(text) > max_kept_text)
        return std::nullopt;
    try {
        Json document = Json::parse(text);
        return cJSON_IsObject(document.get()) ? std::optional{std::move(document)} : std::nullopt;
    } catch (const std::invalid_argument &) {
        return std::nullopt;
    }
}

namespace {

/// Stores a document for a device number.
int store_document(std::map<int, std::string> &kept, int device_no, const char *document)
{
    return result_of(document_of(document) && State::set_text(kept, device_no, document));
}

} // namespace

Result<master::send_presence> Handlers::handle(master::send_presence method, Call &, int presence)
{
    keep(method, presence);
    state_.cloud.presence = presence;
    return {};
}

// ---- names and documents -----------------------------------------------------------------------------------------------

Result<master::set_platform_info> Handlers::handle(master::set_platform_info method, Call &,
                                                   const rpc_port_korvane_platform_info_s *info)
{
    keep(method, info);
    Json document = Json::object(); // as newer agents receive it
    document.set("model_number", text_of(info->model_number)).set("p_ver", text_of(info->platform_version));
    return {store_document(state_.cloud.platform_infos, 0, document.text().c_str())};
}

Result<master::set_platform_info_with_device_no> Handlers::handle(master::set_platform_info_with_device_no method,
                                                                  Call &, int device_no, const char *info)
{
    keep(method, device_no, info);
    return {store_document(state_.cloud.platform_infos, device_no, info)};
}

Result<master::set_device_profile> Handlers::handle(master::set_device_profile method, Call &, int device_no,
                                                    const char *profile)
{
    keep(method, device_no, profile);
    return {store_document(state_.cloud.profiles, device_no, profile)};
}

Result<master::set_last_status_info> Handlers::handle(master::set_last_status_info method, Call &,
                                                      const rpc_port_korvane_last_status_info_s *info)
{
    keep(method, info);
    state_.cloud.last_status = LastStatus{info->timestamp, text_of(info->error_code).substr(0, max_kept_text)};
    return {};
}

Result<master::set_nick_name> Handlers::handle(master::set_nick_name method, Call &, int device_no, const char *nick)
{
    keep(method, device_no, nick);
    return {result_of(State::set_text(state_.nicks, device_no, nick))};
}

Result<master::set_device_name> Handlers::handle(master::set_device_name method, Call &, const char *name)
{
    keep(method, name);
    return {result_of(State::set_text(state_.cloud.device_names, 0, name))};
}

Result<master::set_device_name_with_device_no> Handlers::handle(master::set_device_name_with_device_no method, Call &,
                                                                int device_no, const char *name)
{
    keep(method, device_no, name);
    return {result_of(State::set_text(state_.cloud.device_names, device_no, name))};
}

// ---- the terms -------------------------------------------------------------------------------------------------------

Result<master::set_tnc_data> Handlers::handle(master::set_tnc_data method, Call &, const char *data)
{
    keep(method, data);
    if (!document_of(data))
        return {refused};
    state_.cloud.terms.data = data;
    return {};
}

Result<master::set_tnc_url> Handlers::handle(master::set_tnc_url method, Call &, const char *url)
{
    keep(method, url);
    state_.cloud.terms.url = std::string{url}.substr(0, max_kept_text);
    return {};
}

Result<master::set_tnc_type> Handlers::handle(master::set_tnc_type method, Call &, int type)
{
    keep(method, type);
    state_.cloud.terms.type = type;
    return {};
}

Result<master::set_tnc_status> Handlers::handle(master::set_tnc_status method, Call &, int status)
{
    keep(method, status);
    state_.cloud.terms.status = status;
    return {};
}

// ---- sub-devices -----------------------------------------------------------------------------------------------------

Result<master::register_sub_device> Handlers::handle(master::register_sub_device method, Call &, int device_no,
                                                     const char *device_id)
{
    keep(method, device_no, device_id);
    const bool known = state_.sub_devices.count(device_no) > 0;
    if (device_no <= 0 || (!known && state_.sub_devices.size() >= max_devices))
        return {refused};
    state_.sub_devices[device_no].device_id = std::string{device_id}.substr(0, JournalFormat::max_text);
    return {};
}

Result<master::unregister_sub_device> Handlers::handle(master::unregister_sub_device method, Call &, int device_no)
{
    keep(method, device_no);
    return {result_of(state_.sub_devices.erase(device_no) > 0)};
}

/// Sets the presence of all of them or, if one is not registered, of none.
Result<master::set_sub_device_presence> Handlers::handle(master::set_sub_device_presence method, Call &,
                                                         const master::ArrayValue<master::int_array> *device_nos,
                                                         bool presence)
{
    keep(method, device_nos, presence);
    const std::vector<int> numbers{device_nos->items, device_nos->items + device_nos->present};
    for (int number : numbers)
        if (state_.sub_devices.count(number) == 0)
            return {refused};
    for (int number : numbers)
        state_.sub_devices[number].presence = presence ? 1 : 0;
    return {};
}

Result<master::get_sub_device_presence> Handlers::handle(master::get_sub_device_presence, Call &)
{
    Json list = Json::array();
    for (const auto &[number, device] : state_.sub_devices)
        list.append(std::move(Json::object().set("di", device.device_id).set("prs", device.presence)));
    return {done, {list.text()}};
}

} // namespace kv::virtual_agent
