// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cjson/cJSON.h>

#include <utility>

/// Owning types over cJSON, and the few additions that the requests are made of. A document that ran out of memory is
/// told by a false result; cJSON itself would leave the member out.
namespace kv::api {

class Json {
public:
    Json() = default;
    explicit Json(cJSON *item) : item_(item) {}
    Json(Json &&other) noexcept : item_(other.release()) {}
    Json &operator=(Json &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~Json() { reset(); }

    cJSON *get() const { return item_; }
    explicit operator bool() const { return item_ != nullptr; }
    cJSON *release() { return std::exchange(item_, nullptr); }
    void reset(cJSON *item = nullptr) { cJSON_Delete(std::exchange(item_, item)); }

private:
    cJSON *item_ = nullptr;
};

/// Printed JSON. cJSON_free is what matches cJSON_Print, whatever allocator is set.
class JsonText {
public:
    explicit JsonText(char *text) : text_(text) {}
    JsonText(const JsonText &) = delete;
    JsonText &operator=(const JsonText &) = delete;
    ~JsonText() { cJSON_free(text_); }

    const char *get() const { return text_; }
    explicit operator bool() const { return text_ != nullptr; }

private:
    char *text_;
};

} // namespace kv::api
