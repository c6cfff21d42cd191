// The log source: its rate, its gaps and its end.
#include "console/position/Sentences.h"
#include "console/position/TLogSource.h"
#include "console/position/TMonitored.h"
#include "support/TestMain.h"

#include <QtCore/QTemporaryFile>

#include <cmath>
#include <memory>

using namespace kelvo::test;
using console::ELossReason;
using console::ESourceState;
using console::TLogSource;

namespace {

struct TFixture : TMonitored
{
    explicit TFixture(const QByteArray& log, double speed = 1.0)
    {
        if (!file.open() || file.write(log) != log.size() || !file.flush()) {
            qFatal("no temporary file");
        }
        source = std::make_unique<TLogSource>(file.fileName(), speed, monitor, time);
        source->Start();
        time.Advance(0);
    }

    // The times of the fixes until now.
    QVector<double> Times() const
    {
        QVector<double> times;
        for (const console::TReceivedFix& fix : Fixes()) {
            times << fix.utcTime;
        }
        return times;
    }

    void PlayToTheEnd()
    {
        while (time.AdvanceToNext()) {
        }
    }

    QTemporaryFile file;
    std::unique_ptr<TLogSource> source;
};

} // namespace

class TLogSourceTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void playsInRealTime()
    {
        TFixture fixture("# a comment\n" + Gga("093015", '1') + Rmc("093015", 'A') +
                         Sentence("GPGSV,1,1,00") + Gga("093016.2", '1') + Gga("093017", '1'));
        QCOMPARE(fixture.Times(), QVector<double>({93015, 93015}));
        fixture.time.Advance(1199);
        QCOMPARE(fixture.Times().size(), 2);
        fixture.time.Advance(1);
        QCOMPARE(fixture.Times().size(), 3);
        QCOMPARE(fixture.Times().constLast(), 93016.2);
        fixture.time.Advance(799);
        QCOMPARE(fixture.monitor.State().source, ESourceState::eRunning);
        fixture.time.Advance(1);
        QCOMPARE(fixture.Times().size(), 4);
        QCOMPARE(fixture.monitor.State().source, ESourceState::eEnded);
        QCOMPARE(fixture.monitor.State().reason, ELossReason::eSourceEnded);
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true}));
    }

    void playsAtAHigherSpeed()
    {
        TFixture fixture(Gga("093015", '1') + Gga("093019", '1') + Gga("093023", '1'), 8.0);
        fixture.time.Advance(499);
        QCOMPARE(fixture.Times().size(), 1);
        fixture.time.Advance(1);
        QCOMPARE(fixture.Times().size(), 2);
        fixture.time.Advance(500);
        QCOMPARE(fixture.Times().size(), 3);
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true}));
    }

    void doesNotAddUpDelays()
    {
        TFixture fixture(Gga("093015", '1') + Gga("093016", '1') + Gga("093017", '1'), 3.0);
        fixture.time.Advance(333);
        QCOMPARE(fixture.Times().size(), 2);
        QCOMPARE(fixture.time.NextInMs(), std::int64_t(667 - 333));
    }

    void losesTheFixInAGapAtAnySpeed_data()
    {
        QTest::addColumn<double>("speed");
        QTest::newRow("real time") << 1.0;
        QTest::newRow("fast") << 100.0;
        QTest::newRow("fastest") << 1000.0;
    }

    void losesTheFixInAGapAtAnySpeed()
    {
        QFETCH(double, speed);
        TFixture fixture(Gga("093015", '1') + Gga("093019.9", '1') + Gga("093026", '1'), speed);
        const std::int64_t startMs = fixture.time.NowMs();
        fixture.PlayToTheEnd();
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true, false, true}));
        QCOMPARE(fixture.time.NowMs() - startMs, std::int64_t(std::llround(11000 / speed)));
        bool wasSilent = false;
        for (const console::TPositionEvent& event : fixture.events) {
            wasSilent = wasSilent || event.state.reason == ELossReason::eSilent;
        }
        QVERIFY(wasSilent);
    }

    void shortensLongGaps()
    {
        TFixture fixture(Gga("093015", '1') + Gga("113015", '1'));
        fixture.time.Advance(TLogSource::maxGapMs - 1);
        QCOMPARE(fixture.Times().size(), 1);
        fixture.time.Advance(1);
        QCOMPARE(fixture.Times().size(), 2);
    }

    void playsOverMidnight()
    {
        TFixture fixture(Gga("235959", '1') + Gga("000001", '1'));
        fixture.time.Advance(1999);
        QCOMPARE(fixture.Times().size(), 1);
        fixture.time.Advance(1);
        QCOMPARE(fixture.Times(), QVector<double>({235959, 1}));
    }

    void playsOnAtOnceWhenTheTimeGoesBack()
    {
        TFixture fixture(Gga("093015", '1') + Gga("093014", '1') + Gga("093015", '1'));
        QCOMPARE(fixture.Times(), QVector<double>({93015, 93014}));
        fixture.time.Advance(1000);
        QCOMPARE(fixture.Times().size(), 3);
    }

    void ignoresTheTimesOfDamagedSentences()
    {
        TFixture fixture(
            Gga("093015", '1') + QByteArray(Gga("103015", '1')).replace("5030", "5031") +
            QByteArray(5000, 'x') + '\n' + QByteArray("\0\xff$", 3) + '\n' + Gga("093016", '1'));
        QCOMPARE(fixture.Times().size(), 1);
        fixture.time.Advance(1000);
        QCOMPARE(fixture.Times().size(), 2);
        QCOMPARE(fixture.monitor.State().counts.Faulty(), std::uint64_t(2));
    }

    void returnsToTheEventLoopWhilePlaying()
    {
        QTemporaryFile file;
        QVERIFY(file.open() && file.write(Gga("093015", '1').repeated(1000)) > 0 && file.flush());
        TMonitored monitored;
        TLogSource source(file.fileName(), 1.0, monitored.monitor, monitored.time);
        source.Start();
        int turns = 0;
        while (monitored.time.AdvanceToNext()) {
            ++turns;
        }
        QCOMPARE(monitored.monitor.State().fixes, std::uint64_t(1000));
        QVERIFY(turns > 3);
    }

    void endsAtOnceWithoutAFile()
    {
        TMonitored monitored;
        const TExpectedMessage warning(QStringLiteral("cannot be read"));
        TLogSource source(QStringLiteral("/nowhere/log"), 1.0, monitored.monitor, monitored.time);
        source.Start();
        QCOMPARE(monitored.monitor.State().source, ESourceState::eEnded);
        QVERIFY(!monitored.time.AdvanceToNext());
    }

    void losesTheFixWhenItIsDestroyed()
    {
        TFixture fixture(Gga("093015", '1') + Gga("093016", '1'));
        fixture.source.reset();
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true}));
        QVERIFY(!fixture.time.AdvanceToNext());
    }
};

KELVO_TEST_MAIN(TLogSourceTest)
#include "tst_LogSource.moc"
