// Plays logs of real receivers, from the folder "nmea" in KELVO_TEST_DATA. The console must report
// every position and change in a log, and no other. Skipped if that variable is not set.
#include "console/position/LogReading.h"
#include "console/position/Sentences.h"
#include "console/position/TLogSource.h"
#include "console/position/TMonitored.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryFile>

#include <cmath>

using namespace kelvo::test;
using console::TLogSource;

namespace {

constexpr double allowedDegrees = 1e-7;
constexpr double silenceSeconds = 5.0;

bool IsNear(const console::TReceivedFix& fix, const TReadPosition& position)
{
    return std::abs(fix.latitudeDegrees - position.latitude) <= allowedDegrees &&
           std::abs(fix.longitudeDegrees - position.longitude) <= allowedDegrees &&
           fix.utcTime == position.hhmmss;
}

// Plays a log to its end, without waiting, and compares.
void Compare(const QString& path)
{
    const TLogReading expected = ReadLog(path, silenceSeconds);
    QVERIFY(expected.gained > 0 && expected.sentences > 0);
    TMonitored monitored;
    TLogSource source(path, 1.0, monitored.monitor, monitored.time);
    source.Start();
    while (monitored.time.AdvanceToNext()) {
    }
    const console::TPositionState state = monitored.monitor.State();
    QCOMPARE(state.gained, expected.gained);
    QCOMPARE(state.lost, expected.lost);
    QCOMPARE(int(state.counts.positions), expected.sentences);
    QCOMPARE(state.counts.Faulty(), std::uint64_t(0));
    const auto fixes = monitored.Fixes();
    QCOMPARE(fixes.size(), expected.positions.size());
    for (int i = 0; i < fixes.size(); ++i) {
        QVERIFY2(IsNear(fixes.at(i), expected.positions.at(i)),
                 qPrintable(QStringLiteral("position %1").arg(i)));
    }
}

} // namespace

class TRealLogsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    // Tests the reader that the other tests compare with.
    void readsASmallLogCorrectly()
    {
        QTemporaryFile log;
        QVERIFY(log.open());
        log.write("# " + Gga("093014", '1') + Rmc("093015", 'V') + Gga("093015", '0') +
                  Rmc("093016", 'A') + Gga("093016", '1', 123) + Rmc("093017", 'A') +
                  Gga("093022", '1') + Rmc("093022", 'V'));
        QVERIFY(log.flush());
        const TLogReading reading = ReadLog(log.fileName(), 5.0);
        QCOMPARE(reading.sentences, 7);
        QCOMPARE(reading.gained, 2);
        QCOMPARE(reading.lost, 2);
        QCOMPARE(reading.positions.size(), 3);
        QVERIFY(std::abs(reading.positions.at(0).latitude - (50 + 30.123 / 60)) < 1e-12);
        QCOMPARE(reading.positions.at(0).longitude, sentenceLongitude);
        QCOMPARE(reading.positions.at(1).hhmmss, 93017.0);
    }

    void playsAGeneratedLog()
    {
        QTemporaryFile log;
        QVERIFY(log.open());
        for (const char* second : {"10", "11", "12", "19", "20", "21", "22"}) {
            const QByteArray time = "0930" + QByteArray(second);
            const bool isVoid = time == "093021";
            log.write(Gga(time, isVoid ? '0' : '4', 10) + Sentence("GPGSV,1,1,00") +
                      Rmc(time, isVoid ? 'V' : 'A', 'R', 10));
        }
        QVERIFY(log.flush());
        Compare(log.fileName());
    }

    void playsRealLogs_data()
    {
        QTest::addColumn<QString>("path");
        const QString data = qEnvironmentVariable("KELVO_TEST_DATA");
        const QFileInfoList files =
            data.isEmpty() ? QFileInfoList()
                           : QDir(data + QStringLiteral("/nmea"))
                                 .entryInfoList({QStringLiteral("*.log")}, QDir::Files, QDir::Name);
        if (files.isEmpty()) {
            QTest::newRow("none") << QString();
        }
        for (const QFileInfo& file : files) {
            QTest::newRow(qUtf8Printable(file.fileName())) << file.absoluteFilePath();
        }
    }

    void playsRealLogs()
    {
        QFETCH(QString, path);
        if (path.isEmpty()) {
            if (qEnvironmentVariableIsSet("KELVO_TEST_DATA")) {
                QFAIL("KELVO_TEST_DATA has no logs in its folder \"nmea\"");
            }
            QSKIP("KELVO_TEST_DATA is not set");
        }
        Compare(path);
    }
};

KELVO_TEST_MAIN(TRealLogsTest)
#include "tst_RealLogs.moc"
