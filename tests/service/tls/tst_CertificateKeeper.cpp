// When the running service takes another certificate, and what it tells before a certificate ends.
#include "service/base/Files.h"
#include "service/tls/CertificateKeeper.h"
#include "tests/service/support/ManualClock.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>
#include <openssl/ssl.h>

namespace kelvo::tls {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

class KeptCertificate : public testing::Test
{
protected:
    std::int64_t nowS() const { return clock.nowMs() / 1000; }

    CertificateFiles given() const
    {
        return {folder.Path() / "given.pem", folder.Path() / "given.key"};
    }

    /** Writes a certificate that starts and ends this many days from now. */
    void give(std::int64_t fromDays, std::int64_t toDays) const
    {
        const Key key = makeKey();
        const Validity validity{nowS() + fromDays * dayS, nowS() + toDays * dayS};
        const Certificate certificate =
            makeServerCertificate(*key, {"farm.example"}, *authority, *authorityKey, validity);
        replaceFile(given().key, toPem(*key), 0600);
        replaceFile(given().certificate, toPem(*certificate), 0644);
    }

    std::unique_ptr<CertificateKeeper> keepGiven() const
    {
        return std::make_unique<CertificateKeeper>(CertificateKeeper::Source{given(), {}, {}},
                                                   clock);
    }

    std::unique_ptr<CertificateKeeper> keepOwn() const
    {
        return std::make_unique<CertificateKeeper>(
            CertificateKeeper::Source{{}, folder.Path(), {"localhost"}}, clock);
    }

