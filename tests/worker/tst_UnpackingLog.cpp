// The arguments of the host's unpacking, and the entries in the user log. The two operations of the
// host are replaced below: definitions of this program take precedence over the library's.
#include "support/GuiTestMain.h"
#include "tests/worker/TDownload.h"
#include "tests/worker/TUpload.h"

#include "host/TFileSystemHelper.h"

#include <QtTest/QtTest>

namespace {

QStringList g_unzipCalls; // "archive -> destination"
QStringList g_failing;    // names of archives that cannot be unpacked
QString g_failureText;
QStringList g_logQuestions; // "source target category level"
QStringList g_logEntries;   // "target category level code: message"
bool g_logEnabled = true;

class TLogRecorder final : public UserLogAccessor
{
public:
    void Write(int target, int category, int level, const QString& code,
               const QString& message) override
    {
        g_logEntries << QStringLiteral("%1 %2 %3 %4: %5")
                            .arg(target)
                            .arg(category)
                            .arg(level)
                            .arg(code, message);
    }
};

class TSettings final : public ConfigManager
{
public:
    QVariant GetItem(int) const override { return {}; }
    void SetItem(int, const QVariant&, bool) override {}
    bool IsUserLogEnabled(int source, int target, int category, int level) const override
    {
        g_logQuestions
            << QStringLiteral("%1 %2 %3 %4").arg(source).arg(target).arg(category).arg(level);
        return g_logEnabled;
    }
    UserLogAccessorPtr GetUserLogAccessor() override { return std::make_shared<TLogRecorder>(); }
};

} // namespace

ConfigManager& ConfigManager::Instance()
{
    static TSettings settings;
    return settings;
}

bool TFileSystemHelper::Unzip(const QString& archive, const QString& destinationFolder,
                              QString& errorText)
{
    g_unzipCalls << archive + QStringLiteral(" -> ") + destinationFolder;
    if (!g_failing.contains(QFileInfo(archive).fileName()))
        return true;
    errorText = g_failureText;
    return false;
}

class tst_UnpackingLog : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void passesAbsolutePathsToTheHostInTheOrderOfNames();
    void removesEachArchiveAlsoAfterAFailure();
    void aFailureIsLoggedWithTheHostsText();
    void aFailureIsNotLoggedWhenTheLogIsOff();
    void successIsNotLogged();
    void aSentFileThatCannotBeRemovedIsLogged();
};

namespace {

void Put(const char* names)
{
    for (const QString& name : List(names))
        TWorkerFixture::WriteFile(TWorkerFixture::TempFolder() + name, "bytes");
}

} // namespace

void tst_UnpackingLog::init()
{
    g_unzipCalls.clear();
    g_failing.clear();
    g_failureText.clear();
    g_logQuestions.clear();
    g_logEntries.clear();
    g_logEnabled = true;
}

void tst_UnpackingLog::passesAbsolutePathsToTheHostInTheOrderOfNames()
{
    TDownload f;
    f.Start();
    Put("b.zip|a.ZIP|C.zip|notes.txt");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(f.worker->ManageKelvoDownloads(eCurves, errors));
    const QDir temporary(TWorkerFixture::TempFolder());
    const QString destination = QDir(TWorkerFixture::DownloadFolder(eCurves)).absolutePath();
    QStringList expected;
    for (const QString& name : List("C.zip|a.ZIP|b.zip"))
        expected << temporary.absoluteFilePath(name) + QStringLiteral(" -> ") + destination;
    QCOMPARE(g_unzipCalls, expected);
}

void tst_UnpackingLog::removesEachArchiveAlsoAfterAFailure()
{
    TDownload f;
    f.Start();
    Put("a.zip|b.zip|c.zip");
    g_failing = List("b.zip");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(!f.worker->ManageKelvoDownloads(eCurves, errors));
    QCOMPARE(Records(errors), QStringList{QStringLiteral("b.zip: Failed to unzip file")});
    QVERIFY(TDownload::Temporary().isEmpty());
    QCOMPARE(g_unzipCalls.size(), 3);
}

void tst_UnpackingLog::aFailureIsLoggedWithTheHostsText()
{
    TDownload f;
    f.Start();
    Put("a.zip|b.zip");
    g_failing = List("a.zip|b.zip");
    g_failureText = QStringLiteral("no %1 space");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(!f.worker->ManageKelvoDownloads(eCurves, errors));
    const QString entry =
        QStringLiteral("0 1 8 0: TKelvoThreadObject::ManageKelvoDownloads: no %1 space");
    QCOMPARE(g_logEntries, (QStringList{entry, entry}));
    QCOMPARE(g_logQuestions, (QStringList{QStringLiteral("16 0 1 8"), QStringLiteral("16 0 1 8")}));
}

void tst_UnpackingLog::aFailureIsNotLoggedWhenTheLogIsOff()
{
    TDownload f;
    f.Start();
    Put("a.zip");
    g_failing = List("a.zip");
    g_logEnabled = false;
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(!f.worker->ManageKelvoDownloads(eCurves, errors));
    QCOMPARE(g_logQuestions.size(), 1);
    QVERIFY(g_logEntries.isEmpty());
    QCOMPARE(errors.size(), 1);
}

void tst_UnpackingLog::successIsNotLogged()
{
    TDownload f;
    f.Start();
    Put("a.zip");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(f.worker->ManageKelvoDownloads(eCurves, errors));
    QVERIFY(g_logQuestions.isEmpty());
    QVERIFY(g_logEntries.isEmpty());
}

// A file of the kernel cannot be removed, not even by root.
void tst_UnpackingLog::aSentFileThatCannotBeRemovedIsLogged()
{
    TUpload f;
    f.Start();
    f.Upload(eCurves, List("/proc/version"));
    QCOMPARE(f.Remote(eCurves), List("version"));
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoUploadComplete(%1,[])").arg(eCurves));
    QCOMPARE(g_logEntries.size(), 1);
    QVERIFY2(g_logEntries.first().startsWith(
                 QStringLiteral("0 1 8 0: TKelvoThreadObject::OnUploadToKelvo: /proc/version was "
                                "sent, but cannot be removed here: ")),
             qPrintable(g_logEntries.first()));
}

KELVO_GUI_TEST_MAIN(tst_UnpackingLog)
#include "tst_UnpackingLog.moc"
