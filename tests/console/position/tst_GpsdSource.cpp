// The gpsd source. The test takes the place of gpsd.
#include "console/position/Sentences.h"
#include "console/position/TGpsdSource.h"
#include "console/position/TMonitored.h"
#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

using namespace kelvo::test;
using console::ESourceState;
using console::TGpsdSource;

namespace {

const QByteArray banner = "{\"class\":\"VERSION\",\"release\":\"3.22\"}\r\n";
const QByteArray request = "?WATCH={\"enable\":true,\"nmea\":true};\r\n";

struct TFixture : TMonitored
{
    TFixture()
    {
        if (!daemon.listen(QHostAddress::LocalHost)) {
            qFatal("no port");
        }
        source = std::make_unique<TGpsdSource>(QStringLiteral("127.0.0.1"), daemon.serverPort(),
                                               monitor, time);
    }

    QTcpServer daemon;
    std::unique_ptr<TGpsdSource> source;
};

} // namespace

class TGpsdSourceTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void asksForSentencesAndReadsThem()
    {
        TFixture fixture;
        fixture.source->Start();
        QTRY_VERIFY_WITH_TIMEOUT(fixture.daemon.hasPendingConnections(), HANG_GUARD_MS);
        const std::unique_ptr<QTcpSocket> peer(fixture.daemon.nextPendingConnection());
        peer->write(banner);
        QTRY_COMPARE_WITH_TIMEOUT(peer->bytesAvailable(), qint64(request.size()), HANG_GUARD_MS);
        QCOMPARE(peer->readAll(), request);
        peer->write(Gga("093015.25", '4'));
        QTRY_COMPARE_WITH_TIMEOUT(fixture.gpsLost, std::vector<bool>({false}), HANG_GUARD_MS);
        QCOMPARE(fixture.monitor.State().source, ESourceState::eRunning);
        QCOMPARE(fixture.coordinator.GetCurrentFix().utcTime, 93015.25);
        fixture.time.Advance(5000);
        QCOMPARE(fixture.gpsLost, std::vector<bool>({false, true}));
    }

    void reconnectsToADaemonThatEnded()
    {
        const TExpectedMessage warning(QStringLiteral("gpsd at 127.0.0.1"));
        TFixture fixture;
        fixture.source->Start();
        QTRY_VERIFY_WITH_TIMEOUT(fixture.daemon.hasPendingConnections(), HANG_GUARD_MS);
        std::unique_ptr<QTcpSocket> peer(fixture.daemon.nextPendingConnection());
        peer->write(Gga("093015", '1'));
        QTRY_COMPARE_WITH_TIMEOUT(fixture.gpsLost, std::vector<bool>({false}), HANG_GUARD_MS);
        peer.reset();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.gpsLost, std::vector<bool>({false, true}), HANG_GUARD_MS);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.time.NextInMs(), std::int64_t(1000), HANG_GUARD_MS);
        fixture.time.AdvanceToNext();
        QTRY_VERIFY_WITH_TIMEOUT(fixture.daemon.hasPendingConnections(), HANG_GUARD_MS);
        peer.reset(fixture.daemon.nextPendingConnection());
        peer->write(Gga("093016", '1'));
        QTRY_COMPARE_WITH_TIMEOUT(fixture.gpsLost, std::vector<bool>({false, true, false}),
                                  HANG_GUARD_MS);
    }

    void retriesAPortThatRefuses()
    {
        TExpectedMessage warning(QStringLiteral("gpsd at 127.0.0.1"));
        TFixture fixture;
        const quint16 port = fixture.daemon.serverPort();
        fixture.daemon.close();
        fixture.source->Start();
        for (const std::int64_t wait : {1000, 2000, 4000}) {
            QTRY_COMPARE_WITH_TIMEOUT(fixture.time.NextInMs(), wait, HANG_GUARD_MS);
            fixture.time.AdvanceToNext();
        }
        QTRY_COMPARE_WITH_TIMEOUT(fixture.time.NextInMs(), std::int64_t(8000), HANG_GUARD_MS);
        QCOMPARE(warning.Count(), 1);
        QVERIFY(fixture.daemon.listen(QHostAddress::LocalHost, port));
        fixture.time.AdvanceToNext();
        QTRY_VERIFY_WITH_TIMEOUT(fixture.daemon.hasPendingConnections(), HANG_GUARD_MS);
    }

    void closesASilentConnection()
    {
        const TExpectedMessage warning(QStringLiteral("no NMEA sentence comes"));
        TFixture fixture;
        fixture.source->Start();
        QTRY_VERIFY_WITH_TIMEOUT(fixture.daemon.hasPendingConnections(), HANG_GUARD_MS);
        const std::unique_ptr<QTcpSocket> peer(fixture.daemon.nextPendingConnection());
        QTRY_COMPARE_WITH_TIMEOUT(fixture.time.NextInMs(), console::TLiveSource::idleMs,
                                  HANG_GUARD_MS);
        fixture.time.AdvanceToNext();
        QTRY_COMPARE_WITH_TIMEOUT(peer->state(), QAbstractSocket::UnconnectedState, HANG_GUARD_MS);
        QCOMPARE(fixture.time.NextInMs(), std::int64_t(1000));
    }

    void mayBeDestroyedDuringAConnection()
    {
        TFixture fixture;
        fixture.source->Start();
        fixture.source.reset();
        QVERIFY(!fixture.time.AdvanceToNext());
    }
};

KELVO_TEST_MAIN(TGpsdSourceTest)
#include "tst_GpsdSource.moc"
