// TLiveSource: when it reconnects and what it logs.
#include "console/position/Sentences.h"
#include "console/position/TLiveSource.h"
#include "console/position/TMonitored.h"
#include "support/TestMain.h"

using namespace kelvo::test;
using console::ELossReason;
using console::ESourceState;

namespace {

// A source whose connection the test opens, feeds and breaks.
class TPlayedSource : public console::TLiveSource
{
public:
    TPlayedSource(console::TPositionMonitor& monitor, console::TSourceTime& time)
        : TLiveSource(QStringLiteral("The receiver"), monitor, time)
    {}
    ~TPlayedSource() override { End(); }

    void Say(const QByteArray& bytes)
    {
        OnBytes({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    }
    void Break() { OnFailed(QStringLiteral("the wire is cut")); }

    bool canOpen = true;
    int tries = 0;
    int closings = 0;

private:
    void Open() override
    {
        ++tries;
        if (canOpen) {
            OnOpened();
        } else {
            OnFailed(QStringLiteral("there is none"));
        }
    }
    void Close() override { ++closings; }
};

struct TFixture : TMonitored
{
    // Ends an outage.
    void SayUntilSteady()
    {
        constexpr int pieces = 5; // short enough to keep the fix
        source.Say(Gga("093030", '1'));
        for (int i = 1; i < pieces; ++i) {
            time.Advance(console::TLiveSource::steadyMs / pieces);
            source.Say(Gga("093035", '1'));
        }
        time.Advance(console::TLiveSource::steadyMs / pieces);
        const TExpectedMessage back(QStringLiteral("NMEA sentences come again"), QtInfoMsg);
        source.Say(Gga("093040", '1'));
    }

    TPlayedSource source{monitor, time};
};

} // namespace

class TLiveSourceTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void retriesWithAGrowingBackoff()
    {
        TExpectedMessage warning(QStringLiteral("there is none"));
        TFixture fixture;
        fixture.source.canOpen = false;
        fixture.source.Start();
        QVector<std::int64_t> waits;
        for (int i = 0; i < 8; ++i) {
            waits << fixture.time.NextInMs();
            fixture.time.AdvanceToNext();
        }
        QCOMPARE(waits,
                 QVector<std::int64_t>({1000, 2000, 4000, 8000, 16000, 30000, 30000, 30000}));
        QCOMPARE(fixture.source.tries, 9);
        QCOMPARE(warning.Count(), 1);
        QCOMPARE(fixture.monitor.State().source, ESourceState::eConnecting);
    }

