// The commands of the certificates.
#include "service/DataFolder.h"
#include "service/base/Clock.h"
#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/base/Time.h"
#include "service/maintenance/MaintenanceCommands.h"
#include "service/maintenance/Owner.h"
#include "service/tls/Authority.h"

#include <iostream>

namespace kelvo::maintenance {

namespace {

namespace fs = std::filesystem;

constexpr int endsSoon = 1;
constexpr std::int64_t soonS = 30 * tls::dayS;

/** Prints a line for each certificate of the file. Returns whether all are valid for 30 days. */
bool show(const char* kind, const fs::path& file, std::int64_t nowS)
{
    bool isGood = true;
    for (const tls::Certificate& certificate : tls::certificatesFromPem(readFile(file))) {
        const tls::Validity validity = tls::validityOf(*certificate);
        const bool isValid = validity.includes(nowS);
        const char* state = !isValid                          ? "not valid now"
                            : validity.includes(nowS + soonS) ? "valid"
                                                              : "ends soon";
        std::string names;
        for (const std::string& name : tls::namesOf(*certificate)) {
            names += (names.empty() ? ", for " : " ") + name;
        }
        std::cout << kind << ": " << state << ", from " << rfc3339(validity.notBeforeS * 1000)
                  << " to " << rfc3339(validity.notAfterS * 1000) << names << "\n";
        isGood = isGood && validity.includes(nowS) && validity.includes(nowS + soonS);
    }
    return isGood;
}

/** Throws StartRefused. */
void requireValidAuthority(const fs::path& dataFolder, std::int64_t nowS)
{
    const tls::Validity validity = tls::validityOfAuthorities(dataFolder);
    if (nowS >= validity.notAfterS) {
        throw StartRefused("the authority in ca.pem ended at " +
                           rfc3339(validity.notAfterS * 1000) +
                           "; if the machine's clock is right, run kelvo-service clock confirm:"
                           " then the service makes a new authority");
    }
    if (nowS < validity.notBeforeS) {
        throw StartRefused("the authority in ca.pem is valid only from " +
                           rfc3339(validity.notBeforeS * 1000) +
                           "; if the machine's clock is right, run kelvo-service tls renew"
                           " --authority, and give the new ca.pem to all clients");
    }
}

void renew(const fs::path& dataFolder, bool withAuthority, std::int64_t nowS)
{
    startLog("error"); // the lines on stdout are the result
    if (!withAuthority) {
        requireValidAuthority(dataFolder, nowS);
    }
    const fs::path present = tls::ownCertificateFiles(dataFolder).certificate;
    const auto names = tls::namesOf(*tls::certificateFromPem(readFile(present)));
    tls::ensureCertificates(dataFolder, names, {nowS, nowS},
                            withAuthority ? tls::ERenewal::WithAuthority : tls::ERenewal::Now);
    const Owner owner(dataFolder);
    owner.applyTo(dataFolder / "ca.pem");
    owner.applyToAll(dataFolder / "tls");
}

} // namespace

int runTls(const TlsOptions& options)
{
    const bool isOwn = options.certificate.empty();
    const fs::path own = tls::ownCertificateFiles(options.dataFolder).certificate;
    const fs::path file = isOwn ? own : options.certificate;
    if (!fs::exists(file)) {
        throw StartRefused("there is no certificate " + file.string());
    }
    const std::int64_t nowS = SystemClock().nowMs() / 1000;
    if (options.renews) {
        renew(options.dataFolder, options.renewsAuthority, nowS);
    }
    bool isGood = show("certificate", file, nowS);
    if (isOwn) {
        isGood = show("authority", options.dataFolder / "ca.pem", nowS) && isGood;
    }
    return isGood ? 0 : endsSoon;
}

} // namespace kelvo::maintenance
