// Settings: suffixes, folders, clock, features, user levels, and SetUpHost().
#include "host/FolderImage.h"
#include "host/TLocalTime.h"
#include "host/TSystemSettings.h"
#include "host/TSystemSettingsProxy.h"
#include "hostimpl/Clock.h"
#include "hostimpl/HostSetup.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TUserLevels.h"
#include "support/TTempDataFolder.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <atomic>
#include <memory>

#include <sys/stat.h>

using kelvo::test::TExpectedMessage;
using kelvo::test::TTempDataFolder;

namespace {

using TGetter = QString (TSystemSettingsProxy::*)() const;

constexpr TGetter downloadGetters[] = {
    &TSystemSettingsProxy::GetKelvoDownloadToConsoleFolderPath,
    &TSystemSettingsProxy::GetKelvoDownloadABLinesFolderPath,
    &TSystemSettingsProxy::GetKelvoDownloadCurvesFolderPath,
    &TSystemSettingsProxy::GetKelvoDownloadPivotsFolderPath,
    &TSystemSettingsProxy::GetKelvoDownloadOptimalLinesFolderPath,
    &TSystemSettingsProxy::GetKelvoDownloadProjectLinesFolderPath,
};
constexpr TGetter uploadGetters[] = {
    &TSystemSettingsProxy::GetKelvoUploadFromConsoleFolderPath,
    &TSystemSettingsProxy::GetKelvoUploadABLinesFolderPath,
    &TSystemSettingsProxy::GetKelvoUploadCurvesFolderPath,
    &TSystemSettingsProxy::GetKelvoUploadPivotsFolderPath,
    &TSystemSettingsProxy::GetKelvoUploadOptimalLinesFolderPath,
    &TSystemSettingsProxy::GetKelvoUploadProjectLinesFolderPath,
};

uint ModeOf(const QString& path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777u : 0;
}

} // namespace

class tst_Settings : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void hasTheArchiveSuffixes();
    void hasThirteenDifferentFolders();
    void putsAllFoldersBelowTheDataFolder();
    void endsTheTemporaryFolderInASeparator();
    void gettersCreateNoFolder();
    void readsFoldersWhileAnotherThreadSetsThem();
    void createsAPrivateDataFolder();
    void reportsADataFolderThatCannotBeCreated();
    void replacesTheClock();
    void readsFeaturesFromTheConfiguration();
    void hasDefaultFeatures();
    void deniesControlsOfTheConfiguration();
    void setsUpTheHost();
    void reportsAnInvalidConfigurationAtSetUp();
    void repairsAnInterruptedUnpackingAtSetUp();
    void setUpFailsInAnUnusableFolder();
};

void tst_Settings::hasTheArchiveSuffixes()
{
    QCOMPARE(TSystemSettings::ZIPExtension, QStringLiteral(".zip"));
    QCOMPARE(TSystemSettings::ZIP2Extension, QStringLiteral(".ZIP"));
    const QString copy = TSystemSettings::ZIPExtension;
    QString changed = copy;
    changed += QLatin1Char('x');
    QCOMPARE(TSystemSettings::ZIPExtension, QStringLiteral(".zip"));
}

void tst_Settings::hasThirteenDifferentFolders()
{
    const TTempDataFolder data;
    QVERIFY(data.IsValid());
    const TSystemSettingsProxy settings;
    QSet<QString> folders{settings.GetKelvoTempDownloadFolderPath()};
    for (const TGetter getter : downloadGetters) {
        folders.insert((settings.*getter)());
        QVERIFY(hostimpl::DownloadFolders().contains((settings.*getter)()));
    }
    for (const TGetter getter : uploadGetters) {
        folders.insert((settings.*getter)());
    }
    QCOMPARE(folders.size(), 13);
    QCOMPARE(hostimpl::DownloadFolders().size(), 6);
    for (const QString& folder : qAsConst(folders)) {
        QVERIFY(folder.startsWith(data.Path() + QLatin1Char('/')));
        QVERIFY(QFileInfo(folder).isDir());
    }
}

