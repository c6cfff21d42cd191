// The position feed: gaining, keeping and losing the fix.
#include "console/position/Sentences.h"
#include "console/position/TMonitored.h"
#include "console/position/TPositionFeed.h"
#include "support/TestMain.h"

using namespace kelvo::test;
using console::EFixQuality;
using console::ELossReason;
using console::EPositionState;
using console::TPositionFeed;
using console::TPositionState;

namespace {

struct TFixture : TMonitored
{
    void Take(const QByteArray& bytes)
    {
        feed.Take({bytes.constData(), static_cast<std::size_t>(bytes.size())}, nowMs);
    }
    // Takes bytes one second later.
    void TakeLater(const QByteArray& bytes)
    {
        nowMs += 1000;
        Take(bytes);
    }

    std::int64_t nowMs = 5000000;
    TPositionFeed feed{monitor};
};

const std::vector<bool> gained = {false};
const std::vector<bool> gainedAndLost = {false, true};

} // namespace

class TPositionFeedTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void passesOnTheReceiversTime()
    {
        TFixture fixture;
        fixture.Take(Gga("093015.25", '1'));
        const TGPSFix fix = fixture.coordinator.GetCurrentFix();
        QCOMPARE(fix.utcTime, 93015.25);
        QCOMPARE(fix.latitudeDegrees, sentenceLatitude);
        QCOMPARE(fix.longitudeDegrees, sentenceLongitude);
        QCOMPARE(fixture.gpsLost, gained);
    }

    // GGA has the satellites, RMC or VTG the motion.
    void completesTheFixFromOtherKindsOfSentences()
    {
        TFixture fixture;
        fixture.Take(Gga("093015", '4'));
        QVERIFY(!fixture.monitor.State().fix.speedKmh);
        fixture.Take(Rmc("093015", 'A'));
        QCOMPARE(fixture.monitor.State().fix.satellites, std::optional(9));
        QCOMPARE(fixture.monitor.State().fix.speedKmh, std::optional(1.5 * 1.852));
        QCOMPARE(fixture.monitor.State().fix.headingDegrees, std::optional(90.0));
        fixture.TakeLater(Sentence("GPVTG,45.0,T,,M,10.0,N,,K,A") + Gga("093016", '4'));
        QCOMPARE(fixture.monitor.State().fix.speedKmh, std::optional(18.52));
        QCOMPARE(fixture.monitor.State().fix.headingDegrees, std::optional(45.0));
    }

    void forgetsAMotionThatNoSentenceRepeats()
    {
        TFixture fixture;
        fixture.Take(Gga("093015", '4') + Rmc("093015", 'A'));
        for (int second = 16; second <= 20; ++second) {
            fixture.TakeLater(Gga("0930" + QByteArray::number(second), '4'));
            QCOMPARE(fixture.monitor.State().fix.speedKmh.has_value(), second < 20);
        }
        QCOMPARE(fixture.monitor.State().fix.satellites, std::optional(9));
    }

    void losesTheFixWhenOneKindOfSentenceIsVoid_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("RMC") << Rmc("093016", 'V');
        QTest::newRow("RMC's mode") << Rmc("093016", 'A', 'N');
        QTest::newRow("GGA") << Gga("093016", '0');
    }

    void losesTheFixWhenOneKindOfSentenceIsVoid()
    {
        QFETCH(QByteArray, bytes);
        TFixture fixture;
        fixture.Take(Gga("093015", '1') + Rmc("093015", 'A'));
        fixture.TakeLater(bytes);
        QCOMPARE(fixture.gpsLost, gainedAndLost);
        const TPositionState state = fixture.monitor.State();
        QCOMPARE(state.state, EPositionState::eLost);
        QCOMPARE(state.reason, ELossReason::eVoid);
        QCOMPARE(state.lost, 1);
        QCOMPARE(fixture.coordinator.GetCurrentFix().utcTime, 93015.0);
    }

    void keepsTheFixLostWhileSentencesDisagree()
    {
        TFixture fixture;
        fixture.Take(Gga("093015", '0') + Rmc("093015", 'V'));
        for (int second = 16; second < 40; ++second) {
            const QByteArray time = "0930" + QByteArray::number(second);
            fixture.TakeLater(Rmc(time, 'A') + Gga(time, '0'));
        }
        QVERIFY(fixture.gpsLost.empty());
        fixture.TakeLater(Rmc("093040", 'A') + Gga("093040", '1'));
        QCOMPARE(fixture.gpsLost, gained);
        QCOMPARE(fixture.monitor.State().fixes, std::uint64_t(1));
    }

    void regainsTheFixWhenAllSentencesAgree()
    {
        TFixture fixture;
        fixture.Take(Rmc("093015", 'V') + Gga("093015", '0'));
        fixture.TakeLater(Gga("093016", '1'));
        QVERIFY(fixture.gpsLost.empty());
        fixture.Take(Rmc("093016", 'A'));
        QCOMPARE(fixture.gpsLost, gained);
    }

    void forgetsAVoidStatusOfASilentKind()
    {
        TFixture fixture;
        fixture.Take(Rmc("093015", 'V'));
        for (int second = 16; second < 20; ++second) {
            fixture.TakeLater(Gga("0930" + QByteArray::number(second), '1'));
            QVERIFY(fixture.gpsLost.empty());
        }
        fixture.TakeLater(Gga("093020", '1'));
        QCOMPARE(fixture.gpsLost, gained);
    }

    void losesTheFixAfterFiveSecondsOfSilence()
    {
        TFixture fixture;
        fixture.Take(Gga("093015", '1'));
        QCOMPARE(fixture.feed.DeadlineMs().value_or(0), fixture.nowMs + 5000);
        fixture.feed.Tick(fixture.nowMs + 4999);
        QCOMPARE(fixture.gpsLost, gained);
        fixture.feed.Tick(fixture.nowMs + 5000);
        QCOMPARE(fixture.gpsLost, gainedAndLost);
        QCOMPARE(fixture.monitor.State().reason, ELossReason::eSilent);
        QVERIFY(!fixture.feed.DeadlineMs());
    }

    void noticesSilenceEvenIfTheTimerIsLate()
    {
        TFixture fixture;
        fixture.Take(Gga("093015", '1'));
        fixture.nowMs += 6000;
        fixture.Take(Gga("093021", '1'));
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true, false}));
    }

    void countsOtherSentencesAsSilence()
    {
        TFixture fixture;
        fixture.Take(Gga("093015", '1'));
        for (int second = 0; second < 5; ++second) {
            fixture.TakeLater(Sentence("GPGSV,1,1,00") + "\xff$GPGGA,torn\r\n");
        }
        QCOMPARE(fixture.gpsLost, gainedAndLost);
        QCOMPARE(fixture.monitor.State().counts.Faulty(), std::uint64_t(5));
        QCOMPARE(fixture.monitor.State().counts.others, std::uint64_t(5));
    }

    void losesTheFixAtTheEnd()
    {
        TFixture fixture;
        fixture.Take(Gga("093015", '1') + Gga("093016", '1').left(20));
        fixture.feed.End();
        QCOMPARE(fixture.gpsLost, gainedAndLost);
        QCOMPARE(fixture.monitor.State().reason, ELossReason::eSourceEnded);
        fixture.feed.End();
        QCOMPARE(fixture.monitor.State().lost, 1);
    }

    void forgetsOldStatusesAfterTheEnd()
    {
        TFixture fixture;
        fixture.Take(Rmc("093015", 'V') + Gga("093015", '1').left(20));
        fixture.feed.End();
        fixture.Take(Gga("093015", '1').mid(20));
        QVERIFY(fixture.gpsLost.empty());
        fixture.Take(Gga("093016", '1')); // the old status of RMC is forgotten
        QCOMPARE(fixture.gpsLost, gained);
    }

    void takesTheQualityOfGgaBeforeRmc()
    {
        TFixture fixture;
        fixture.Take(Rmc("093015", 'A'));
        QCOMPARE(fixture.monitor.State().fix.quality, EFixQuality::eAutonomous);
        fixture.Take(Rmc("093016", 'A', 'D'));
        QCOMPARE(fixture.monitor.State().fix.quality, EFixQuality::eDifferential);
        fixture.Take(Gga("093016", '4'));
        fixture.Take(Rmc("093017", 'A', 'D'));
        QCOMPARE(fixture.monitor.State().fix.quality, EFixQuality::eRtkFixed);
        QCOMPARE(fixture.monitor.State().fix.utcTime, 93017.0);
    }

    void knowsTheAgeOfTheLastFix()
    {
        TFixture fixture;
        QCOMPARE(fixture.monitor.State().ageMs, std::int64_t(-1));
        fixture.Take(Gga("093015", '1'));
        fixture.time.Advance(1500);
        QCOMPARE(fixture.monitor.State().ageMs, std::int64_t(1500));
        fixture.Take(Gga("093016", '0'));
        fixture.time.Advance(500);
        QCOMPARE(fixture.monitor.State().ageMs, std::int64_t(2000));
    }

    void reportsEachFixAndEachChangeOnce()
    {
        using EChange = console::TPositionEvent::EChange;
        TFixture fixture;
        fixture.Take(Gga("093015", '1') + Gga("093016", '1') + Gga("093017", '0') +
                     Gga("093018", '0') + Gga("093019", '1'));
        QVector<EChange> changes;
        for (const console::TPositionEvent& event : fixture.events) {
            changes << event.change;
        }
        QCOMPARE(changes, QVector<EChange>(
                              {EChange::eGained, EChange::eFix, EChange::eLost, EChange::eGained}));
        QCOMPARE(fixture.events.back().state.gained, 2);
        QCOMPARE(fixture.events.back().state.lost, 1);
    }
};

KELVO_TEST_MAIN(TPositionFeedTest)
#include "tst_PositionFeed.moc"
