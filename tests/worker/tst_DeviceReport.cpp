// The console's equipment reports, field by field.
#include "support/TestMain.h"
#include "tests/fakes/FakeEnterpriseConnection.h"
#include "tests/worker/SdkCalls.h"
#include "tests/worker/TConsole.h"

#include "worker/DeviceReport.h"
#include "worker/SdkBoundary.h"

#include <QtTest/QtTest>

#include <algorithm>
#include <limits>
#include <memory>

using fakes::FakeEnterpriseConnection;
using fakes::FakeOperation;
using fakes::OneError;
using kesdk::api::Environment;
using DeviceReport = FakeEnterpriseConnection::DeviceReport;

class tst_DeviceReport : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theReceiversRecordHasItsFieldsInOrder();
    void fillingReplacesWhatWasThere();
    void aConnectedReceiverIsReportedWithStateOne();
    void aDisconnectedReceiverIsReportedWithStateZero();
    void theEnvironmentHasItsFieldsInOrder();
    void sendsTheHostStringUnchanged_data();
    void sendsTheHostStringUnchanged();
    void theConsoleStringIsCutToNine_data();
    void theConsoleStringIsCutToNine();
    void readsTheConsoleForEachReport();
    void stampsTheTimeOfTheCall();
    void theSdksAnswerIsReturned();
    void anyNonZeroAnswerToTheDisconnectionIsSuccess_data();
    void anyNonZeroAnswerToTheDisconnectionIsSuccess();
    void logoutIsForwarded();
};

namespace {

const std::wstring LOOPBACK_ADDRESS = L"00:00:00:00:00:00";

// A connection that is logged in.
class TSession
{
public:
    TSession() { connection.StartLoggedIn(farm->AddUser(L"olga", L"secret")); }

    const std::shared_ptr<fakes::FakeFarm> farm = std::make_shared<fakes::FakeFarm>();
    const std::shared_ptr<fakes::FakeScript> script = std::make_shared<fakes::FakeScript>();
    FakeEnterpriseConnection connection{farm, script};
};

// A connection that answers a disconnection with the given number.
class TAnswering final : public FakeEnterpriseConnection
{
public:
    explicit TAnswering(std::int32_t answer)
        : FakeEnterpriseConnection(std::make_shared<fakes::FakeFarm>(),
                                   std::make_shared<fakes::FakeScript>()),
          m_answer(answer)
    {}

    std::int32_t MeasDeviceDisconnected(const Environment::MeasDeviceReport&, bool) override
    {
        return m_answer;
    }

private:
    const std::int32_t m_answer;
};

// The texts of a record in their order, then its number.
std::vector<std::wstring> Fields(const Environment::MeasDeviceInfo& device)
{
    return {device.hardwareAddress, device.text2,
            device.consoleString,   device.text4,
            device.deviceKind,      device.text6,
            device.text7,           std::to_wstring(device.number8)};
}

std::vector<std::wstring> Fields(const Environment::ConsoleInfo& console)
{
    return {console.consoleString,
            console.hostString,
            console.controllerHardwareAddress,
            console.controllerText,
            console.controllerKind,
            console.text6,
            std::to_wstring(console.number1),
            std::to_wstring(console.number2),
            std::to_wstring(console.number3),
            std::to_wstring(console.number4),
            std::to_wstring(console.number5)};
}

const std::vector<std::wstring> RECEIVER{LOOPBACK_ADDRESS, L"", L"Console", L"",
                                         L"GPS Receiver",  L"", L"",        L"0"};

} // namespace

void tst_DeviceReport::theReceiversRecordHasItsFieldsInOrder()
{
    Environment::MeasDeviceInfo device;
    fillTestMeasDeviceInfo(device, TConsole());
    QVERIFY(Fields(device) == RECEIVER);
}

void tst_DeviceReport::fillingReplacesWhatWasThere()
{
    Environment::MeasDeviceInfo device{L"a", L"b", L"c", L"d", L"e", L"f", L"g", 8};
    fillTestMeasDeviceInfo(device, TConsole());
    QVERIFY(Fields(device) == RECEIVER);
}

