// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cjson/cJSON.h>

#include <utility>

/// Owning types over cJSON. cJSON leaves a member out when memory runs out, so every addition is checked.
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

/// Parses a document from the agent. Returns null if it is null or no JSON, has too many values, or memory runs out.
Json parse_document(const char *text);

/// Owns printed JSON. cJSON_free matches cJSON_Print with any allocator that is set.
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