    void logsTheEndOfAnOutageAndTheNextOutage()
    {
        TExpectedMessage warning(QStringLiteral("the wire is cut"));
        TFixture fixture;
        fixture.source.Start();
        fixture.source.Say(Gga("093015", '1'));
        for (int outage = 1; outage <= 2; ++outage) {
            fixture.source.Break();
            QCOMPARE(warning.Count(), outage);
            QCOMPARE(fixture.time.NextInMs(), std::int64_t(1000));
            fixture.time.AdvanceToNext();
            QCOMPARE(fixture.source.tries, outage + 1);
            fixture.source.Say(Gga("093016", '1')); // not yet
            fixture.SayUntilSteady();
        }
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true, false, true, false}));
    }

    // A loose plug.
    void logsOneOutageIfEachConnectionBreaksAfterASentence()
    {
        TExpectedMessage warning(QStringLiteral("the wire is cut"));
        TFixture fixture;
        fixture.source.Start();
        QVector<std::int64_t> waits;
        for (int i = 0; i < 7; ++i) {
            fixture.source.Say(Gga("093015", '1'));
            fixture.time.Advance(console::TLiveSource::steadyMs - 1);
            fixture.source.Say(Gga("093024", '1'));
            fixture.source.Break();
            waits << fixture.time.NextInMs();
            fixture.time.AdvanceToNext();
        }
        QCOMPARE(waits, QVector<std::int64_t>({1000, 2000, 4000, 8000, 16000, 30000, 30000}));
        QCOMPARE(warning.Count(), 1);
        fixture.SayUntilSteady();
        fixture.source.Break();
        QCOMPARE(fixture.time.NextInMs(), std::int64_t(1000));
        QCOMPARE(warning.Count(), 2);
    }

    // The time of a sentence before an outage does not count for the next connection.
    void measuresEachConnectionSeparately()
    {
        const TExpectedMessage warning(QStringLiteral("the wire is cut"));
        TFixture fixture;
        fixture.source.Start();
        fixture.source.Say(Gga("093015", '1'));
        fixture.time.Advance(console::TLiveSource::steadyMs);
        fixture.source.Break();
        fixture.time.AdvanceToNext();
        fixture.source.Say(
            Gga("093026", '1')); // "NMEA sentences come again" would be unexpected here
        fixture.source.Break();
        QCOMPARE(fixture.time.NextInMs(), std::int64_t(2000));
    }

    void growsTheBackoffIfConnectionsOpenAndStaySilent()
    {
        TExpectedMessage warning(QStringLiteral("the wire is cut"));
        TFixture fixture;
        fixture.source.Start();
        fixture.source.Break();
        fixture.time.AdvanceToNext();
        fixture.source.Break();
        QCOMPARE(fixture.time.NextInMs(), std::int64_t(2000));
        QCOMPARE(warning.Count(), 1);
    }

    void losesTheFixAfterFiveSecondsOfSilence()
    {
        TFixture fixture;
        fixture.source.Start();
        fixture.source.Say(Gga("093015", '1'));
        fixture.time.Advance(4000);
        fixture.source.Say(Gga("093019", '1'));
        fixture.time.Advance(4999);
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false}));
        fixture.time.Advance(1);
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true}));
        QCOMPARE(fixture.monitor.State().reason, ELossReason::eSilent);
        QCOMPARE(fixture.source.closings, 0);
        fixture.source.Say(Gga("093029", '1'));
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true, false}));
    }

    void reconnectsWhenNoSentenceComes()
    {
        const TExpectedMessage warning(QStringLiteral("no NMEA sentence comes"));
        TFixture fixture;
        fixture.source.Start();
        fixture.time.Advance(1000);
        fixture.source.Say(Sentence("GPGSV,1,1,00"));
        QCOMPARE(fixture.monitor.State().source, ESourceState::eRunning);
        fixture.time.Advance(console::TLiveSource::idleMs - 1);
        QCOMPARE(fixture.source.closings, 0);
        fixture.time.Advance(1);
        QCOMPARE(fixture.source.closings, 1);
        fixture.time.Advance(1000);
        QCOMPARE(fixture.source.tries, 2);
    }

    // A daemon without a receiver, or a line at a wrong baud rate.
    void warnsOnceOfAPeerThatSendsNoSentences()
    {
        TExpectedMessage warning(QStringLiteral("no NMEA sentence comes"));
        TFixture fixture;
        fixture.source.Start();
        for (int i = 0; i < 5; ++i) {
            fixture.source.Say("{\"class\":\"VERSION\"}\r\n\x80\xfe$GP\xff");
            QCOMPARE(fixture.monitor.State().source, ESourceState::eConnecting);
            fixture.time.AdvanceToNext(); // closes the connection
            fixture.time.AdvanceToNext(); // opens again
        }
        QCOMPARE(fixture.source.tries, 6);
        QCOMPARE(warning.Count(), 1);
    }

    void doesNotJoinPartsOfTwoConnections()
    {
        const TExpectedMessage warning(QStringLiteral("the wire is cut"));
        TFixture fixture;
        fixture.source.Start();
        const QByteArray sentence = Gga("093015", '1');
        fixture.source.Say(sentence.left(30));
        fixture.source.Break();
        fixture.time.AdvanceToNext();
        fixture.source.Say(sentence.mid(30));
        QVERIFY(fixture.gpsLost.empty());
    }
};

KELVO_TEST_MAIN(TLiveSourceTest)
#include "tst_LiveSource.moc"