void tst_DeviceReport::aConnectedReceiverIsReportedWithStateOne()
{
    TSession session;
    QVERIFY(TestProcMeasDeviceInfoConnect(&session.connection, TConsole()));
    const std::vector<DeviceReport> reports = session.connection.DeviceReports();
    QCOMPARE(reports.size(), std::size_t(1));
    QVERIFY(reports.front().connected);
    QVERIFY(reports.front().sharing);
    QCOMPARE(reports.front().report.state, 1);
    QVERIFY(Fields(reports.front().report.device) == RECEIVER);
    QCOMPARE(SdkCalls(*session.script), QStringList{QStringLiteral("MeasDeviceConnected")});
}

void tst_DeviceReport::aDisconnectedReceiverIsReportedWithStateZero()
{
    TSession session;
    QVERIFY(TestProcMeasDeviceInfoDisconnect(&session.connection, TConsole()));
    const std::vector<DeviceReport> reports = session.connection.DeviceReports();
    QCOMPARE(reports.size(), std::size_t(1));
    QVERIFY(!reports.front().connected);
    QVERIFY(!reports.front().sharing);
    QCOMPARE(reports.front().report.state, 0);
    QVERIFY(Fields(reports.front().report.device) == RECEIVER);
    QCOMPARE(SdkCalls(*session.script), QStringList{QStringLiteral("MeasDeviceDisconnected")});
}

void tst_DeviceReport::theEnvironmentHasItsFieldsInOrder()
{
    TSession session;
    QVERIFY(TestProcEnvironment(&session.connection, L"Host 1.0", TConsole()));
    const std::vector<Environment> environments = session.connection.Environments();
    QCOMPARE(environments.size(), std::size_t(1));
    const std::vector<std::wstring> console{
        L"Console", L"Host 1.0", LOOPBACK_ADDRESS, L"", L"Controller", L"", L"0", L"0", L"0",
        L"0",       L"4"};
    QVERIFY(Fields(environments.front().console) == console);
    const std::vector<std::wstring> controller{LOOPBACK_ADDRESS, L"", L"Console", L"Console",
                                               L"Controller",    L"", L"",        L"0"};
    QVERIFY(Fields(environments.front().controller) == controller);
    QCOMPARE(SdkCalls(*session.script), QStringList{QStringLiteral("SendEnvironment")});
}

void tst_DeviceReport::sendsTheHostStringUnchanged_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("longer than any other field") << QString(2000, QLatin1Char('h'));
    QTest::newRow("beyond ASCII") << QString::fromUtf8("H\xC3\xB6st \xF0\x9F\x9A\x9C <b>&amp;</b>");
    QTest::newRow("blanks") << QStringLiteral(" \thost\n ");
}

void tst_DeviceReport::sendsTheHostStringUnchanged()
{
    QFETCH(QString, text);
    TSession session;
    const std::wstring hostString = text.toStdWString();
    QVERIFY(TestProcEnvironment(&session.connection, hostString.c_str(), TConsole()));
    QVERIFY(session.connection.Environments().front().console.hostString == hostString);
}

void tst_DeviceReport::theConsoleStringIsCutToNine_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("reported");
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("one") << QStringLiteral("1") << QStringLiteral("1");
    QTest::newRow("nine") << QStringLiteral("123456789") << QStringLiteral("123456789");
    QTest::newRow("ten") << QStringLiteral("1234567890") << QStringLiteral("123456789");
    QTest::newRow("twelve") << QStringLiteral("123456789012") << QStringLiteral("123456789");
    QTest::newRow("very many") << QString(5000, QLatin1Char('x')) << QString(9, QLatin1Char('x'));
    const QString tractor = QString::fromUtf8("\xF0\x9F\x9A\x9C"); // two units, one character
    QTest::newRow("beyond the basic plane") << tractor.repeated(4) << tractor.repeated(4);
    QTest::newRow("cut behind a pair") << QStringLiteral("1234567") + tractor + QStringLiteral("89")
                                       << QStringLiteral("1234567") + tractor;
}

