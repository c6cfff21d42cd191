// The headless runner on a hub. The test takes the place of the worker.
#include "console/headless/THeadlessRunner.h"
#include "console/session/THubListener.h"
#include "core/TKelvoInterface.h"
#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtCore/QRegularExpression>

namespace {

constexpr int longTimeoutMs = 600000;

// A hub, a runner and the printed lines.
struct TFixture
{
    explicit TFixture(int timeoutMs = longTimeoutMs)
        : runner(hub,
                 {[this](const QByteArray& line) { lines << QString::fromUtf8(line); },
                  [this](int status) { exitStatus = status; },
                  [] { return QByteArray("position {}"); }, [] { return QByteArray("link {}"); }},
                 timeoutMs),
          listener([this](const console::THubEvent& event) { runner.OnHubEvent(event); })
    {
        QString error;
        if (!listener.Attach(hub, error)) {
            qFatal("%s", qUtf8Printable(error));
        }
    }

    void LogIn()
    {
        hub.OnLoggingIntoKelvo();
        hub.OnLoggedIntoKelvo();
        for (const int project : {0, 2, 3, 4, 5, 6}) {
            hub.OnNewKelvoProjectFilesList(project, KelvoFileInfoList());
        }
    }

    // The lines that are not signals.
    QStringList Results() const
    {
        return lines.filter(QRegularExpression(QStringLiteral("^(?!signal )")));
    }

    QStringList lines;
    int exitStatus = -1;
    TKelvoInterface hub;
    console::THeadlessRunner runner;
    console::THubListener listener;
};

const KelvoFileTransferErrorDetailsList oneError = {
    {QStringLiteral("a.zip"), QStringLiteral("first\nsecond")}};

} // namespace

class THeadlessRunnerTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void runsAScriptToItsEnd()
    {
        TFixture fixture;
        connect(&fixture.hub, &TKelvoInterface::KelvoLoginRequested, [&] { fixture.LogIn(); });
        connect(&fixture.hub, &TKelvoInterface::KelvoUploadRequested,
                [&] { fixture.hub.OnKelvoUploadComplete(3, {}); });
        connect(&fixture.hub, &TKelvoInterface::KelvoLogoutRequested,
                [&] { fixture.hub.OnLoggedOutOfKelvo(); });
        for (const char* line : {"login", "# work", "list maps", "upload curves a b", "logout"}) {
            fixture.runner.AddLine(QString::fromLatin1(line));
        }
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 0, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.Results(),
                 QStringList({QStringLiteral("ok login"),
                              QStringLiteral("list {\"files\":[],\"project\":\"maps\"}"),
                              QStringLiteral("ok list"), QStringLiteral("ok upload"),
                              QStringLiteral("ok logout")}));
    }

    void printsTheResultAfterAllSignalsOfTheReport()
    {
        TFixture fixture;
        connect(&fixture.hub, &TKelvoInterface::KelvoUploadRequested,
                [&] { fixture.hub.OnKelvoUploadComplete(3, {}); });
        fixture.runner.AddLine(QStringLiteral("upload curves a"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 0, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.lines.mid(fixture.lines.size() - 2),
                 QStringList({QStringLiteral("signal KelvoFileOperationComplete {}"),
                              QStringLiteral("ok upload")}));
    }

    void runsTheNextCommandAfterAFailure()
    {
        TFixture fixture;
        connect(&fixture.hub, &TKelvoInterface::KelvoDownloadRequested,
                [&] { fixture.hub.OnKelvoDownloadComplete(0, oneError); });
        fixture.runner.AddLine(QStringLiteral("download maps a.zip"));
        fixture.runner.AddLine(QStringLiteral("status"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 1, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.Results().constFirst(),
                 QStringLiteral("FAILED download: 1 error: a.zip: first\\nsecond"));
        QCOMPARE(fixture.Results().constLast(), QStringLiteral("ok status"));
    }

    void printsThePositionBeforeTheResult()
    {
        TFixture fixture;
        fixture.runner.AddLine(QStringLiteral("position"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 0, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.lines,
                 QStringList({QStringLiteral("position {}"), QStringLiteral("ok position")}));
    }

    void endsWithStatus2AfterAFaultyLine()
    {
        TFixture fixture;
        fixture.runner.AddLine(QStringLiteral("upload curves"));
        fixture.runner.AddLine(QStringLiteral("upload curves 'a"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 2, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.Results(),
                 QStringList({QStringLiteral("FAILED upload: usage: upload KIND NAME... [&]"),
                              QStringLiteral("FAILED line: a quote is not closed")}));
    }

    void cancelsAnOperationInTheBackground()
    {
        TFixture fixture;
        fixture.runner.AddLine(QStringLiteral("download maps a b &"));
        fixture.runner.AddLine(QStringLiteral("wait KelvoDownloadingFile"));
        fixture.runner.AddLine(QStringLiteral("cancel"));
        fixture.runner.AddLine(QStringLiteral("wait"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.Results(),
                                  QStringList(QStringLiteral("started download")),
                                  kelvo::test::HANG_GUARD_MS);
        QVERIFY(!fixture.hub.IsCancelCurrentOperationRequested());
        Q_EMIT fixture.hub.KelvoDownloadingFile(0, QStringLiteral("a"));
        QTRY_VERIFY_WITH_TIMEOUT(fixture.hub.IsCancelCurrentOperationRequested(),
                                 kelvo::test::HANG_GUARD_MS);
        fixture.hub.OnKelvoDownloadComplete(0, {});
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 0, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.Results().mid(1),
                 QStringList({QStringLiteral("ok wait"), QStringLiteral("ok cancel"),
                              QStringLiteral("ok download"), QStringLiteral("ok wait")}));
    }

    void usesEachSignalForOneWaitOnly()
    {
        TFixture fixture;
        Q_EMIT fixture.hub.NewKelvoProjectFilesList(0, KelvoFileInfoList());
        fixture.runner.AddLine(QStringLiteral("wait NewKelvoProjectFilesList"));
        fixture.runner.AddLine(QStringLiteral("wait NewKelvoProjectFilesList"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.Results().size(), 1, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.exitStatus, -1);
        Q_EMIT fixture.hub.NewKelvoProjectFilesList(0, KelvoFileInfoList());
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 0, kelvo::test::HANG_GUARD_MS);
    }

    void refusesASecondOperationAtTheSameTime()
    {
        TFixture fixture;
        fixture.runner.AddLine(QStringLiteral("upload curves a &"));
        fixture.runner.AddLine(QStringLiteral("delete curves b"));
        QTRY_COMPARE_WITH_TIMEOUT(fixture.Results().size(), 2, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.Results().constLast(),
                 QStringLiteral("FAILED delete: another operation is running"));
    }

    void failsCommandsAfterTheTimeout()
    {
        TFixture fixture(1);
        fixture.runner.AddLine(QStringLiteral("login"));
        fixture.runner.AddLine(QStringLiteral("wait KelvoLoggedIn"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 1, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(
            fixture.Results(),
            QStringList({QStringLiteral("FAILED login: timed out after 0 s: no end was reported"),
                         QStringLiteral("FAILED wait: timed out after 0 s")}));
    }

    void ignoresTheLateEndOfATimedOutUploadForTheNextUpload()
    {
        TFixture fixture(1);
        int requests = 0;
        connect(&fixture.hub, &TKelvoInterface::KelvoUploadRequested, [&] {
            if (++requests == 1) {
                // The checks of a slow login end here: until then the hub refuses operations.
                fixture.hub.OnPostLoginChecksComplete();
                return;
            }
            fixture.hub.OnKelvoUploadComplete(3, {}); // the end of the first upload
            fixture.hub.OnKelvoUploadComplete(3, oneError);
        });
        fixture.runner.AddLine(QStringLiteral("upload curves a"));
        fixture.runner.AddLine(QStringLiteral("upload curves b"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 1, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(
            fixture.Results(),
            QStringList({QStringLiteral("FAILED upload: timed out after 0 s: no end was reported"),
                         QStringLiteral("FAILED upload: 1 error: a.zip: first\\nsecond")}));
    }

    void ignoresTheLateEndOfATimedOutOperationOfAnotherKind()
    {
        TFixture fixture(1);
        connect(&fixture.hub, &TKelvoInterface::KelvoUploadRequested,
                [&] { fixture.hub.OnPostLoginChecksComplete(); });
        connect(&fixture.hub, &TKelvoInterface::KelvoDeleteFilesRequested, [&] {
            fixture.hub.OnKelvoUploadComplete(3, oneError);
            fixture.hub.OnKelvoDeleteComplete(3, {});
        });
        fixture.runner.AddLine(QStringLiteral("upload curves a"));
        fixture.runner.AddLine(QStringLiteral("delete curves b"));
        fixture.runner.AddEnd();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 1, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.Results().constLast(), QStringLiteral("ok delete"));
    }

    void reportsAnOperationThatRunsAtTheEndOfTheScript()
    {
        TFixture fixture;
        fixture.runner.AddLine(QStringLiteral("upload curves a &"));
        fixture.runner.AddLine(QStringLiteral("quit"));
        fixture.runner.AddLine(QStringLiteral("status"));
        QTRY_COMPARE_WITH_TIMEOUT(fixture.exitStatus, 1, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(fixture.Results().constLast(),
                 QStringLiteral("FAILED upload: not finished at the end of the script"));
    }
};

KELVO_TEST_MAIN(THeadlessRunnerTest)
#include "tst_HeadlessRunner.moc"
