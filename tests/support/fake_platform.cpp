// SPDX-License-Identifier: Apache-2.0
#include "fake_platform.hpp"

#include <dlog.h>
#include <last_result.h>
#include <package_info.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

using namespace kv::test;

namespace {

thread_local int last_result = 0;

FakePlatform &platform()
{
    return FakePlatform::instance();
}

} // namespace

namespace kv::test {

int FaultPlan::next(const char *function, int natural_code)
{
    if (!armed_)
        return 0;
    const unsigned of_this_name = ++calls_by_name_[function];
    if (++calls_ != nth_)
        return 0;
    function_ = std::string(function) + " " + std::to_string(of_this_name);
    return natural_code;
}

FakePlatform &FakePlatform::instance()
{
    static FakePlatform the_platform;
    return the_platform;
}

void FakePlatform::reset()
{
    agent_version = "2.3.1";
    trusts_array_counts = false;
    finishes_after_destroy = false;
    returns_null_for_empty = false;
    on_new_proxy = nullptr;
    results.clear();
    faults = {};
    log = {};
    calls.clear();
    proxies_.clear();
    handles_.clear();
    by_address_.clear();
    misuses_.clear();
    last_result = 0;
}

unsigned FakePlatform::calls_to(std::string_view function) const
{
    return static_cast<unsigned>(std::count(calls.begin(), calls.end(), function));
}

Proxy &FakePlatform::proxy()
{
    if (proxies_.empty())
        throw std::logic_error("no proxy was created");
    return *proxies_.back();
}

std::vector<EventHandler *> FakePlatform::event_handlers()
{
    std::vector<EventHandler *> registered;
    for (const auto &handle : handles_)
        if (auto *handler = dynamic_cast<EventHandler *>(handle.get()); handler && handler->alive)
            registered.push_back(handler);
    return registered;
}

std::vector<std::string> FakePlatform::alive() const
{
    std::vector<std::string> kinds;
    auto note = [&](const Handle &handle) {
        if (handle.alive)
            kinds.emplace_back(handle.kind);
    };
    for (const auto &proxy : proxies_)
        note(*proxy);
    for (const auto &handle : handles_)
        note(*handle);
    return kinds;
}

std::vector<std::string> FakePlatform::take_misuses()
{
    for (const auto &proxy : proxies_)
        if (proxy->unraised() > 0)
            misuse("a scheduled event was never raised");
    return std::exchange(misuses_, {});
}

int FakePlatform::enter(const char *function, int natural_code)
{
    calls.emplace_back(function);
    if (int code = faults.next(function, natural_code))
        return code;
    const auto scripted = results.find(function);
    return scripted == results.end() ? 0 : scripted->second;
}

Handle *FakePlatform::find(void *handle)
{
    const auto found = by_address_.find(handle);
    return found == by_address_.end() ? nullptr : found->second;
}

void EventHandler::fire(const char *name, bundle_s data)
{
    callback(name, &data, user_data);
}

} // namespace kv::test

bundle_s &bundle_s::text(const std::string &key, const std::string &value)
{
    texts_[key] = value;
    return *this;
}

bundle_s &bundle_s::array(const std::string &key, const std::vector<std::string> &values)
{
    arrays_[key] = values;
    return *this;
}

bundle_s &bundle_s::data(const std::string &key, const Bytes &value)
{
    data_[key] = value;
    return *this;
}

char *bundle_s::find_text(const std::string &key)
{
    const auto found = texts_.find(key);
    return found == texts_.end() ? nullptr : found->second.data();
}

const char **bundle_s::find_array(const std::string &key, int *length)
{
    const auto found = arrays_.find(key);
    if (found == arrays_.end())
        return nullptr;
    std::vector<const char *> &handed_out = handed_out_[key];
    handed_out.clear();
    for (const std::string &value : found->second)
        handed_out.push_back(value.c_str());
    handed_out.push_back(nullptr);
    *length = static_cast<int>(found->second.size());
    return handed_out.data();
}

void *bundle_s::find_data(const std::string &key, std::size_t *size)
{
    static unsigned char nothing;
    const auto found = data_.find(key);
    if (found == data_.end())
        return nullptr;
    *size = found->second.size();
    return found->second.empty() ? &nothing : found->second.data();
}

extern "C" {

int dlog_print(int priority, const char *tag, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    std::string text(static_cast<std::size_t>(vsnprintf(nullptr, 0, format, args)), '\0');
    vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(args);
    platform().log.add(priority, tag, text);
    return 0;
}

int get_last_result()
{
    platform().calls.emplace_back("get_last_result");
    return last_result;
}

void set_last_result(int result)
{
    platform().calls.emplace_back("set_last_result");
    last_result = result;
}

int package_info_create(const char *package, package_info_h *info)
{
    if (int code = platform().enter("package_info_create", -EIO))
        return code;
    if (std::strcmp(package, "org.korvane.agent") != 0)
        return -18153359;
    *info = static_cast<Handle *>(platform().make<PackageInfo>());
    return 0;
}

int package_info_get_version(package_info_h info, char **version)
{
    if (int code = platform().enter("package_info_get_version", -EIO))
        return code;
    if (!platform().open<PackageInfo>(info, "package_info_get_version"))
        return -EINVAL;
    if (!platform().agent_version)
        return 0;
    char *copy = strdup(platform().agent_version->c_str());
    if (!copy)
        return -ENOMEM;
    *version = copy;
    return 0;
}

int package_info_destroy(package_info_h info)
{
    const int code = platform().enter("package_info_destroy", -EINVAL);
    if (auto *opened = platform().open<PackageInfo>(info, "package_info_destroy"))
        opened->alive = false;
    return code;
}

int bundle_get_str(bundle *data, const char *key, char **value)
{
    if (int code = platform().enter("bundle_get_str", -ENOMEM))
        return code;
    char *found = data->find_text(key);
    if (!found)
        return -ENOENT;
    *value = *found == '\0' && platform().returns_null_for_empty ? nullptr : found;
    return 0;
}

const char **bundle_get_str_array(bundle *data, const char *key, int *length)
{
    return platform().enter("bundle_get_str_array", -ENOMEM) == 0 ? data->find_array(key, length) : nullptr;
}

int bundle_get_byte(bundle *data, const char *key, void **bytes, size_t *size)
{
    if (int code = platform().enter("bundle_get_byte", -ENOMEM))
        return code;
    void *found = data->find_data(key, size);
    if (!found)
        return -ENOENT;
    *bytes = *size == 0 && platform().returns_null_for_empty ? nullptr : found;
    return 0;
}

int event_add_event_handler(const char *event_name, event_cb callback, void *user_data, event_handler_h *handler)
{
    if (int code = platform().enter("event_add_event_handler", -EIO))
        return code;
    auto *made = platform().make<EventHandler>();
    made->event_name = event_name;
    made->callback = callback;
    made->user_data = user_data;
    *handler = static_cast<Handle *>(made);
    return 0;
}

int event_remove_event_handler(event_handler_h handler)
{
    const int code = platform().enter("event_remove_event_handler", -EINVAL);
    if (auto *opened = platform().open<EventHandler>(handler, "event_remove_event_handler"))
        opened->alive = false;
    return code;
}

} // extern "C"