void tst_DeviceReport::theConsoleStringIsCutToNine()
{
    QFETCH(QString, text);
    QFETCH(QString, reported);
    const TConsole console(text);
    const std::wstring expected = reported.toStdWString();
    TSession session;
    QVERIFY(TestProcEnvironment(&session.connection, L"Host", console));
    QVERIFY(TestProcMeasDeviceInfoConnect(&session.connection, console));
    QVERIFY(TestProcMeasDeviceInfoDisconnect(&session.connection, console));
    const Environment environment = session.connection.Environments().front();
    QVERIFY(environment.console.consoleString == expected);
    QVERIFY(environment.controller.consoleString == expected);
    QVERIFY(environment.controller.text4 == expected);
    for (const DeviceReport& report : session.connection.DeviceReports())
        QVERIFY(report.report.device.consoleString == expected);
}

void tst_DeviceReport::readsTheConsoleForEachReport()
{
    TConsole console;
    TSession session;
    for (const char* text : {"first", "second"}) {
        console.consoleString = QString::fromLatin1(text);
        QVERIFY(TestProcEnvironment(&session.connection, L"Host", console));
        QVERIFY(TestProcMeasDeviceInfoConnect(&session.connection, console));
    }
    QVERIFY(session.connection.Environments().at(0).console.consoleString == L"first");
    QVERIFY(session.connection.Environments().at(1).console.consoleString == L"second");
    QVERIFY(session.connection.DeviceReports().at(0).report.device.consoleString == L"first");
    QVERIFY(session.connection.DeviceReports().at(1).report.device.consoleString == L"second");
}

void tst_DeviceReport::stampsTheTimeOfTheCall()
{
    TSession session;
    std::vector<qint64> times{getPosixCurrentTime()};
    const auto note = [&](qint64 stamp) {
        times.push_back(stamp);
        times.push_back(getPosixCurrentTime());
    };
    QVERIFY(TestProcEnvironment(&session.connection, L"Host", TConsole()));
    note(session.connection.Environments().back().timeStampMs);
    QVERIFY(TestProcMeasDeviceInfoConnect(&session.connection, TConsole()));
    note(session.connection.DeviceReports().back().report.timeStampMs);
    QVERIFY(TestProcMeasDeviceInfoDisconnect(&session.connection, TConsole()));
    note(session.connection.DeviceReports().back().report.timeStampMs);
    QVERIFY(std::is_sorted(times.begin(), times.end()));
}

void tst_DeviceReport::theSdksAnswerIsReturned()
{
    TSession session;
    for (const FakeOperation operation :
         {FakeOperation::eSendEnvironment, FakeOperation::eMeasDeviceConnected,
          FakeOperation::eMeasDeviceDisconnected, FakeOperation::eLogout})
        session.script->FailNth(operation, 1, OneError(L"No link."));
    for (const bool expected : {false, true}) {
        QCOMPARE(TestProcEnvironment(&session.connection, L"Host", TConsole()), expected);
        QCOMPARE(TestProcMeasDeviceInfoConnect(&session.connection, TConsole()), expected);
        QCOMPARE(TestProcMeasDeviceInfoDisconnect(&session.connection, TConsole()), expected);
        QCOMPARE(TestProcLogout(&session.connection), expected);
    }
}

void tst_DeviceReport::anyNonZeroAnswerToTheDisconnectionIsSuccess_data()
{
    QTest::addColumn<int>("answer");
    QTest::newRow("zero") << 0;
    QTest::newRow("one") << 1;
    QTest::newRow("two") << 2;
    QTest::newRow("without a low byte") << 256;
    QTest::newRow("without low bits") << std::numeric_limits<int>::min();
    QTest::newRow("negative") << -1;
}

void tst_DeviceReport::anyNonZeroAnswerToTheDisconnectionIsSuccess()
{
    QFETCH(int, answer);
    TAnswering connection(answer);
    QCOMPARE(TestProcMeasDeviceInfoDisconnect(&connection, TConsole()), answer != 0);
}

void tst_DeviceReport::logoutIsForwarded()
{
    TSession session;
    QVERIFY(TestProcLogout(&session.connection));
    QVERIFY(!session.connection.IsLoggedIn());
    QVERIFY(!TestProcLogout(&session.connection)); // the session has ended
    QCOMPARE(SdkCalls(*session.script),
             (QStringList{QStringLiteral("Logout"), QStringLiteral("IsLoggedIn"),
                          QStringLiteral("Logout")}));
}

KELVO_TEST_MAIN(tst_DeviceReport)
#include "tst_DeviceReport.moc"
