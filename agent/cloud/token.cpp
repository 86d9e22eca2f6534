// SPDX-License-Identifier: Apache-2.0
#include "token.hpp"

#include <glib.h>

#include <algorithm>
#include <memory>

namespace kv::virtual_agent {

namespace {

constexpr const char *issuer = "korvane-agent";
constexpr const char *server_name = "Korvane virtual cloud";
constexpr const char *server_url = "https://cloud.korvane.example";
constexpr std::int64_t lifetime_s = 3600;

/// Base64 with the alphabet for URLs and without padding.
std::string base64url(const std::string &bytes)
{
    const std::unique_ptr<char, decltype(&g_free)> encoded{
        g_base64_encode(reinterpret_cast<const guchar *>(bytes.data()), bytes.size()), g_free};
    std::string text = encoded.get();
    text.erase(std::find(text.begin(), text.end(), '='), text.end());
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text;
}

} // namespace

Json new_token(Authority &authority, const std::string &device_id, const Json &request_data)
{
    const std::int64_t now = g_get_real_time() / G_USEC_PER_SEC;
    Json header = Json::object();
    header.set("alg", "ES256").set("typ", "JWT").set("kid", authority.key_id());
    Json claims = Json::object();
    claims.set("iss", issuer).set("sub", device_id).set("aud", server_url);
    claims.set("iat", now).set("exp", now + lifetime_s);
    if (!cJSON_IsNull(request_data.get()))
        claims.set("request_data", request_data.copy());

    const std::string signed_text = base64url(header.text()) + "." + base64url(claims.text());
    Json token = Json::object();
    token.set("uuid", device_id).set("server_name", server_name).set("server_url", server_url);
    token.set("expiration_time", now + lifetime_s);
    token.set("access_token", signed_text + "." + base64url(authority.sign(signed_text)));
    return token;
}

} // namespace kv::virtual_agent
