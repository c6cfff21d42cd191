// The certificates that the transport accepts, and its errors for other certificates.
#include "support/CurlFixture.h"

#include "base/BuildTime.h"
#include "tests/support/Variable.h"

#include <openssl/x509_vfy.h>

namespace kesdk::impl {

namespace {

constexpr std::int64_t kYearS = std::int64_t{365} * 24 * 60 * 60;

// Sets the file of the system's authorities for trust stores that are made while this object lives.
class SystemAuthorities
{
public:
    explicit SystemAuthorities(const std::string& path) : m_path("SSL_CERT_FILE", path) {}

private:
    kelvo::test::Variable m_path;
};

// The number of certificates in memory.
int CertificateCount(const TrustStore& trust)
{
    return sk_X509_OBJECT_num(X509_STORE_get0_objects(trust.Get()));
}

class CurlTrust : public CurlTransportTest
{
protected:
    CurlTrust()
    {
        request.headers = {{"Authorization", "Bearer secret"}};
        console.wallTimeS = [this] { return wallTimeS; };
    }

    EErrorCode CodeFrom(test::Identity identity, int mostVersion = TLS1_3_VERSION)
    {
        return CodeFrom(std::move(identity), Trust(), mostVersion);
    }
    EErrorCode CodeFrom(test::Identity identity, std::shared_ptr<const TrustStore> trust,
                        int mostVersion = TLS1_3_VERSION)
    {
        wasAsked = false;
        const auto script = [this](TlsPeer::Session& session) {
            wasAsked = !session.ReadHead().empty();
            session.Write(kHello);
        };
        const TlsPeer peer(std::move(identity), script, mostVersion);
        CurlTransport transport(peer.Url(), std::move(trust), console);
        const Failure failure = transport.Perform(request, {}).failure;
        lastDetail = failure.detail;
        return failure.code;
    }

    test::Identity Expired() const { return authority.Issue("IP:127.0.0.1", -3, -1); }
    test::Identity NotYetValid() const { return authority.Issue("IP:127.0.0.1", 1, 3); }

