// The time stamp of a reported position: the day of the console's clock, the time of the fix.
#include "support/GuiTestMain.h"
#include "tests/worker/TSharing.h"

#include "hostimpl/Clock.h"

#include <QtCore/QTimeZone>
#include <QtTest/QtTest>

#include <ctime>
#include <limits>

class tst_LocationTime : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void splitsTheFixTimeAndDropsItsFraction_data();
    void splitsTheFixTimeAndDropsItsFraction();
    void takesTheDayOfTheClockInUtc_data();
    void takesTheDayOfTheClockInUtc();
    void theDayDoesNotDependOnTheProcessesZone_data();
    void theDayDoesNotDependOnTheProcessesZone();
    void readsTheClockForEachReport();

private:
    QByteArray m_processZone;
};

namespace {

// A worker that is logged in, and its time stamps.
class TStamped : public TSharing
{
public:
    TStamped() { StartLoggedInAtTheSdkOnly(); }

    // The time stamp of a report at the console's time `now`; -1 without a report.
    qint32 Stamp(const QDateTime& now, double fixTime)
    {
        hostimpl::SetClock([now] { return now; });
        const std::size_t reports = Positions().size();
        const bool isFed = gps.Feed({1.0, 2.0, fixTime});
        Report();
        return isFed && Positions().size() == reports + 1 ? Positions().back().timeSeconds : -1;
    }
};

void SetProcessZone(const QByteArray& zone)
{
    qputenv("TZ", zone);
    tzset();
}

// 2024-03-01 00:00:00 UTC
constexpr qint32 FIRST_OF_MARCH = 1709251200;

} // namespace

void tst_LocationTime::initTestCase()
{
    m_processZone = qgetenv("TZ");
}

void tst_LocationTime::cleanup()
{
    hostimpl::SetClock({});
    SetProcessZone(m_processZone);
    TTestCase::cleanup();
}

void tst_LocationTime::splitsTheFixTimeAndDropsItsFraction_data()
{
    QTest::addColumn<double>("fixTime");
    QTest::addColumn<int>("stamp");
    QTest::newRow("12:34:56.78") << 123456.78 << 1709296496;
    QTest::newRow("midnight") << 0.0 << FIRST_OF_MARCH;
    QTest::newRow("less than a second") << 0.999 << FIRST_OF_MARCH;
    QTest::newRow("one second") << 1.0 << FIRST_OF_MARCH + 1;
    QTest::newRow("59.999 seconds") << 59.999 << FIRST_OF_MARCH + 59;
    QTest::newRow("one minute") << 100.0 << FIRST_OF_MARCH + 60;
    QTest::newRow("59:59") << 5959.0 << FIRST_OF_MARCH + 3599;
    QTest::newRow("one hour") << 10000.0 << FIRST_OF_MARCH + 3600;
    QTest::newRow("9:08:07") << 90807.5 << FIRST_OF_MARCH + 32887;
    QTest::newRow("the last second") << 235959.99 << FIRST_OF_MARCH + 86399;
    QTest::newRow("a leap second") << 235960.0 << FIRST_OF_MARCH + 86400;
}

void tst_LocationTime::splitsTheFixTimeAndDropsItsFraction()
{
    QFETCH(double, fixTime);
    QFETCH(int, stamp);
    TStamped f;
    QCOMPARE(f.Stamp(QDateTime(QDate(2024, 3, 1), QTime(18, 30, 15, 999), Qt::UTC), fixTime),
             stamp);
}

