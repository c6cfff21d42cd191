#include "service/tls/Authority.h"

#include "service/base/Log.h"
#include "service/base/Time.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>

namespace kelvo::tls {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t authorityLifeS = 3650 * dayS;
constexpr std::int64_t serverLifeS = 397 * dayS; // the longest life that clients accept
constexpr std::int64_t handOverS = 30 * dayS;    // before its end, an authority signs no more
constexpr std::int64_t backdatingS = 3600;       // for consoles whose clocks are behind
/** At most two authorities are in use, so a name is free for the next one. */
constexpr const char* keyNames[] = {"ca.key", "ca-next.key", "ca-new.key"};

struct Authority
{
    fs::path keyFile;
    Key key;
    Certificate certificate;
    Validity validity;
};

bool isDue(const Validity& validity, std::int64_t nowS)
{
    return validity.notAfterS - nowS <= authorityLifeS / 3;
}

Authority makeNewAuthority(const fs::path& keyFile, const Times& times)
{
    Authority made{keyFile,
                   makeKey(),
                   nullptr,
                   {times.earliestS() - authorityLifeS, times.trustedS + authorityLifeS}};
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

fs::path freeKeyFile(const fs::path& dataFolder, const std::vector<Authority>& used)
{
    const auto isFree = [&](const char* name) {
        return std::none_of(used.begin(), used.end(), [&](const Authority& authority) {
            return authority.keyFile.filename() == name;
        });
    };
    return dataFolder / "tls" / *std::find_if(std::begin(keyNames), std::end(keyNames), isFree);
}

/** Never empty; the last to end comes last. Writes ca.pem if it changes. */
std::vector<Authority> ensureAuthorities(const fs::path& dataFolder, const Times& times,
                                         ERenewal renewal)
{
    std::vector<Authority> all = loadAuthorities(dataFolder, times.trustedS);
    const fs::path freeFile = freeKeyFile(dataFolder, all);
    if (renewal == ERenewal::WithAuthority) {
        all.clear();
    }
    if (all.empty() || (all.size() == 1 && isDue(all.front().validity, times.trustedS))) {
        // The key is written first: a key without a certificate is replaced later.
        all.push_back(makeNewAuthority(freeFile, times));
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

bool isAnyValid(const std::vector<Authority>& authorities, std::int64_t atS)
{
    return std::any_of(authorities.begin(), authorities.end(), [atS](const Authority& authority) {
        return authority.validity.includes(atS);
    });
}

/**
 * The times at which clients judge a new certificate. If no authority is valid by the machine's
 * clock, only clients with the trusted time can accept one.
 */
Times judged(const std::vector<Authority>& authorities, const Times& times)
{
    return {isAnyValid(authorities, times.nowS) ? times.nowS : times.trustedS, times.trustedS};
}

bool isUsable(const CertificateFiles& files, const std::vector<std::string>& names, X509& authority)
{
    if (!fs::exists(files.certificate) || !fs::exists(files.key)) {
        return false;
    }
    const Certificate certificate = certificateFromPem(readFile(files.certificate));
    const Key key = keyFromPem(readFile(files.key));
    return covers(*certificate, names, authority) &&
           X509_check_private_key(certificate.get(), key.get()) == 1;
}

/** `made` is the time of a certificate that would be made now. */
bool isInTime(const CertificateFiles& files, const Validity& made, const Times& times)
{
    const Validity present = validityOf(*certificateFromPem(readFile(files.certificate)));
    const std::int64_t latestS = times.latestS();
    const bool isDue = present.notAfterS - latestS <= (made.notAfterS - latestS) / 3;
    // A certificate from the time of a clock jump may live longer than some browsers accept.
    const std::int64_t longestS = serverLifeS + (latestS - made.notBeforeS) + dayS;
    const bool isTooLong = present.notAfterS - present.notBeforeS > longestS;
    return present.includes(times.earliestS()) && present.includes(latestS) && !isDue && !isTooLong;
}

void makeCertificate(const CertificateFiles& files, const std::vector<std::string>& names,
                     const Authority& by, const Validity& validity)
{
    const Key key = makeKey();
    const Certificate certificate =
        makeServerCertificate(*key, names, *by.certificate, *by.key, validity);
    replaceFile(files.key, toPem(*key), 0600);
    replaceFile(files.certificate, toPem(*certificate), 0644);
    logInfo("server-certificate-made", "ends " + rfc3339(validity.notAfterS * 1000));
}

/** Otherwise a running service could write back the authority that a command replaces. */
FileDescriptor lockCertificates(const fs::path& folder, const LockWait& wait)
{
    FileDescriptor lock = openFile(folder, O_RDONLY | O_DIRECTORY);
    while (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            throwErrno("flock");
        }
        if (!wait()) {
            throw std::runtime_error("another process does not finish its work on the certificates"
                                     " in " +
                                     folder.string() + ": is a kelvo-service tls renew stopped?");
        }
    }
    return lock;
}

} // namespace

Times timesOf(const Clock& clock)
{
    return {clock.machineMs() / 1000, clock.expiryNow().ms / 1000};
}

Validity validityOfAuthorities(const fs::path& dataFolder)
{
    Validity all{INT64_MAX, 0};
    for (const Certificate& certificate : certificatesFromPem(readFile(dataFolder / "ca.pem"))) {
        const Validity one = validityOf(*certificate);
        all = {std::min(all.notBeforeS, one.notBeforeS), std::max(all.notAfterS, one.notAfterS)};
    }
    return all;
}

CertificateFiles ownCertificateFiles(const fs::path& dataFolder)
{
    return {dataFolder / "tls" / "server.pem", dataFolder / "tls" / "server.key"};
}

CertificateFiles ensureCertificates(const fs::path& dataFolder,
                                    const std::vector<std::string>& names, const Times& times,
                                    ERenewal renewal, const LockWait& wait)
{
    fs::create_directories(dataFolder / "tls");
    fs::permissions(dataFolder / "tls", fs::perms::owner_all);
    const FileDescriptor lock = lockCertificates(dataFolder / "tls", wait);
    CertificateFiles files = ownCertificateFiles(dataFolder);
    const std::vector<Authority> authorities = ensureAuthorities(dataFolder, times, renewal);
    const Times valid = judged(authorities, times);
    const Authority& by = signer(authorities, valid.latestS());
    const Validity made{valid.earliestS() - backdatingS,
                        std::min(valid.latestS() + serverLifeS, by.validity.notAfterS)};
    const bool isNew = renewal != ERenewal::IfDue || !isUsable(files, names, *by.certificate);
    // While no authority is valid at either time, no client would accept a new certificate.
    if (isNew || (isAnyValid(authorities, valid.nowS) && !isInTime(files, made, valid))) {
        makeCertificate(files, names, by, made);
    }
    return files;
}

} // namespace kelvo::tls
