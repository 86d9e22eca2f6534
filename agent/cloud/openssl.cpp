// SPDX-License-Identifier: Apache-2.0
#include "openssl.hpp"

#include <openssl/err.h>

#include <stdexcept>

namespace kv::virtual_agent::ssl {

std::string reason()
{
    const unsigned long first = ERR_peek_error();
    const char *text = first != 0 ? ERR_reason_error_string(first) : nullptr;
    ERR_clear_error();
    return text ? text : "unknown reason";
}

void fail(const char *what)
{
    throw std::runtime_error{std::string{"OpenSSL cannot "} + what + ": " + reason()};
}

std::string sha256_hex(const std::string &bytes)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr) != 1)
        fail("make a digest");
    std::string hex;
    for (unsigned i = 0; i < length; ++i)
        for (const unsigned shift : {4U, 0U})
            hex += "0123456789abcdef"[(digest[i] >> shift) & 0xf];
    return hex;
}

} // namespace kv::virtual_agent::ssl