    std::int64_t wallTimeS = BuildTimeS() + kYearS;
    ConsoleFacts console = RealConsoleFacts();
    std::atomic<bool> wasAsked{false};
    std::string lastDetail;
};

} // namespace

TEST_F(CurlTrust, AcceptsOnlyKnownAuthorities)
{
    const test::TestAuthority stranger;
    EXPECT_EQ(CodeFrom(GoodIdentity()), EErrorCode::eNone);
    EXPECT_TRUE(wasAsked);
    EXPECT_EQ(CodeFrom(stranger.Issue("IP:127.0.0.1", -1, 1)), EErrorCode::eUnknownAuthority);
    EXPECT_FALSE(wasAsked) << "no request before the certificate is verified";
}

TEST_F(CurlTrust, ReadsTheSystemsAuthoritiesWhenItsOwnDoNotMatch)
{
    const test::TestAuthority systems;
    const SystemAuthorities file(folder.Write("system.pem", systems.Pem()));
    const auto trust = Trust();
    EXPECT_EQ(CodeFrom(GoodIdentity(), trust), EErrorCode::eNone);
    EXPECT_EQ(CertificateCount(*trust), 1);
    EXPECT_EQ(CodeFrom(systems.Issue("IP:127.0.0.1", -1, 1), trust), EErrorCode::eNone);
    EXPECT_EQ(CertificateCount(*trust), 2);
    EXPECT_EQ(CodeFrom(GoodIdentity(), trust), EErrorCode::eNone);
}

TEST_F(CurlTrust, RefusesAnAuthorityThatTheSystemDoesNotKnow)
{
    const test::TestAuthority systems;
    const SystemAuthorities file(folder.Write("system.pem", systems.Pem()));
    const auto trust = Trust();
    const test::TestAuthority stranger;
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(CodeFrom(stranger.Issue("IP:127.0.0.1", -1, 1), trust),
                  EErrorCode::eUnknownAuthority);
    EXPECT_EQ(CertificateCount(*trust), 2);
    EXPECT_EQ(CodeFrom(systems.Issue("IP:127.0.0.1", -1, 1), trust), EErrorCode::eNone);
}

TEST_F(CurlTrust, WorksWithoutTheSystemsAuthorities)
{
    const SystemAuthorities file("/does/not/exist");
    const auto trust = Trust();
    const test::TestAuthority stranger;
    EXPECT_EQ(CodeFrom(stranger.Issue("IP:127.0.0.1", -1, 1), trust),
              EErrorCode::eUnknownAuthority);
    EXPECT_EQ(CodeFrom(GoodIdentity(), trust), EErrorCode::eNone) << lastDetail;
}

TEST_F(CurlTrust, RefusesCertificatesOutsideTheirDates)
{
    EXPECT_EQ(CodeFrom(Expired()), EErrorCode::eCertificateExpired);
    EXPECT_FALSE(wasAsked);
    EXPECT_EQ(CodeFrom(NotYetValid()), EErrorCode::eCertificateNotYetValid);
    EXPECT_FALSE(wasAsked);
}

TEST_F(CurlTrust, RefusesACertificateOfAnotherHost)
{
    EXPECT_EQ(CodeFrom(authority.Issue("DNS:elsewhere.test", -1, 1)), EErrorCode::eWrongHostName)
        << lastDetail;
    EXPECT_FALSE(wasAsked);
}

TEST_F(CurlTrust, RefusesTlsBelow12)
{
    EXPECT_EQ(CodeFrom(GoodIdentity(), TLS1_2_VERSION), EErrorCode::eNone);
    EXPECT_EQ(CodeFrom(GoodIdentity(), TLS1_1_VERSION), EErrorCode::eTls);
    EXPECT_FALSE(wasAsked);
}

TEST_F(CurlTrust, ReportsAClockBeforeTheBuildTime)
{
    wallTimeS = 3600; // 1970
    EXPECT_EQ(CodeFrom(NotYetValid()), EErrorCode::eClockWrong);
    EXPECT_FALSE(wasAsked) << "verification stays on";
    wallTimeS = -1; // a time that 32 bits cannot hold
    EXPECT_EQ(CodeFrom(NotYetValid()), EErrorCode::eClockWrong);
}

TEST_F(CurlTrust, ReportsAClockFarAhead)
{
    wallTimeS = BuildTimeS() + 24 * kYearS;
    EXPECT_EQ(CodeFrom(Expired()), EErrorCode::eClockWrong);
    EXPECT_FALSE(wasAsked);
    wallTimeS = BuildTimeS() + 10 * kYearS;
    EXPECT_EQ(CodeFrom(Expired()), EErrorCode::eCertificateExpired) << "an old console";
}

TEST_F(CurlTrust, ReportsNoClockForOtherErrors)
{
    wallTimeS = 3600;
    const test::TestAuthority stranger;
    EXPECT_EQ(CodeFrom(GoodIdentity()), EErrorCode::eNone)
        << "the clock is only read after an error";
    EXPECT_EQ(CodeFrom(stranger.Issue("IP:127.0.0.1", -1, 1)), EErrorCode::eUnknownAuthority);
    EXPECT_EQ(CodeFrom(authority.Issue("DNS:elsewhere.test", -1, 1)), EErrorCode::eWrongHostName);
}

TEST(ClockWrong, ComparesWithTheServicesTime)
{
    constexpr std::int64_t kHourS = 3600;
    const std::int64_t now = BuildTimeS() + kYearS;
    EXPECT_FALSE(IsClockWrong(now, std::nullopt));
    EXPECT_FALSE(IsClockWrong(now, now + 20 * kHourS));
    EXPECT_TRUE(IsClockWrong(now, now + 30 * kHourS));
    EXPECT_TRUE(IsClockWrong(now, now - 30 * kHourS));
}

TEST(ServiceTimes, ConfirmsOnlyARightClock)
{
    const std::int64_t rightS = BuildTimeS() + kYearS;
    std::int64_t wallS = rightS + 8 * kDayS;
    Clock::Time now{};
    std::chrono::milliseconds asleep{0};
    ServiceTime time({[&] { return wallS; }, [&] { return now; }, [&] { return asleep; }, {}});
    EXPECT_EQ(time.ConfirmedWallTimeS(), -1) << "the service has told nothing yet";
    time.Note(rightS);
    EXPECT_EQ(time.ConfirmedWallTimeS(), -1);
    wallS = rightS - 8 * kDayS;
    EXPECT_EQ(time.ConfirmedWallTimeS(), -1);
    now += std::chrono::hours(40);
    asleep += std::chrono::hours(8);
    wallS = rightS + 2 * kDayS;
    EXPECT_EQ(time.ConfirmedWallTimeS(), wallS) << "two days have passed";
}

} // namespace kesdk::impl
