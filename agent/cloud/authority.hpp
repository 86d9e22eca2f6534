// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "certificates.hpp"

#include <cerrno>
#include <deque>
#include <optional>
#include <string>

namespace kv::virtual_agent {

/// Whether a certificate can be used, as the result of a request for it.
enum class Validity { valid = 0, expired = -EKEYEXPIRED, revoked = -EKEYREVOKED };

/// An issued certificate, as texts.
struct IssuedCertificate {
    std::string id;    // for get_hdr_certificate
    std::string pem;   // the certificate of the device
    std::string chain; // the certificate of the authority
    Validity validity = Validity::valid;
};

/// The cloud's certificate authority: its key signs the certificates and tokens that applications request. It is created
/// on first use, or kept in a directory.
class Authority {
public:
    /// Without a directory the authority lives as long as the agent. In a directory it is loaded, or created if there is
    /// none yet. Throws std::runtime_error if its files cannot be used.
    explicit Authority(const std::string &directory = {});

    /// Issues a certificate for the key of a signing request in PEM, whose signature must be right. Throws
    /// CertificateRefused.
    IssuedCertificate issue(const std::string &device_id, const std::string &device_type, const std::string &csr);

    /// An issued certificate by its id.
    std::optional<IssuedCertificate> find(const std::string &id) const;
    const std::deque<IssuedCertificate> &issued() const { return issued_; }

    /// Ends the validity of all valid certificates. Returns their number.
    int invalidate(Validity reason);

    /// The authority's own certificate in PEM, which verifies everything that it signs.
    const std::string &certificate();

    /// A signature of the authority's key (ECDSA on P-256, SHA-256) as tokens carry it: two numbers of 32 bytes.
    std::string sign(const std::string &text);
    /// Identifies that key.
    std::string key_id();

    static constexpr std::size_t max_issued = 256; // then the oldest is dropped

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
