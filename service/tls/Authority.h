// The service's own certificate authority in its data folder.
#pragma once

#include "service/base/Clock.h"
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

/** The end of the last authority in ca.pem, in seconds since 1970. Throws std::runtime_error. */
std::int64_t lastAuthorityEndS(const std::filesystem::path& dataFolder);

/** Where the service's own server certificate is. */
CertificateFiles ownCertificateFiles(const std::filesystem::path& dataFolder);

/**
 * The service's two times, in seconds since 1970. They differ while the machine's clock is not
 * trusted.
 */
struct Times
{
    std::int64_t nowS = 0;     // of the machine's clock, by which clients judge a certificate
    std::int64_t trustedS = 0; // not later; authorities are made and end by this time
};

Times timesOf(const Clock& clock);

enum class ERenewal : std::uint8_t { IfDue, Now };

/**
 * Makes sure that `dataFolder` holds an authority and a server certificate for `names`. ca.pem
 * is for clients; the authority's key is in tls/ with mode 0600. Blocks.
 *
 * The server certificate is renewed after two thirds of its life, if it lacks a name, if it is not
 * valid, or with ERenewal::Now. It is valid at both times: if the machine's clock is wrong, clients
 * with a right clock accept it. If the authority has ended by the machine's clock only, the
 * authority stays, and the server certificate is valid at the trusted time. After two thirds of the
 * authority's life, a second authority is made. Then ca.pem holds both, and the old one signs until
 * 30 days before its end. So clients that trust only the old one go on until then.
 *
 * Errors: std::runtime_error, also if an authority is not valid yet: then the clock is behind.
 * std::system_error.
 */
CertificateFiles ensureCertificates(const std::filesystem::path& dataFolder,
                                    const std::vector<std::string>& names, const Times& times,
                                    ERenewal renewal = ERenewal::IfDue);

} // namespace kelvo::tls
