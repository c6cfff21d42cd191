// The shared library as a console links it: the library exports all that its headers declare.
#include "host/TFileSystemHelper.h"
#include "host/TSystemSettings.h"
#include "host/TSystemSettingsProxy.h"
#include "host/TThreadedObject.h"
#include "hostimpl/Clock.h"
#include "hostimpl/HostSetup.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TUserLevels.h"
#include "hostimpl/TUserLogFile.h"
#include "hostimpl/Unpacking.h"
#include "hostimpl/WindowManager.h"
#include "support/Needs.h"
#include "support/TStartedProgram.h"
#include "support/TTempDataFolder.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

namespace {

// This static object may be initialised before the library's static objects. Therefore the
// library's constant needs no constructor.
const QString suffixAtStart = TSystemSettings::ZIPExtension;

} // namespace

class tst_ConsoleHost : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initialisesConstantsBeforeStaticConstructors();
    void exportsAllDeclaredFunctions();
    void sharesTypeInformationWithItsUsers();
    void exportsNoOtherSymbols();
};

void tst_ConsoleHost::initialisesConstantsBeforeStaticConstructors()
{
    QCOMPARE(suffixAtStart, QStringLiteral(".zip"));
}

void tst_ConsoleHost::exportsAllDeclaredFunctions()
{
    const kelvo::test::TTempDataFolder data;
    QString errorText;
    QVERIFY2(hostimpl::SetUpHost(data.Path(), errorText), qPrintable(errorText));
    const hostimpl::TFeatures features(ConfigManager::Instance());
    QVERIFY(!features.GetConsoleCharacteristics().GetConsoleString().isEmpty());
    const hostimpl::TUserLevels levels(ConfigManager::Instance());
    QVERIFY(levels.IsControlAccessible(TAppUserLevels::eKelvoControl));
    hostimpl::TFedGPSCoordinator coordinator;
    QVERIFY(coordinator.Feed({1.0, 2.0, 3.0}));
    hostimpl::SetWindowManager(nullptr);
    hostimpl::SetClock({});
    TThreadedObject object(QStringLiteral("Thread"));
    object.start(QThread::InheritPriority);
    object.Stop();
    object.wait();
    const QString folder = TSystemSettingsProxy().GetKelvoDownloadCurvesFolderPath();
    QVERIFY(!TFileSystemHelper::Unzip(data.Path(QStringLiteral("none.zip")), folder, errorText));
    QVERIFY(hostimpl::RecoverUnpacking(folder, errorText));
    QVERIFY(TFileSystemHelper::DeleteDirGeneric(folder, true, true));
    QVERIFY(!QFile::exists(folder));
}

// A dynamic_cast works only if the library and its user see the same type information.
void tst_ConsoleHost::sharesTypeInformationWithItsUsers()
{
    QVERIFY(dynamic_cast<hostimpl::TConfigStore*>(&ConfigManager::Instance()) != nullptr);
    const QObject* const coordinator = new hostimpl::TFedGPSCoordinator;
    QVERIFY(qobject_cast<const TGPSCoordinator*>(coordinator) != nullptr);
    delete coordinator;
}

// The library exports its marked classes and weak symbols only. The weak symbols are inline
// functions and templates of Qt and the standard library; every library has them.
void tst_ConsoleHost::exportsNoOtherSymbols()
{
    kelvo::test::TStartedProgram nm(QStringLiteral(CONSOLEHOST_NM),
                                    {QStringLiteral("-DC"), QStringLiteral("--defined-only"),
                                     QStringLiteral(CONSOLEHOST_LIBRARY)});
    const QList<QByteArray> lines = nm.ReadOutput().split('\n');
    KELVO_NEEDS(nm.ExitCode() == 0, "the program nm");
    const QRegularExpression weak(QStringLiteral("^[0-9a-f]* *[VWuvw] "));
    const QRegularExpression expected(QStringLiteral(
        "^[0-9a-f]* *[A-Z] (non-virtual thunk to |vtable for |typeinfo for |typeinfo name for )?"
        "(hostimpl::|ZRA::AppWindowSurface|ZRA::MMICapableWidget|TGen2|TThreadedObject|"
        "TWindowManagerApi|TSystemSettings|"
        "TFileSystemHelper|ConfigManager|UserLogAccessor|TAppUserLevels|TAppFeatures|"
        "TConsoleCharacteristics|TGPSCoordinator|TLocalTime|TLockingWidget::|TWindow::|TEdit|"
        "TPropertyWidget::(?!TRow)|TProperty::|TListWidget::(?!TParts)|TPushButton::|TPopupWindow::"
        "|"
        "TMessageDialog::(?!TContent)|TProgressDialog::(?!TContent)|(?<= for "
        ")T(LockingWidget|Window|PropertyWidget|"
        "Property|ListWidget|PushButton|PopupWindow|MessageDialog|ProgressDialog)\\b|"
        "__asan|__odr_asan)"));
    QVERIFY(lines.size() > 50);
    for (const QByteArray& line : lines) {
        const QString symbol = QString::fromUtf8(line);
        if (!symbol.isEmpty() && !weak.match(symbol).hasMatch()) {
            QVERIFY2(expected.match(symbol).hasMatch(), line.constData());
        }
    }
}

KELVO_TEST_MAIN(tst_ConsoleHost)
#include "tst_consolehost.moc"
