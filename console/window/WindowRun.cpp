#include "console/window/WindowRun.h"

#include "console/session/ExitStatus.h"
#include "console/session/SessionSetup.h"
#include "console/session/TRestart.h"
#include "console/session/TStopSignals.h"
#include "console/settings/Languages.h"
#include "console/settings/StoredSettings.h"
#include "console/window/OnScreenKeyboard.h"
#include "console/window/TWindowSession.h"
#include "host/ConfigManager.h"
#include "hostimpl/Display.h"

#include <QtGui/QScreen>
#include <QtWidgets/QApplication>

namespace {

// Completes the command line by the operator's stored settings.
void FillIn(console::TConsoleSettings& settings, const console::TStoredSettings& stored)
{
    if (!settings.isServiceGiven) {
        settings.service = stored.service;
    }
    if (!settings.isAuthorityGiven) {
        settings.authorityFile = stored.authorityFile;
    }
    settings.language = stored.language;
    QString errorText; // the console starts also if the stored log is missing
    if (!settings.isGpsGiven && !stored.positionSource.isEmpty() &&
        !console::ParseGpsSetting(stored.positionSource, settings.gps, errorText)) {
        console::PrintError(errorText, console::eExitSuccess);
        settings.gps = {};
    }
}

// Qt reads the scale when the application object is created, but only an application object knows
// the display.
void SetScale(int argumentCount, char** arguments)
{
    if (!qEnvironmentVariableIsEmpty("QT_SCALE_FACTOR")) {
        return; // the installer's choice
    }
    const QGuiApplication application(argumentCount, arguments);
    const QScreen* const screen = QGuiApplication::primaryScreen();
    const double scale = screen == nullptr ? 1.0 : hostimpl::DisplayOf(screen->size()).scale;
    if (scale != 1.0) {
        qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
    }
}

} // namespace

namespace console {

bool HasWindow()
{
    return true;
}

std::unique_ptr<QCoreApplication> MakeWindowApplication(int& argumentCount, char** arguments)
{
    PrepareKeyboard();
    SetScale(argumentCount, arguments);
    return std::make_unique<QApplication>(argumentCount, arguments);
}

int RunWindow(const TConsoleSettings& given, const std::function<void(TWindowSession&)>& onBegun)
{
    TConsoleSettings settings = given;
    if (!settings.isDataFolderGiven) {
        settings.dataFolder = StoredDataFolder(settings.dataFolder);
    }
    if (const int exitStatus = SetUpSession(settings)) {
        return exitStatus;
    }
    const TStoredSettings stored = ReadStoredSettings(ConfigManager::Instance());
    FillIn(settings, stored);
    ExportToEnvironment(settings);
    InstallLanguage(stored.language);

    TWindowSession session(settings, stored);
    QObject::connect(&session, &TWindowSession::EndRequested, QCoreApplication::instance(),
                     &QCoreApplication::quit, Qt::QueuedConnection);
    TStopSignals stopSignals([&session](int) { session.RequestEnd(); });
    session.Begin();
    if (onBegun) {
        onBegun(session);
    }
    const int exitStatus = QCoreApplication::exec();
    session.End();
    return session.IsRestartWanted() ? TRestart::wanted : exitStatus;
}

} // namespace console
