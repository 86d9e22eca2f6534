// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "openssl.hpp"

#include <deque>
#include <optional>
#include <stdexcept>
#include <string>

namespace kv::virtual_agent {

/// A certificate that was issued, as texts.
struct IssuedCertificate {
    std::string id;    // as it is asked for again
    std::string pem;   // of the device
    std::string chain; // of who issued it
};

/// Why a request for a certificate was turned down, for people.
struct CertificateRefused : std::runtime_error {
    using runtime_error::runtime_error;
};

/// The cloud's certificate authority: a key of its own, which signs the certificates that applications ask for, and
/// their tokens. It is made when it is first needed, or kept in a directory.
class Authority {
public:
    /// Without a directory it lives as long as the agent. In a directory it is made when there is none yet. Throws
    /// std::runtime_error, and says what is wrong with the files.
    explicit Authority(const std::string &directory = {});

    /// Issues a certificate for the key of a signing request in PEM, whose signature must be right. Throws
    /// CertificateRefused.
    IssuedCertificate issue(const std::string &device_id, const std::string &device_type, const std::string &csr);

    /// One that was issued.
    std::optional<IssuedCertificate> find(const std::string &id) const;
    const std::deque<IssuedCertificate> &issued() const { return issued_; }

    /// The authority's own certificate, in PEM, with which all that it has signed can be verified.
    const std::string &certificate();

    /// A signature of the authority's key (ECDSA on P-256, SHA-256) as tokens carry it: two numbers of 32 bytes.
    std::string sign(const std::string &text);
    /// Which key that is.
    std::string key_id();

    static constexpr std::size_t most_issued = 256; // of which the oldest are forgotten

private:
    struct Identity {
        ssl::Key key;
        ssl::Certificate certificate;
        std::string pem;
    };

    static Identity make();
    static Identity load(const std::string &key_file, const std::string &certificate_file);
    const Identity &identity();

    std::optional<Identity> identity_{};
    std::deque<IssuedCertificate> issued_{};
};

} // namespace kv::virtual_agent
