// The service's own certificate authority in its data folder.
#pragma once

#include "service/tls/Certificates.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kelvo::tls {

struct CertificateFiles
{
    std::filesystem::path certificate; // PEM; the server's certificate comes first
    std::filesystem::path key;         // PEM
};

/** Where the service's own server certificate is. */
CertificateFiles ownCertificateFiles(const std::filesystem::path& dataFolder);

enum class ERenewal : std::uint8_t { IfDue, Now };

/**
 * Makes sure that `dataFolder` holds an authority and a server certificate for `names`. Both are
 * valid at `nowS` (seconds since 1970). ca.pem is for clients; the authority's key is in tls/ with
 * mode 0600. Blocks.
 *
 * The server certificate is renewed after two thirds of its life, if it lacks a name, if it is not
 * valid, or with ERenewal::Now. After two thirds of the authority's life, a second authority is
 * made. Then ca.pem holds both, and the old one signs until 30 days before its end. So clients that
 * trust only the old one go on until then.
 *
 * Errors: std::runtime_error, also if an authority is not valid yet: then the clock is behind.
 * std::system_error.
 */
CertificateFiles ensureCertificates(const std::filesystem::path& dataFolder,
                                    const std::vector<std::string>& names, std::int64_t nowS,
                                    ERenewal renewal = ERenewal::IfDue);

} // namespace kelvo::tls