void tst_LocationTime::takesTheDayOfTheClockInUtc_data()
{
    QTest::addColumn<QString>("zone"); // a name, or seconds east of UTC
    QTest::addColumn<QString>("now");  // in UTC
    QTest::addColumn<double>("fixTime");
    QTest::addColumn<int>("stamp");
    const auto row = [](const char* name, const char* zone, const char* now, double fixTime,
                        int stamp) {
        QTest::newRow(name) << QString::fromLatin1(zone) << QString::fromLatin1(now) << fixTime
                            << stamp;
    };
    row("just before midnight", "UTC", "2024-03-01T23:59:59Z", 235958.0, 1709337598);
    row("just after midnight, fix from before", "UTC", "2024-03-02T00:00:01Z", 235959.0,
        1709423999); // nearly a day ahead
    row("just before midnight, fix from after", "UTC", "2024-03-01T23:59:59Z", 0.0,
        FIRST_OF_MARCH); // nearly a day behind

    // The local date is the next or the previous day.
    row("east, local date ahead", "Pacific/Auckland", "2024-03-01T11:30:00Z", 123456.78,
        1709296496);
    row("east, dates agree", "Pacific/Auckland", "2024-03-01T10:30:00Z", 123456.78, 1709296496);
    row("west, local date behind", "America/Los_Angeles", "2024-03-01T07:59:59Z", 123456.78,
        1709296496);
    row("west, dates agree", "America/Los_Angeles", "2024-03-01T08:00:00Z", 123456.78, 1709296496);
    row("furthest east", "50400", "2024-03-01T12:34:57Z", 123456.78, 1709296496);
    row("furthest east, end of the day", "50400", "2024-03-01T23:59:59Z", 0.0, FIRST_OF_MARCH);
    row("furthest east, start of the day", "50400", "2024-03-01T00:00:00Z", 0.0, FIRST_OF_MARCH);
    row("furthest west", "-43200", "2024-03-01T00:00:00Z", 0.0, FIRST_OF_MARCH);
    row("furthest west, end of the day", "-43200", "2024-03-01T23:59:59Z", 0.0, FIRST_OF_MARCH);
    row("a quarter of an hour", "Asia/Kathmandu", "2024-02-29T18:30:00Z", 183000.0, 1709231400);
    row("over the leap day", "Pacific/Kiritimati", "2024-02-29T23:00:00Z", 230000.0, 1709247600);
    row("over the new year", "Pacific/Auckland", "2023-12-31T11:00:00Z", 110000.0, 1704020400);

    // The clock skips an hour at 01:00 UTC: from 01:59:59 to 03:00:00.
    row("last second of winter", "Europe/Berlin", "2024-03-31T00:59:59Z", 5959.0, 1711846799);
    row("first second of summer", "Europe/Berlin", "2024-03-31T01:00:00Z", 10000.0, 1711846800);
    row("short day, evening before", "Europe/Berlin", "2024-03-30T23:30:00Z", 233000.0, 1711841400);
    row("short day, late", "Europe/Berlin", "2024-03-31T22:30:00Z", 223000.0, 1711924200);
    // The clock repeats an hour, from 00:00 and from 01:00 UTC.
    row("02:30, first time", "Europe/Berlin", "2024-10-27T00:30:00Z", 3000.0, 1729989000);
    row("02:30, second time", "Europe/Berlin", "2024-10-27T01:30:00Z", 13000.0, 1729992600);
    row("long day, evening before", "Europe/Berlin", "2024-10-26T22:30:00Z", 223000.0, 1729981800);
    row("long day, late", "Europe/Berlin", "2024-10-27T23:30:00Z", 233000.0, 1730071800);
    // Zones in which a local midnight is skipped or repeated.
    row("no local midnight", "Africa/Cairo", "2024-04-25T22:00:00Z", 220000.0, 1714082400);
    row("two local midnights, first", "America/Havana", "2024-11-03T04:30:00Z", 43000.0,
        1730608200);
    row("two local midnights, second", "America/Havana", "2024-11-03T05:30:00Z", 53000.0,
        1730611800);

    row("the epoch", "UTC", "1970-01-01T12:00:00Z", 0.0, 0);
    row("the last second of 32 bits", "UTC", "2038-01-19T03:14:07Z", 31407.0,
        std::numeric_limits<qint32>::max());
}

void tst_LocationTime::takesTheDayOfTheClockInUtc()
{
    QFETCH(QString, zone);
    QFETCH(QString, now);
    QFETCH(double, fixTime);
    QFETCH(int, stamp);
    bool isOffset = false;
    const int offset = zone.toInt(&isOffset);
    const QTimeZone timeZone = isOffset ? QTimeZone(offset) : QTimeZone(zone.toLatin1());
    QVERIFY(timeZone.isValid());
    const QDateTime utc = QDateTime::fromString(now, Qt::ISODate);
    QVERIFY(utc.isValid());
    TStamped f;
    for (const char* processZone : {"UTC", "Pacific/Auckland", "America/Los_Angeles"}) {
        SetProcessZone(processZone);
        QCOMPARE(f.Stamp(utc.toTimeZone(timeZone), fixTime), stamp);
        if (isOffset)
            QCOMPARE(f.Stamp(utc.toOffsetFromUtc(offset), fixTime), stamp);
    }
}

void tst_LocationTime::theDayDoesNotDependOnTheProcessesZone_data()
{
    QTest::addColumn<QByteArray>("zone");
    for (const char* zone : {"UTC", "Pacific/Auckland", "Pacific/Kiritimati", "America/Los_Angeles",
                             "Etc/GMT+12", "Europe/Berlin"})
        QTest::newRow(zone) << QByteArray(zone);
}

// A clock in local time, like the console's, at every hour of the days on which Berlin changes its
// clocks.
void tst_LocationTime::theDayDoesNotDependOnTheProcessesZone()
{
    QFETCH(QByteArray, zone);
    SetProcessZone(zone);
    TStamped f;
    for (const qint64 midnight : {qint64(1711843200), qint64(1729987200)}) {
        for (int halfHour = 0; halfHour < 48; ++halfHour) {
            const qint64 now = midnight + halfHour * 1800;
            const double fixTime = halfHour / 2 * 10000.0 + halfHour % 2 * 3000.0;
            const QDateTime local = QDateTime::fromSecsSinceEpoch(now, Qt::LocalTime);
            QCOMPARE(qint64(f.Stamp(local, fixTime)), now);
        }
    }
}

void tst_LocationTime::readsTheClockForEachReport()
{
    TStamped f;
    for (int day = 0; day < 3; ++day) {
        const QDateTime now(QDate(2024, 2, 28).addDays(day), QTime(12, 0), Qt::UTC);
        QCOMPARE(qint64(f.Stamp(now, 100.0)), now.toSecsSinceEpoch() - 43200 + 60);
    }
}

KELVO_GUI_TEST_MAIN(tst_LocationTime)
#include "tst_LocationTime.moc"
