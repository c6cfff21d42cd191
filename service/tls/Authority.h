// The service's own certificate authority in its data folder.
#pragma once

#include "service/base/Clock.h"
#include "service/base/Files.h"
#include "service/tls/Certificates.h"

#include <algorithm>
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

/**
 * From the start of the first authority in ca.pem to the end of the last one. Throws
 * std::runtime_error.
 */
Validity validityOfAuthorities(const std::filesystem::path& dataFolder);

/** Where the service's own server certificate is. */
CertificateFiles ownCertificateFiles(const std::filesystem::path& dataFolder);

/**
 * The service's two times, in seconds since 1970. They differ while the machine's clock is not
 * trusted.
 */
struct Times
{
    std::int64_t nowS = 0;     // of the machine's clock, by which clients judge a certificate
    std::int64_t trustedS = 0; // by which authorities end

    std::int64_t earliestS() const { return std::min(nowS, trustedS); }
    std::int64_t latestS() const { return std::max(nowS, trustedS); }
};

Times timesOf(const Clock& clock);

/** WithAuthority: clients of the present authorities need the new ca.pem. */
enum class ERenewal : std::uint8_t { IfDue, Now, WithAuthority };

/**
 * Makes sure that `dataFolder` holds an authority and a server certificate for `names`. ca.pem
 * is for clients; the authority's key is in tls/ with mode 0600. Blocks.
 *
 * The server certificate is renewed after two thirds of its life, if it lacks a name, if it is not
 * valid, or if `renewal` says so. It is valid at both times: if the machine's clock is wrong,
 * clients with a right clock accept it. If no authority is valid by the machine's clock, the server
 * certificate is valid at the trusted time.
 *
 * An authority is also valid for ten years before it was made: the clock may have been ahead then.
 * When a third of its ten years is left, a second authority is made. Then ca.pem holds both, and
 * the old one signs until 30 days before its end. So clients that trust only the old one go on
 * until then. An authority whose start is still ahead stays: clients have it, and the clock may be
 * behind.
 *
 * Only one process at a time makes certificates; another one waits as `wait` says.
 *
 * Errors: std::runtime_error, std::system_error.
 */
CertificateFiles ensureCertificates(const std::filesystem::path& dataFolder,
                                    const std::vector<std::string>& names, const Times& times,
                                    ERenewal renewal = ERenewal::IfDue,
                                    const LockWait& wait = waitTenSeconds());

} // namespace kelvo::tls
