// SPDX-License-Identifier: Apache-2.0
#include "unread_body.hpp"

#include <algorithm>
#include <iterator>
#include <memory>

namespace kv::virtual_agent {

namespace {

struct Phrase {
    unsigned status;
    const char *text;
};
/// Phrases that libsoup lacks.
constexpr Phrase phrases[] = {{SOUP_STATUS_MISDIRECTED_REQUEST, "Misdirected Request"}, {426, "Upgrade Required"}};

} // namespace

const char *phrase_of(unsigned status)
{
    const auto found = std::find_if(std::begin(phrases), std::end(phrases),
                                    [status](const Phrase &one) { return one.status == status; });
    return found == std::end(phrases) ? soup_status_get_phrase(status) : found->text;
}

std::optional<Refusal> bad_body(SoupMessageHeaders *headers, std::size_t max_size)
{
    if (soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CHUNKED)
        return Refusal{SOUP_STATUS_LENGTH_REQUIRED, "the request must state the length of its body"};
    if (soup_message_headers_get_content_length(headers) > static_cast<goffset>(max_size))
        return Refusal{SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE, "the body must not be longer than 1 MiB"};
    return std::nullopt;
}

bool expects_body(SoupMessageHeaders *headers)
{
    return soup_message_headers_get_encoding(headers) == SOUP_ENCODING_CHUNKED ||
           soup_message_headers_get_content_length(headers) > 0;
}

std::string written(SoupServerMessage *message)
{
    const unsigned status = soup_server_message_get_status(message);
    std::string text = "HTTP/1.1 " + std::to_string(status) + " " + phrase_of(status) + "\r\n";
    SoupMessageHeadersIter next;
    const char *name = nullptr;
    const char *value = nullptr;
    soup_message_headers_iter_init(&next, soup_server_message_get_response_headers(message));
    while (soup_message_headers_iter_next(&next, &name, &value))
        text.append(name).append(": ").append(value).append("\r\n");
    const std::unique_ptr<GBytes, decltype(&g_bytes_unref)> body{
        soup_message_body_flatten(soup_server_message_get_response_body(message)), g_bytes_unref};
    gsize size = 0;
    const auto *bytes = static_cast<const char *>(g_bytes_get_data(body.get(), &size));
    text += "Content-Length: " + std::to_string(size) + "\r\n\r\n";
    return text.append(bytes, size);
}

} // namespace kv::virtual_agent
