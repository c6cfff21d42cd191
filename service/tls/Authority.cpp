#include "service/tls/Authority.h"

#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/base/Time.h"

#include <algorithm>
#include <stdexcept>

namespace kelvo::tls {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t authorityLifeS = 3650 * dayS;
constexpr std::int64_t serverLifeS = 397 * dayS; // the longest life that clients accept
constexpr std::int64_t handOverS = 30 * dayS;    // before its end, an authority signs no more
constexpr std::int64_t backdatingS = 3600;       // for consoles whose clocks are behind
constexpr const char* keyNames[] = {"ca.key", "ca-next.key"};

struct Authority
{
    fs::path keyFile;
    Key key;
    Certificate certificate;
    Validity validity;
};

bool isDue(const Validity& validity, std::int64_t nowS)
{
    return nowS >= validity.notBeforeS + (validity.notAfterS - validity.notBeforeS) / 3 * 2;
}

Authority makeNewAuthority(const fs::path& keyFile, std::int64_t nowS)
{
    Authority made{keyFile, makeKey(), nullptr, {nowS - backdatingS, nowS + authorityLifeS}};
    made.certificate = makeAuthority(*made.key, made.validity);
    replaceFile(keyFile, toPem(*made.key), 0600);
    logInfo("authority-made", "ends " + rfc3339(made.validity.notAfterS * 1000));
    return made;
}

/** The authorities with a key that have not ended; the first to end comes first. */
std::vector<Authority> loadAuthorities(const fs::path& dataFolder, std::int64_t nowS)
{
    std::vector<Authority> found;
    const fs::path certificates = dataFolder / "ca.pem";
    if (!fs::exists(certificates)) {
        return found;
    }
    for (Certificate& certificate : certificatesFromPem(readFile(certificates))) {
        for (const char* name : keyNames) {
            const fs::path file = dataFolder / "tls" / name;
            Key key = fs::exists(file) ? keyFromPem(readFile(file)) : nullptr;
            const Validity validity = validityOf(*certificate);
            if (key && X509_check_private_key(certificate.get(), key.get()) == 1 &&
                nowS < validity.notAfterS) {
                found.push_back({file, std::move(key), std::move(certificate), validity});
                break;
            }
        }
    }
    std::sort(found.begin(), found.end(), [](const Authority& a, const Authority& b) {
        return a.validity.notAfterS < b.validity.notAfterS;
    });
    return found;
}

void refuseFuture(const std::vector<Authority>& authorities, std::int64_t nowS)
{
    for (const Authority& authority : authorities) {
        if (nowS < authority.validity.notBeforeS) {
            throw std::runtime_error("the own authority in ca.pem is valid only from " +
                                     rfc3339(authority.validity.notBeforeS * 1000) +
                                     ": is the machine's clock right?");
        }
    }
}

/** Never empty; the last to end comes last. Writes ca.pem if it changes. */
std::vector<Authority> ensureAuthorities(const fs::path& dataFolder, const Times& times)
{
    std::vector<Authority> all = loadAuthorities(dataFolder, times.trustedS);
    refuseFuture(all, times.nowS);
    if (all.empty() || (all.size() == 1 && isDue(all.front().validity, times.trustedS))) {
        const fs::path first = dataFolder / "tls" / keyNames[0];
        const bool isFree = all.empty() || all.front().keyFile != first;
        // The key is written first: a key without a certificate is replaced later.
        all.push_back(
            makeNewAuthority(isFree ? first : dataFolder / "tls" / keyNames[1], times.trustedS));
    }
    std::string pem;
    for (const Authority& authority : all) {
        pem += toPem(*authority.certificate);
    }
    const fs::path file = dataFolder / "ca.pem";
    if (!fs::exists(file) || readFile(file) != pem) {
        replaceFile(file, pem, 0644);
    }
    return all;
}

const Authority& signer(const std::vector<Authority>& authorities, std::int64_t nowS)
{
    const auto found =
        std::find_if(authorities.begin(), authorities.end(), [nowS](const Authority& authority) {
            return nowS + handOverS < authority.validity.notAfterS;
        });
    return found != authorities.end() ? *found : authorities.back();
}

/**
 * The time at which clients judge a new certificate. If all authorities have ended by the machine's
 * clock, only clients with the trusted time can accept one.
 */
std::int64_t judgedS(const std::vector<Authority>& authorities, const Times& times)
{
    return times.nowS < authorities.back().validity.notAfterS ? times.nowS : times.trustedS;
}

/** `made` is the time of a certificate that would be made now. */
bool isStillGood(const CertificateFiles& files, const std::vector<std::string>& names,
                 X509& authority, const Validity& made, std::int64_t nowS)
{
    if (!fs::exists(files.certificate) || !fs::exists(files.key)) {
        return false;
    }
    const Certificate certificate = certificateFromPem(readFile(files.certificate));
    const Key key = keyFromPem(readFile(files.key));
    const Validity validity = validityOf(*certificate);
    const bool isDue = validity.notAfterS - nowS <= (made.notAfterS - nowS) / 3;
    // A certificate from the time of a clock jump may live longer than some browsers accept.
    const std::int64_t longestS = serverLifeS + (nowS - made.notBeforeS) + dayS;
    const bool isTooLong = validity.notAfterS - validity.notBeforeS > longestS;
    return validity.includes(nowS) && !isDue && !isTooLong &&
           covers(*certificate, names, authority) &&
           X509_check_private_key(certificate.get(), key.get()) == 1;
}

} // namespace

Times timesOf(const Clock& clock)
{
    return {clock.nowMs() / 1000, clock.expiryNow().ms / 1000};
}

std::int64_t lastAuthorityEndS(const fs::path& dataFolder)
{
    std::int64_t endS = 0;
    for (const Certificate& certificate : certificatesFromPem(readFile(dataFolder / "ca.pem"))) {
        endS = std::max(endS, validityOf(*certificate).notAfterS);
    }
    return endS;
}

CertificateFiles ownCertificateFiles(const fs::path& dataFolder)
{
    return {dataFolder / "tls" / "server.pem", dataFolder / "tls" / "server.key"};
}

CertificateFiles ensureCertificates(const fs::path& dataFolder,
                                    const std::vector<std::string>& names, const Times& times,
                                    ERenewal renewal)
{
    fs::create_directories(dataFolder / "tls");
    fs::permissions(dataFolder / "tls", fs::perms::owner_all);
    CertificateFiles files = ownCertificateFiles(dataFolder);
    const std::vector<Authority> authorities = ensureAuthorities(dataFolder, times);
    const std::int64_t nowS = judgedS(authorities, times);
    const Authority& by = signer(authorities, nowS);
    const Validity validity{times.trustedS - backdatingS,
                            std::min(nowS + serverLifeS, by.validity.notAfterS)};
    if (renewal == ERenewal::Now || !isStillGood(files, names, *by.certificate, validity, nowS)) {
        const Key key = makeKey();
        const Certificate certificate =
            makeServerCertificate(*key, names, *by.certificate, *by.key, validity);
        replaceFile(files.key, toPem(*key), 0600);
        replaceFile(files.certificate, toPem(*certificate), 0644);
        logInfo("server-certificate-made", "ends " + rfc3339(validity.notAfterS * 1000));
    }
    return files;
}

} // namespace kelvo::tls
