// The certificate of the API's listener while the service runs.
#pragma once

#include "service/base/Clock.h"
#include "service/base/FileStatus.h"
#include "service/base/WorkPool.h"
#include "service/tls/Authority.h"
#include "service/tls/ServerContext.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::tls {

/** Tells once when an end is 30 days, 7 days and 1 day away, and once when it has passed. */
class EndWarning
{
public:
    /**
     * Returns 30, 7, 1 or 0 if a warning is due now: at most so many days are left. A new `endS`
     * starts the warnings again.
     */
    std::optional<int> due(std::int64_t endS, std::int64_t nowS);

private:
    std::int64_t endS_ = 0;
    std::optional<int> told_;
};

/**
 * Renews the service's own certificate and reads a given certificate again when its files change.
 * Open connections keep the certificate of their handshake.
 *
 * Thread: context() and the ends on any thread; refresh() and refreshOn() on one thread at a time.
 * Ownership: `clock` outlives it. Time: a certificate is judged by the machine's clock, as clients
 * judge it. While the clock is not trusted, a certificate that is valid at the trusted time is used
 * too.
 */
class CertificateKeeper
{
public:
    struct Source
    {
        CertificateFiles given; // empty names: the service's own certificate
        std::filesystem::path dataFolder;
        std::vector<std::string> names; // of the own certificate
    };

    /**
     * Blocks. Throws std::runtime_error if the certificate and the key are not usable now. The text
     * is for a person.
     */
    CertificateKeeper(Source source, const Clock& clock);

    /** Why clients refuse the certificate, by the machine's clock. Empty: they accept it. */
    std::string failure() const;

    /** For new connections. */
    std::shared_ptr<ssl_ctx_st> context() const;

    /**
     * Renews what is due, reads changed files, logs ends that are near. `always` reads unchanged
     * files too. If this fails, the failure is logged and the present certificate stays. Blocks.
     */
    void refresh(bool always = false) noexcept;

    /**
     * Refreshes on the pool. If an earlier refresh still runs, the next call does it. Returns at
     * once.
     */
    void refreshOn(WorkPool& pool, bool always);

    /** Seconds since 1970; 0: unknown. With several authorities, the end of the last one. */
    std::int64_t certificateEndS() const { return validities().certificate.notAfterS; }
    std::int64_t authorityEndS() const { return validities().authority.notAfterS; }

private:
    struct Validities
    {
        Validity certificate; // with its chain
        Validity authority;   // of the own authorities; 0 for a given certificate
    };

    bool isOwn() const { return source_.given.certificate.empty(); }
    void load(bool always);
    void warn();
    void warnOfStart();
    std::string advice(std::int64_t endS) const;
    Validities validities() const;

    const Source source_;
    const Clock& clock_;
    std::atomic<bool> isRefreshing_{false};
    std::atomic<bool> mustReload_{false}; // to read unchanged files too
    std::string loaded_;                  // the state of the loaded files
    std::string told_;                    // the failure that was logged last
    EndWarning certificateWarning_;
    EndWarning authorityWarning_;
    std::string toldStart_;    // the start that was logged last
    mutable std::mutex mutex_; // guards validities_ and context_
    Validities validities_;
    std::shared_ptr<ssl_ctx_st> context_;
};

} // namespace kelvo::tls