    std::string refusal() const
    {
        try {
            keepGiven();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "not refused";
    }

    test::TempFolder folder;
    test::ManualClock clock;
    const Key authorityKey = makeKey();
    const Certificate authority =
        makeAuthority(*authorityKey, {nowS() - dayS, nowS() + 3650 * dayS});
};

TEST_F(KeptCertificate, ReadsTheCertificateAgainWhenItsFilesChange)
{
    give(-1, 90);
    const auto keeper = keepGiven();
    const auto before = keeper->context();
    keeper->refresh();
    EXPECT_EQ(keeper->context(), before);
    give(-1, 91);
    keeper->refresh();
    EXPECT_NE(keeper->context(), before);
    EXPECT_EQ(keeper->certificateEndS(), nowS() + 91 * dayS);
    EXPECT_EQ(keeper->authorityEndS(), 0);
}

TEST_F(KeptCertificate, ReadsTheCertificateAgainWhenAsked)
{
    give(-1, 90);
    const auto keeper = keepGiven();
    const auto before = keeper->context();
    keeper->refresh(true);
    EXPECT_NE(keeper->context(), before);
}

TEST_F(KeptCertificate, StaysIfTheNewFilesCannotBeUsed)
{
    give(-1, 90);
    const auto keeper = keepGiven();
    const auto before = keeper->context();
    replaceFile(given().key, toPem(*makeKey()), 0600);
    keeper->refresh();
    std::filesystem::remove(given().certificate);
    keeper->refresh();
    give(-10, -1);
    keeper->refresh();
    EXPECT_EQ(keeper->context(), before);
    give(-1, 30);
    keeper->refresh();
    EXPECT_NE(keeper->context(), before);
}

TEST_F(KeptCertificate, RefusesTheCertificateAtTheStartBeforeItsTimeAndAfterIt)
{
    give(1, 90);
    EXPECT_THAT(refusal(), HasSubstr("is valid only from 2023-11-15T"));
    give(-90, -1);
    EXPECT_THAT(refusal(), HasSubstr("given.pem ended at 2023-11-13T"));
    std::filesystem::remove(given().key);
    EXPECT_THAT(refusal(), HasSubstr("given.key does not exist"));
}

TEST_F(KeptCertificate, RenewsTheCertificateOfTheServiceWhileItRuns)
{
    const auto keeper = keepOwn();
    const auto before = keeper->context();
    EXPECT_EQ(keeper->certificateEndS(), nowS() + 397 * dayS);
    EXPECT_EQ(keeper->authorityEndS(), nowS() + 3650 * dayS);
    clock.Advance(24h * 264);
    keeper->refresh();
    EXPECT_EQ(keeper->context(), before);
    clock.Advance(24h);
    keeper->refresh();
    EXPECT_NE(keeper->context(), before);
    EXPECT_EQ(keeper->certificateEndS(), nowS() + 397 * dayS);
}

TEST_F(KeptCertificate, AcceptsACertificateThatIsValidByTheMachinesClockOnly)
{
    clock.JumpAhead(24h * 10);
    give(0, 90);
    EXPECT_EQ(refusal(), "not refused");
}

TEST_F(KeptCertificate, KeepsACertificateThatIsValidAtTheTrustedTimeOnlyAndTellsItsEnd)
{
    give(-1, 30);
    const auto keeper = keepGiven();
    EXPECT_EQ(keeper->failure(), "");
    clock.JumpAhead(24h * 40);
    keeper->refresh(true);
    EXPECT_EQ(keeper->failure(), "has ended");
    EXPECT_EQ(refusal(), "not refused");
}

TEST_F(KeptCertificate, RenewsTheCertificateOfTheServiceAfterAClockJumpPastItsEnd)
{
    const auto keeper = keepOwn();
    const auto before = keeper->context();
    const std::int64_t authorityEndS = keeper->authorityEndS();
    clock.JumpAhead(24h * 420);
    EXPECT_EQ(keeper->failure(), "has ended; if the machine's clock is right, run kelvo-service"
                                 " clock confirm");
    keeper->refresh();
    EXPECT_NE(keeper->context(), before);
    EXPECT_EQ(keeper->failure(), "");
    EXPECT_EQ(keeper->authorityEndS(), authorityEndS);
}

TEST_F(KeptCertificate, TellsThatACertificateIsNotYetValidByTheMachinesClock)
{
    give(-1, 30);
    const auto keeper = keepGiven();
    clock.FallBehind(24h * 40);
    keeper->refresh(true);
    EXPECT_EQ(keeper->failure(),
              "is valid only from 2023-11-13T22:13:20.000Z: is the machine's clock right?");
    EXPECT_EQ(refusal(), "not refused") << "it is valid at the trusted time";
}

TEST_F(KeptCertificate, ReplacesTheCertificateOfTheServiceThatIsNotYetValid)
{
    const auto keeper = keepOwn();
    const auto before = keeper->context();
    clock.FallBehind(24h * 40);
    EXPECT_THAT(keeper->failure(), HasSubstr("is valid only from 2023-11-14T"));
    keeper->refresh();
    EXPECT_NE(keeper->context(), before);
    EXPECT_EQ(keeper->failure(), "");
}

TEST_F(KeptCertificate, TellsHowToReplaceAnAuthorityThatIsNotYetValid)
{
    const auto keeper = keepOwn();
    clock.FallBehind(24h * 365 * 11);
    keeper->refresh();
    EXPECT_EQ(keeper->failure(),
              "the authority in ca.pem is valid only from 2013-11-16T22:13:20.000Z: set the"
              " machine's clock right; if it is right, run kelvo-service tls renew --authority, and"
              " give the new ca.pem to all clients");
    clock.ShiftTimeOfDay(-24h * 365 * 11); // the clock is trusted again
    clock.FallBehind(-24h * 365 * 11);
    EXPECT_EQ(keepOwn()->failure(), keeper->failure()) << "a start is not refused";
    EXPECT_THAT(keeper->failure(), HasSubstr("tls renew --authority"));
}

TEST_F(KeptCertificate, TheCertificateOfTheServiceStaysIfItCannotBeRenewed)
{
    const auto keeper = keepOwn();
    const auto before = keeper->context();
    replaceFile(folder.Path() / "ca.pem", "no certificate", 0644);
    keeper->refresh(true);
    EXPECT_EQ(keeper->context(), before);
}

TEST(EndOfACertificate, WarnsOnceForEachThreshold)
{
    EndWarning warning;
    const std::int64_t endS = 1700000000;
    std::vector<int> told;
    for (std::int64_t hours = 24 * 40; hours > -48; --hours) {
        if (const auto days = warning.due(endS, endS - hours * 3600)) {
            told.push_back(*days);
        }
    }
    EXPECT_THAT(told, testing::ElementsAre(30, 7, 1, 0));
    EXPECT_EQ(warning.due(endS + 6 * dayS, endS), 7) << "after a renewal";
    EXPECT_EQ(warning.due(endS, endS - 40 * dayS), std::nullopt);
    EXPECT_EQ(warning.due(endS, endS), 0);
    EXPECT_EQ(warning.due(endS, endS - 40 * dayS), std::nullopt) << "the clock was ahead";
    EXPECT_EQ(warning.due(endS, endS - 20 * dayS), 30);
}

} // namespace
} // namespace kelvo::tls
