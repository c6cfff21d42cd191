// The certificates that the transport accepts, and its errors for other certificates.
#include "support/CurlFixture.h"

#include "base/BuildTime.h"
#include "tests/support/Variable.h"

#include <openssl/x509_vfy.h>

#include <array>
#include <chrono>
#include <ctime>
#include <functional>

namespace kesdk::impl {

namespace {

constexpr std::int64_t kHourS = std::int64_t{60} * 60;
constexpr std::int64_t kYearS = 365 * 24 * kHourS;

// An answer with this time, after which the connection ends.
std::string AnswerAt(std::int64_t wallTimeS)
{
    const auto time = static_cast<std::time_t>(wallTimeS);
    std::array<char, 64> date{};
    std::strftime(date.data(), date.size(), "%a, %d %b %Y %H:%M:%S GMT", std::gmtime(&time));
    return std::string("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 5\r\nDate: ") +
           date.data() + "\r\n\r\nhello";
}

// A body that takes hours, like the body of the event stream.
class LongBody : public BodySink
{
public:
    explicit LongBody(std::function<void()> pass) : m_pass(std::move(pass)) {}
    bool Accept(const HttpResponse&) override { return true; }
    bool Write(const char*, std::size_t) override
    {
        m_pass();
        return true;
    }

private:
    const std::function<void()> m_pass;
};

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
        console.now = [this] { return std::chrono::steady_clock::now() + passed; };
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
    std::chrono::hours passed{0};
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
    EXPECT_EQ(CodeFrom(NotYetValid()), EErrorCode::eClockWrong) << "also a few hours behind";
    EXPECT_FALSE(wasAsked);
}

TEST_F(CurlTrust, BlamesNoClockThatTheServiceHasConfirmed)
{
    const auto script = [this](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(AnswerAt(wallTimeS));
    };
    for (const std::int64_t behindS : {std::int64_t{0}, kHourS}) {
        TlsPeer peer(GoodIdentity(), script);
        CurlTransport transport(peer.Url(), Trust(), console);
        LongBody body([this] {
            wallTimeS += 3 * kHourS;
            passed += std::chrono::hours(3);
        });
        request.sink = &body;
        request.limits.stallWindow = std::chrono::hours(24);
        EXPECT_FALSE(transport.Perform(request, {}).failure.IsSet());
        peer.Use(NotYetValid());
        wallTimeS -= behindS;
        EXPECT_EQ(transport.Perform(request, {}).failure.code,
                  behindS == 0 ? EErrorCode::eCertificateNotYetValid : EErrorCode::eClockWrong);
    }
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
    EXPECT_FALSE(time.IsConsoleOff());
    time.Note(rightS);
    EXPECT_EQ(time.ConfirmedWallTimeS(), -1);
    EXPECT_TRUE(time.IsConsoleOff());
    wallS = rightS - 8 * kDayS;
    EXPECT_EQ(time.ConfirmedWallTimeS(), -1);
    now += std::chrono::hours(40);
    asleep += std::chrono::hours(8);
    wallS = rightS + 2 * kDayS;
    EXPECT_EQ(time.ConfirmedWallTimeS(), wallS) << "two days have passed";
    EXPECT_FALSE(time.IsConsoleOff());
}

} // namespace kesdk::impl
