// The certificates that a service makes itself, and when it makes new ones.
#include "service/base/Files.h"
#include "service/tls/Authority.h"
#include "service/tls/Certificates.h"
#include "service/tls/ServerContext.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <openssl/x509v3.h>

#include <set>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>

namespace kelvo::tls {
namespace {

constexpr std::int64_t yearS = 365 * dayS;
constexpr std::int64_t startS = 1700000000;

class OwnAuthority : public testing::Test
{
protected:
    CertificateFiles ensure(std::int64_t nowS = startS) const { return ensure({nowS, nowS}); }

    CertificateFiles ensure(const Times& times) const
    {
        return ensureCertificates(folder.Path(), names, times);
    }

    std::string authorities() const { return readFile(folder.Path() / "ca.pem"); }
    std::string server() const { return readFile(folder.Path() / "tls" / "server.pem"); }

    /** Whether a client with these authorities accepts the present certificate. */
    bool isTrusted(const std::string& authorityPem, std::int64_t nowS) const
    {
        const std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)> store(X509_STORE_new(),
                                                                            &X509_STORE_free);
        for (const Certificate& authority : certificatesFromPem(authorityPem)) {
            X509_STORE_add_cert(store.get(), authority.get());
        }
        const Certificate certificate = certificateFromPem(server());
        const std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> check(
            X509_STORE_CTX_new(), &X509_STORE_CTX_free);
        X509_STORE_CTX_init(check.get(), store.get(), certificate.get(), nullptr);
        X509_STORE_CTX_set_purpose(check.get(), X509_PURPOSE_SSL_SERVER);
        X509_VERIFY_PARAM_set_time(X509_STORE_CTX_get0_param(check.get()),
                                   static_cast<time_t>(nowS));
        return X509_verify_cert(check.get()) == 1;
    }

