#include "service/tls/CertificateKeeper.h"

#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/base/Time.h"

#include <openssl/ssl.h>

#include <algorithm>
#include <exception>
#include <stdexcept>

namespace kelvo::tls {

namespace {

/** Changes when a file is replaced or written. */
std::string stateOf(const CertificateFiles& files)
{
    std::string state;
    for (const auto& file : {files.certificate, files.key}) {
        const auto status = statusOf(file);
        if (!status) {
            throw std::runtime_error(file.string() + " does not exist");
        }
        state += std::to_string(status->device) + ":" + std::to_string(status->node) + ":" +
                 std::to_string(status->sizeBytes) + ":" + std::to_string(status->modifiedNs) + " ";
    }
    return state;
}

/** The time in which the server's certificate and its chain are valid. */
Validity validityOfChain(const CertificateFiles& files)
{
    Validity all{0, INT64_MAX};
    for (const Certificate& certificate : certificatesFromPem(readFile(files.certificate))) {
        const Validity one = validityOf(*certificate);
        all = {std::max(all.notBeforeS, one.notBeforeS), std::min(all.notAfterS, one.notAfterS)};
    }
    return all;
}

/** Throws std::runtime_error if the certificate is valid at neither time. */
void requireValid(const CertificateFiles& files, const Validity& validity, const Times& times)
{
    if (validity.includes(times.nowS) || validity.includes(times.trustedS)) {
        return;
    }
    const bool isEarly = times.nowS < validity.notBeforeS;
    throw std::runtime_error("the certificate " + files.certificate.string() +
                             (isEarly ? " is valid only from " + rfc3339(validity.notBeforeS * 1000)
                                      : " ended at " + rfc3339(validity.notAfterS * 1000)) +
                             "; the machine's clock shows " + rfc3339(times.nowS * 1000));
}

/** Why clients do not accept the certificates yet. Empty: their start has passed. */
std::string futureStart(const Validity& certificate, const Validity& authority, std::int64_t nowS)
{
    if (nowS < authority.notBeforeS) {
        return "the authority in ca.pem is valid only from " +
               rfc3339(authority.notBeforeS * 1000) +
               ": set the machine's clock right; if it is right, run kelvo-service tls renew"
               " --authority, and give the new ca.pem to all clients";
    }
    if (nowS < certificate.notBeforeS) {
        return "is valid only from " + rfc3339(certificate.notBeforeS * 1000) +
               ": is the machine's clock right?";
    }
    return {};
}

} // namespace

std::optional<int> EndWarning::due(std::int64_t endS, std::int64_t nowS)
{
    if (endS != endS_) {
        endS_ = endS;
        told_.reset();
    }
    for (const int days : {0, 1, 7, 30}) {
        if (endS - nowS <= days * dayS) {
            const bool isNews = !told_ || days < *told_;
            told_ = days;
            return isNews ? std::optional(days) : std::nullopt;
        }
    }
    told_.reset(); // the clock was ahead
    return std::nullopt;
}

CertificateKeeper::CertificateKeeper(Source source, const Clock& clock)
    : source_(std::move(source)), clock_(clock)
{
    load(true);
    warn();
}

std::shared_ptr<ssl_ctx_st> CertificateKeeper::context() const
{
    const std::lock_guard lock(mutex_);
    return context_;
}

void CertificateKeeper::load(bool always)
{
    const Times times = timesOf(clock_);
    const CertificateFiles files =
        isOwn() ? ensureCertificates(source_.dataFolder, source_.names, times) : source_.given;
    std::string state = stateOf(files);
    if (isOwn()) {
        const Validity authority = validityOfAuthorities(source_.dataFolder);
        const std::lock_guard lock(mutex_);
        validities_.authority = authority;
    }
    if (!always && state == loaded_) {
        return;
    }
    const Validity validity = validityOfChain(files);
    if (!isOwn()) {
        requireValid(files, validity, times);
    }
    std::shared_ptr<ssl_ctx_st> made = makeServerContext(files);
    loaded_ = std::move(state);
    const std::lock_guard lock(mutex_);
    validities_.certificate = validity;
    context_ = std::move(made);
}

std::string CertificateKeeper::advice(std::int64_t endS) const
{
    const bool wouldRenew = isOwn() && timesOf(clock_).trustedS < endS;
    return wouldRenew ? "; if the machine's clock is right, run kelvo-service clock confirm" : "";
}

std::string CertificateKeeper::failure() const
{
    const std::int64_t nowS = timesOf(clock_).nowS;
    const auto [certificate, authority] = validities();
    if (nowS < certificate.notAfterS) {
        return futureStart(certificate, authority, nowS);
    }
    return "has ended" + advice(certificate.notAfterS);
}

CertificateKeeper::Validities CertificateKeeper::validities() const
{
    const std::lock_guard lock(mutex_);
    return validities_;
}

void CertificateKeeper::warnOfStart()
{
    const auto [certificate, authority] = validities();
    const std::string start = futureStart(certificate, authority, timesOf(clock_).nowS);
    if (!start.empty() && start != toldStart_) {
        logWarning("certificate-not-yet-valid", start);
    }
    toldStart_ = start;
}

void CertificateKeeper::warn()
{
    const std::int64_t nowS = timesOf(clock_).nowS;
    const auto tell = [this, nowS](EndWarning& warning, std::int64_t endS,
                                   const std::string& what) {
        const auto days = endS == 0 ? std::nullopt : warning.due(endS, nowS);
        if (!days) {
            return;
        }
        const std::string at = "at " + rfc3339(endS * 1000);
        const std::string left =
            *days == 1 ? "within a day, " : "within " + std::to_string(*days) + " days, ";
        logWarning(what + (*days == 0 ? "-has-ended" : "-ends"),
                   *days == 0 ? at + advice(endS) : left + at);
    };
    const auto [certificate, authority] = validities();
    tell(certificateWarning_, certificate.notAfterS, "certificate");
    tell(authorityWarning_, authority.notAfterS, "authority");
    warnOfStart();
}

void CertificateKeeper::refreshOn(WorkPool& pool, bool always)
{
    if (always) {
        mustReload_ = true;
    }
    if (!isRefreshing_.exchange(true)) {
        pool.post([this] {
            refresh(mustReload_.exchange(false));
            isRefreshing_ = false;
        });
    }
}

void CertificateKeeper::refresh(bool always) noexcept
{
    try {
        const std::string before = loaded_;
        load(always);
        if (loaded_ != before || always) {
            logInfo("certificate-loaded", "ends " + rfc3339(certificateEndS() * 1000));
        }
        told_.clear();
    } catch (const std::exception& error) {
        if (told_ != error.what() || always) {
            logError("certificate-not-loaded", error.what());
        }
        told_ = error.what();
    }
    warn();
}

} // namespace kelvo::tls
