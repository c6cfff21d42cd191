// The set-up of the process: what the host framework tells the SDK.
#include "console/session/ConsoleSettings.h"
#include "console/session/ExitStatus.h"
#include "console/session/SessionSetup.h"
#include "host/TFileSystemHelper.h"
#include "kesdkimpl/Unpacking.h"
#include "support/TZipBuilder.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace {

struct TNoted
{
    QByteArray path;
    QByteArray error;
    bool isUnpacked;
};
QList<TNoted> noted;

} // namespace

// Takes the place of the SDK's function.
void kesdkimpl::NoteUnpacking(const char* path, const char* errorUtf8) noexcept
{
    noted.append({path, errorUtf8, errorUtf8 == nullptr});
}

class TSessionSetupTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void passesResultsOfUnpackingToTheSdk()
    {
        const QTemporaryDir folder;
        console::TConsoleSettings settings;
        settings.dataFolder = folder.filePath(QStringLiteral("data"));
        QCOMPARE(console::SetUpSession(settings), int(console::eExitSuccess));

        const auto archive = [&folder](const QString& name, const QByteArray& bytes) {
            QFile file(folder.filePath(name));
            const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(bytes) >= 0;
            return isWritten ? file.fileName() : QString();
        };
        const QString good =
            archive(QStringLiteral("m\u00e4p.zip"), kelvo::test::ZipOf("a.txt", "content"));
        const QString bad = archive(QStringLiteral("bad.zip"), "no archive");
        QString errorText;
        QVERIFY(TFileSystemHelper::Unzip(good, folder.path(), errorText));
        QVERIFY(!TFileSystemHelper::Unzip(bad, folder.path(), errorText));

        QCOMPARE(noted.size(), 2);
        QCOMPARE(noted[0].path, QFile::encodeName(good));
        QVERIFY(noted[0].isUnpacked);
        QCOMPARE(noted[1].path, QFile::encodeName(bad));
        QVERIFY(!noted[1].isUnpacked);
        QCOMPARE(noted[1].error, errorText.toUtf8());
        QVERIFY(!noted[1].error.isEmpty());
    }
};

KELVO_TEST_MAIN(TSessionSetupTest)

#include "tst_SessionSetup.moc"
