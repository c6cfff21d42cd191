// The fix announcer announces a present fix again at the hub's login.
#include "console/session/TFixAnnouncer.h"
#include "console/session/THubListener.h"
#include "core/TKelvoInterface.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "support/TestMain.h"

#include <QtTest/QSignalSpy>

namespace {

struct TFixture
{
    TFixture()
    {
        QString error;
        if (!listener.Attach(hub, error)) {
            qFatal("%s", qUtf8Printable(error));
        }
    }

    hostimpl::TFedGPSCoordinator coordinator;
    console::TFixAnnouncer announcer{coordinator};
    TKelvoInterface hub;
    console::THubListener listener{
        [this](const console::THubEvent& event) { announcer.OnHubEvent(event); }};
};

} // namespace

class TFixAnnouncerTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void announcesAPresentFixAtTheLogin()
    {
        TFixture fixture;
        QVERIFY(fixture.coordinator.Feed({50.0, 8.0, 93015.0}));
        const QSignalSpy lost(&fixture.coordinator, &TGPSCoordinator::GPSLost);
        fixture.hub.OnLoggingIntoKelvo();
        QCOMPARE(lost.count(), 0);
        fixture.hub.OnLoggedIntoKelvo();
        QCOMPARE(lost.count(), 1);
        QCOMPARE(lost.at(0).at(0).toBool(), false);
        QVERIFY(fixture.hub.IsKelvoLoggedIn());
        fixture.hub.OnLoggedOutOfKelvo();
        QCOMPARE(lost.count(), 1);
    }

    // As a worker, the test asks at each fix whether the hub is logged in.
    void announcesTheFixWhenTheHubIsLoggedIn()
    {
        TFixture fixture;
        QVector<bool> wasLoggedIn;
        connect(&fixture.coordinator, &TGPSCoordinator::GPSLost,
                [&](bool) { wasLoggedIn << fixture.hub.IsKelvoLoggedIn(); });
        QVERIFY(fixture.coordinator.Feed({50.0, 8.0, 93015.0}));
        fixture.hub.OnLoggedIntoKelvo();
        QCOMPARE(wasLoggedIn, QVector<bool>({false, true}));
    }

    void announcesNothingWithoutAFix()
    {
        TFixture fixture;
        QVERIFY(fixture.coordinator.Feed({50.0, 8.0, 93015.0}));
        fixture.coordinator.Lose();
        const QSignalSpy lost(&fixture.coordinator, &TGPSCoordinator::GPSLost);
        fixture.hub.OnLoggedIntoKelvo();
        QCOMPARE(lost.count(), 0);
    }
};

KELVO_TEST_MAIN(TFixAnnouncerTest)
#include "tst_FixAnnouncer.moc"