void tst_Settings::putsAllFoldersBelowTheDataFolder()
{
    const TSystemSettingsProxy settings;
    const QString before = settings.GetKelvoDownloadCurvesFolderPath();
    {
        const TTempDataFolder data;
        QCOMPARE(settings.GetKelvoDownloadCurvesFolderPath(),
                 data.Path(QStringLiteral("from-service/curves")));
        QCOMPARE(settings.GetKelvoUploadFromConsoleFolderPath(),
                 data.Path(QStringLiteral("to-service/job-reports")));
    }
    QCOMPARE(settings.GetKelvoDownloadCurvesFolderPath(), before);
}

void tst_Settings::endsTheTemporaryFolderInASeparator()
{
    const QTemporaryDir root;
    const TTempDataFolder restores;
    QVERIFY(hostimpl::SetDataFolder(root.path() + QStringLiteral("/a/../data/")));
    const QString folder = TSystemSettingsProxy().GetKelvoTempDownloadFolderPath();
    QVERIFY(folder.endsWith(QLatin1Char('/')));
    QVERIFY(!folder.endsWith(QStringLiteral("//")));
    QVERIFY(!QFile::exists(folder));
    QVERIFY(QDir().mkdir(folder)); // its parent exists
    QCOMPARE(hostimpl::DataFolder(), root.path() + QStringLiteral("/data"));
}

void tst_Settings::gettersCreateNoFolder()
{
    const TTempDataFolder data;
    QVERIFY(QDir(data.Path()).removeRecursively());
    QVERIFY(!TSystemSettingsProxy().GetKelvoDownloadPivotsFolderPath().isEmpty());
    QVERIFY(!QFile::exists(data.Path()));
}

void tst_Settings::readsFoldersWhileAnotherThreadSetsThem()
{
    const TTempDataFolder data;
    const QString one = data.Path(QStringLiteral("one"));
    const QString other = data.Path(QStringLiteral("other"));
    QVERIFY(hostimpl::SetDataFolder(one));
    std::atomic<bool> isDone{false};
    std::atomic<int> wrong{0};
    const std::unique_ptr<QThread> reader(QThread::create([&] {
        const TSystemSettingsProxy settings;
        while (!isDone) {
            const QString folder = settings.GetKelvoUploadCurvesFolderPath();
            wrong += folder.startsWith(one) || folder.startsWith(other) ? 0 : 1;
        }
    }));
    reader->start();
    for (int round = 0; round < 500; ++round) {
        QVERIFY(hostimpl::SetDataFolder(round % 2 == 0 ? other : one));
    }
    isDone = true;
    QVERIFY(reader->wait());
    QCOMPARE(wrong.load(), 0);
}

void tst_Settings::createsAPrivateDataFolder()
{
    const TTempDataFolder restores;
    const mode_t formerMask = ::umask(0);
    const bool isSet = hostimpl::SetDataFolder(restores.Path(QStringLiteral("new/data")));
    ::umask(formerMask);
    QVERIFY(isSet);
    QCOMPARE(ModeOf(restores.Path(QStringLiteral("new/data"))), 0700u);
}

void tst_Settings::reportsADataFolderThatCannotBeCreated()
{
    const TTempDataFolder restores;
    const QString file = restores.Path(QStringLiteral("file"));
    QVERIFY(kelvo::test::WriteFile(file, "x"));
    QVERIFY(!hostimpl::SetDataFolder(file + QStringLiteral("/data")));
    QString errorText;
    QVERIFY(!hostimpl::CreateFolders(errorText));
    QVERIFY(errorText.contains(file));
}

void tst_Settings::replacesTheClock()
{
    const QDateTime harvest(QDate(2031, 8, 1), QTime(5, 30));
    hostimpl::SetClock([harvest] { return harvest; });
    const QDateTime replaced = TLocalTime::currentDateTime();
    hostimpl::SetClock({});
    QCOMPARE(replaced, harvest);
    const QDateTime before = QDateTime::currentDateTime();
    const QDateTime now = TLocalTime::currentDateTime();
    QVERIFY(before <= now);
    QVERIFY(now <= QDateTime::currentDateTime());
    QCOMPARE(now.timeSpec(), Qt::LocalTime);
}