    test::TempFolder folder;
    std::vector<std::string> names = [] {
        return std::vector<std::string>{"localhost", "127.0.0.1", "::1"};
    }();
};

/** As a process that makes certificates and does not end. */
FileDescriptor lockCertificates(const std::filesystem::path& dataFolder)
{
    FileDescriptor lock = openFile(dataFolder / "tls", O_RDONLY | O_DIRECTORY);
    EXPECT_EQ(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
    return lock;
}

TEST_F(OwnAuthority, WaitsForAnotherProcessThatMakesCertificates)
{
    ensure();
    const std::string before = server();
    FileDescriptor other = lockCertificates(folder.Path());
    const LockWait endOther = [&] {
        EXPECT_EQ(server(), before);
        other.reset();
        return true;
    };
    ensureCertificates(folder.Path(), names, {startS, startS}, ERenewal::Now, endOther);
    EXPECT_FALSE(other);
    EXPECT_NE(server(), before);
}

TEST_F(OwnAuthority, GivesUpWhenAnotherProcessKeepsTheCertificates)
{
    ensure();
    const std::string before = server();
    const FileDescriptor other = lockCertificates(folder.Path());
    int waits = 0;
    const LockWait twice = [&waits] { return ++waits < 2; };
    try {
        ensureCertificates(folder.Path(), names, {startS, startS}, ERenewal::Now, twice);
        FAIL() << "made a certificate beside the other process";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("is a kelvo-service tls renew stopped?"),
                  std::string::npos);
    }
    EXPECT_EQ(waits, 2);
    EXPECT_EQ(server(), before);
}

TEST_F(OwnAuthority, SignsACertificateForAllNames)
{
    const CertificateFiles files = ensure();
    const Certificate certificate = certificateFromPem(server());
    const Certificate ca = certificateFromPem(authorities());
    EXPECT_TRUE(covers(*certificate, names, *ca));
    EXPECT_FALSE(covers(*certificate, std::vector<std::string>(1, "example.org"), *ca));
    EXPECT_FALSE(covers(*certificate, std::vector<std::string>(1, "127.0.0.2"), *ca));
    EXPECT_EQ(namesOf(*certificate), names);
    EXPECT_EQ(validityOf(*certificate).notBeforeS, startS - 3600);
    EXPECT_EQ(validityOf(*certificate).notAfterS, startS + 397 * dayS);
    EXPECT_EQ(validityOf(*ca).notBeforeS, startS - 3650 * dayS);
    EXPECT_EQ(validityOf(*ca).notAfterS, startS + 3650 * dayS);
    EXPECT_TRUE(makeServerContext(files));
}

TEST_F(OwnAuthority, MakesItsKeysReadableByTheOwnerOnly)
{
    const CertificateFiles files = ensure();
    ensure(startS + 7 * yearS);
    for (const char* key : {"server.key", "ca.key", "ca-next.key"}) {
        EXPECT_EQ(std::filesystem::status(folder.Path() / "tls" / key).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }
}

TEST_F(OwnAuthority, KeepsItsCertificateForTwoThirdsOfItsLife)
{
    ensure();
    const std::string before = server();
    const std::string ca = authorities();
    ensure(startS + 264 * dayS);
    EXPECT_EQ(server(), before);
    ensure(startS + 265 * dayS);
    EXPECT_NE(server(), before);
    EXPECT_EQ(authorities(), ca);
    EXPECT_TRUE(isTrusted(ca, startS + 265 * dayS + 396 * dayS));
}

TEST_F(OwnAuthority, MakesANewCertificateForANewNameUnderTheSameAuthority)
{
    ensure();
    const std::string ca = authorities();
    names.emplace_back("farm.example.org");
    ensure();
    EXPECT_EQ(authorities(), ca);
    EXPECT_TRUE(covers(*certificateFromPem(server()), names, *certificateFromPem(ca)));
}

TEST_F(OwnAuthority, MakesANewCertificateWhenAsked)
{
    ensure();
    const std::string before = server();
    ensureCertificates(folder.Path(), names, {startS, startS}, ERenewal::Now);
    EXPECT_NE(server(), before);
}

TEST_F(OwnAuthority, ReplacesACertificateFromTheFuture)
{
    ensure();
    ensureCertificates(folder.Path(), names, {startS + 100 * dayS, startS + 100 * dayS},
                       ERenewal::Now);
    ensure(startS + dayS); // the clock was wrong
    EXPECT_TRUE(validityOf(*certificateFromPem(server())).includes(startS + dayS));
}

TEST_F(OwnAuthority, ReplacesACertificateThatDoesNotMatchItsKey)
{
    const CertificateFiles files = ensure();
    replaceFile(files.key, toPem(*makeKey()), 0600);
    EXPECT_TRUE(makeServerContext(ensure()));
}

TEST_F(OwnAuthority, MakesASecondAuthorityAfterTwoThirdsOfTheLifeOfTheFirst)
{
    ensure();
    const std::string first = authorities();
    ensure(startS + 6 * yearS);
    EXPECT_EQ(authorities(), first);
    ensure(startS + 7 * yearS);
    const std::string both = authorities();
    EXPECT_EQ(certificatesFromPem(both).size(), 2U);
    EXPECT_EQ(both.substr(0, first.size()), first);
    ensure(startS + 8 * yearS);
    EXPECT_EQ(authorities(), both) << "made once";
}

TEST_F(OwnAuthority, ChangesTheAuthorityWithoutLosingAClient)
{
    ensure();
    const std::string first = authorities();
    ensure(startS + 7 * yearS);
    const std::string both = authorities();
    const std::string second = toPem(*certificatesFromPem(both).back());
    for (const std::int64_t days : {7 * 365, 9 * 365, 3619}) {
        const std::int64_t nowS = startS + days * dayS;
        ensure(nowS);
        EXPECT_TRUE(isTrusted(first, nowS)) << days;
        EXPECT_TRUE(isTrusted(both, nowS)) << days;
    }
    for (const std::int64_t days : {3621, 3651, 4000}) {
        const std::int64_t nowS = startS + days * dayS;
        ensure(nowS);
        EXPECT_TRUE(isTrusted(both, nowS)) << days;
        EXPECT_TRUE(isTrusted(second, nowS)) << days;
    }
    EXPECT_EQ(authorities(), second) << "the first has ended";
}

TEST_F(OwnAuthority, ChangesTheAuthorityMoreThanOnce)
{
    std::set<std::string> newest;
    for (std::int64_t year = 0; year < 15; ++year) { // until 2037: the client's time_t has 32 bits
        const std::string before = year == 0 ? std::string() : authorities();
        ensure(startS + year * yearS);
        EXPECT_TRUE(isTrusted(authorities(), startS + year * yearS)) << year;
        EXPECT_TRUE(year == 0 || isTrusted(before, startS + year * yearS)) << year;
        const auto all = certificatesFromPem(authorities());
        EXPECT_LE(all.size(), 2U) << year;
        newest.insert(toPem(*all.back()));
    }
    EXPECT_EQ(newest.size(), 3U);
}

TEST_F(OwnAuthority, MakesANewAuthorityAfterItsEnd)
{
    ensure();
    const std::string first = authorities();
    ensure(startS + 11 * yearS); // the service was off for years
    EXPECT_NE(authorities(), first);
    EXPECT_TRUE(isTrusted(authorities(), startS + 11 * yearS));
}

TEST_F(OwnAuthority, AfterAClockJumpMakesACertificateForBothTimesAndKeepsTheAuthority)
{
    ensure();
    const std::string ca = authorities();
    const std::int64_t nowS = startS + 3 * yearS;
    ensure({nowS, startS + dayS});
    EXPECT_EQ(authorities(), ca);
    EXPECT_TRUE(isTrusted(ca, nowS));
    EXPECT_TRUE(isTrusted(ca, startS + dayS))
        << "the clock is wrong, the clients' clocks are right";
    const std::string made = server();
    ensure({nowS + dayS, startS + 2 * dayS});
    EXPECT_EQ(server(), made) << "made once";
    ensure({nowS + dayS, nowS + dayS});
    EXPECT_TRUE(isTrusted(ca, nowS + dayS));
    const Validity validity = validityOf(*certificateFromPem(server()));
    EXPECT_LE(validity.notAfterS - validity.notBeforeS, 398 * dayS) << "browsers refuse more";
}

TEST_F(OwnAuthority, AfterAClockJumpToTheLastMonthsOfTheAuthorityMakesACertificateOnce)
{
    ensure();
    const Times times{startS + 3600 * dayS, startS + 3000 * dayS};
    ensure(times);
    const std::string made = server();
    ensure(times);
    EXPECT_EQ(server(), made);
}

TEST_F(OwnAuthority, KeepsAnAuthorityThatHasEndedByAnUntrustedClockOnly)
{
    ensure();
    const std::string ca = authorities();
    ensure({startS + 11 * yearS, startS + 300 * dayS});
    EXPECT_EQ(authorities(), ca);
    EXPECT_TRUE(isTrusted(ca, startS + 600 * dayS)) << "renewed for the trusted time";
}

TEST_F(OwnAuthority, ReplacesOnlyTheServerCertificateAfterAFirstStartWithTheClockAhead)
{
    const std::int64_t wrongS = startS + 40 * dayS;
    ensure(wrongS);
    const std::string ca = authorities();
    ensure({startS, wrongS});
    EXPECT_EQ(authorities(), ca);
    EXPECT_TRUE(isTrusted(ca, startS));
    EXPECT_TRUE(isTrusted(ca, wrongS));
    ensure(startS + dayS); // the clock is trusted again
    EXPECT_TRUE(isTrusted(ca, startS + dayS));
    const Validity validity = validityOf(*certificateFromPem(server()));
    EXPECT_LE(validity.notAfterS - validity.notBeforeS, 398 * dayS) << "browsers refuse more";
}

TEST_F(OwnAuthority, MakesACertificateForBothTimesWhileTheClockIsBehind)
{
    ensure();
    const std::string ca = authorities();
    const Times times{startS - 2 * yearS, startS + dayS};
    ensure(times);
    const std::string made = server();
    EXPECT_TRUE(isTrusted(ca, times.nowS));
    EXPECT_TRUE(isTrusted(ca, times.trustedS))
        << "the clock is wrong, the clients' clocks are right";
    ensure(times);
    EXPECT_EQ(server(), made) << "made once";
}

TEST_F(OwnAuthority, KeepsAnAuthorityFromTheFutureAndItsCertificate)
{
    const std::int64_t wrongS = startS + 11 * yearS;
    ensure(wrongS);
    const std::string ca = authorities();
    const std::string before = server();
    for (const std::int64_t trustedS : {wrongS, startS}) {
        ensure({startS, trustedS});
        EXPECT_EQ(authorities(), ca) << "clients have this authority, and the clock may be wrong";
        EXPECT_EQ(server(), before) << "a new one would not be accepted either";
    }
}

TEST_F(OwnAuthority, MakesANewAuthorityWhenAsked)
{
    ensure(startS + 7 * yearS);
    ensure(startS + 14 * yearS);
    ASSERT_EQ(certificatesFromPem(authorities()).size(), 2U);
    for (int time = 0; time < 3; ++time) {
        const std::string before = authorities();
        ensureCertificates(folder.Path(), names, {startS, startS}, ERenewal::WithAuthority);
        EXPECT_EQ(certificatesFromPem(authorities()).size(), 1U);
        EXPECT_FALSE(isTrusted(before, startS));
        EXPECT_TRUE(isTrusted(authorities(), startS));
    }
}

TEST_F(OwnAuthority, RefusesAKeyThatDoesNotMatchTheCertificate)
{
    CertificateFiles files = ensure();
    replaceFile(files.key, toPem(*makeKey()), 0600);
    EXPECT_THROW(makeServerContext(files), std::runtime_error);
}

} // namespace
} // namespace kelvo::tls