void tst_Settings::readsFeaturesFromTheConfiguration()
{
    hostimpl::TConfigStore store;
    store.SetItem(hostimpl::eEthernetNameItem, QStringLiteral("lan7"), false);
    store.SetItem(hostimpl::eConsoleStringItem, QStringLiteral("CAB"), false);
    const hostimpl::TFeatures features(store);
    QCOMPARE(features.GetConsoleCharacteristics().GetEthernetName(), QStringLiteral("lan7"));
    QCOMPARE(features.GetConsoleCharacteristics().GetConsoleString(), QStringLiteral("CAB"));
}

void tst_Settings::hasDefaultFeatures()
{
    const hostimpl::TConfigStore store;
    const hostimpl::TFeatures features(store);
    const TConsoleCharacteristics& characteristics = features.GetConsoleCharacteristics();
    QCOMPARE(characteristics.GetEthernetName(), hostimpl::FindEthernetName());
    QVERIFY(!characteristics.GetEthernetName().isEmpty());
    QCOMPARE(characteristics.GetConsoleString(), QStringLiteral("DESKTOP"));
}

void tst_Settings::deniesControlsOfTheConfiguration()
{
    hostimpl::TConfigStore store;
    hostimpl::TUserLevels levels(store);
    QVERIFY(levels.IsControlAccessible(TAppUserLevels::eKelvoControl));
    levels.SetControlAccessible(TAppUserLevels::eKelvoControl, false);
    levels.SetControlAccessible(TAppUserLevels::eKelvoControl, false);
    QVERIFY(!levels.IsControlAccessible(TAppUserLevels::eKelvoControl));
    QVERIFY(levels.IsControlAccessible(static_cast<TAppUserLevels::EControl>(1)));
    levels.SetControlAccessible(TAppUserLevels::eKelvoControl, true);
    QVERIFY(levels.IsControlAccessible(TAppUserLevels::eKelvoControl));
}

void tst_Settings::setsUpTheHost()
{
    const TTempDataFolder data;
    QString errorText;
    QVERIFY2(hostimpl::SetUpHost(data.Path(), errorText), qPrintable(errorText));
    ConfigManager::Instance().SetItem(24289, QStringLiteral("joe"), true);
    QVERIFY(kelvo::test::ReadFile(data.Path(QStringLiteral("console.json"))).contains("joe"));
    ConfigManager::Instance().GetUserLogAccessor()->Write(0, 1, 8, QStringLiteral("0"),
                                                          QStringLiteral("said"));
    QVERIFY(kelvo::test::ReadFile(data.Path(QStringLiteral("logs/user.log"))).contains("said"));
}

void tst_Settings::reportsAnInvalidConfigurationAtSetUp()
{
    const TTempDataFolder data;
    QVERIFY(kelvo::test::WriteFile(data.Path(QStringLiteral("console.json")), "bad"));
    const TExpectedMessage expected(QStringLiteral("is not valid"));
    QString errorText;
    QVERIFY(hostimpl::SetUpHost(data.Path(), errorText));
    QVERIFY(
        kelvo::test::ReadFile(data.Path(QStringLiteral("logs/user.log"))).contains("is not valid"));
}

void tst_Settings::repairsAnInterruptedUnpackingAtSetUp()
{
    const TTempDataFolder data;
    const QString folder = TSystemSettingsProxy().GetKelvoDownloadPivotsFolderPath();
    QVERIFY(kelvo::test::CreateFromImage(
        folder, {{QStringLiteral(".console-unpacking/new/pivot"), "file:new"},
                 {QStringLiteral(".console-unpacking/old/pivots/pivot"), "file:former"}}));
    QString errorText;
    QVERIFY(hostimpl::SetUpHost(data.Path(), errorText));
    QTRY_COMPARE(kelvo::test::ImageOf(folder),
                 (kelvo::test::TFolderImage{{QStringLiteral("pivots"), "folder"},
                                            {QStringLiteral("pivots/pivot"), "file:former"}}));
}

void tst_Settings::setUpFailsInAnUnusableFolder()
{
    const TTempDataFolder data;
    QVERIFY(kelvo::test::WriteFile(data.Path(QStringLiteral("file")), "x"));
    QString errorText;
    QVERIFY(!hostimpl::SetUpHost(data.Path(QStringLiteral("file")), errorText));
    QVERIFY(errorText.contains(QStringLiteral("cannot be created")));
}

KELVO_TEST_MAIN(tst_Settings)
#include "tst_settings.moc"
