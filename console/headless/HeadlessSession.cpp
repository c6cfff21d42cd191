// A run of the console without screens, from the plug-in's start to its end.
#include "console/headless/HeadlessSession.h"

#include "console/Credentials.h"
#include "console/PluginHost.h"
#include "console/headless/CommandParser.h"
#include "console/headless/PositionPrinter.h"
#include "console/headless/TFixAnnouncer.h"
#include "console/headless/THeadlessRunner.h"
#include "console/headless/THubListener.h"
#include "console/headless/TLineSource.h"
#include "console/headless/TPositionOutput.h"
#include "console/headless/TStopSignals.h"
#include "console/headless/WorkerReadiness.h"
#include "console/position/TPositionThread.h"
#include "console/position/TSystemSourceTime.h"
#include "hostimpl/HostSetup.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TUserLevels.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <cstdio>
#include <memory>
#include <optional>

#include <unistd.h>

namespace {

constexpr int workerTimeoutMs = 10000;

void Print(const QByteArray& line)
{
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

int Complain(const QString& text, int exitStatus)
{
    std::fprintf(stderr, "kelvo-console: %s\n", qUtf8Printable(text));
    return exitStatus;
}

// The lines of a script file, nothing for the standard input. False if one of them is faulty: then
// none is to be run.
bool ReadScript(const QString& path, std::optional<QStringList>& lines, QString& errorText)
{
    if (path == QLatin1String("-")) {
        return true;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        errorText = QStringLiteral("The script %1 cannot be read.").arg(path);
        return false;
    }
    lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (int i = 0; i < lines->size(); ++i) {
        console::TCommand command;
        QString problem;
        if (!console::ParseCommand(lines->at(i), command, problem)) {
            errorText = QStringLiteral("%1:%2: %3").arg(path).arg(i + 1).arg(problem);
            return false;
        }
    }
    return true;
}

// Runs the commands until they end or a signal stops them. The plug-in runs all the while.
int RunScript(TKelvoInterface& hub, hostimpl::TFedGPSCoordinator& coordinator,
              const console::TPositionMonitor& position, const std::optional<QStringList>& script,
              int timeoutSeconds)
{
    console::THeadlessRunner runner(
        hub,
        {Print, [](int exitStatus) { QCoreApplication::exit(exitStatus); },
         [&position] { return console::PositionLine(position.State()); }},
        timeoutSeconds * 1000);
    const console::TFixAnnouncer announcer(coordinator);
    console::THubListener listener([&](const console::THubEvent& event) {
        announcer.OnHubEvent(event);
        runner.OnHubEvent(event);
    });
    QString errorText;
    if (!listener.Attach(hub, errorText)) {
        return Complain(errorText, console::eExitPlugin);
    }
    console::TStopSignals stopSignals(
        [](int number) { QCoreApplication::exit(console::eExitSignal + number); });

    std::unique_ptr<console::TLineSource> input;
    if (script) {
        for (const QString& line : *script) {
            runner.AddLine(line);
        }
        runner.AddEnd();
    } else {
        input = std::make_unique<console::TLineSource>(
            STDIN_FILENO, [&runner](const QString& line) { runner.AddLine(line); },
            [&runner] { runner.AddEnd(); });
    }
    return QCoreApplication::exec();
}

} // namespace

namespace console {

int RunHeadless(const TConsoleSettings& settings)
{
    QString errorText;
    std::optional<QStringList> script;
    if (!ReadScript(settings.scriptFile, script, errorText)) {
        return Complain(errorText, eExitUsage);
    }
    if (!hostimpl::SetUpHost(settings.dataFolder, errorText)) {
        return Complain(errorText, eExitFailed);
    }
    if (!SetUpCredentials(settings.credentialsFile, errorText)) {
        return Complain(errorText, eExitUsage);
    }
    ExportToEnvironment(settings);

    hostimpl::TFedGPSCoordinator coordinator;
    const hostimpl::TFeatures features(ConfigManager::Instance());
    const hostimpl::TUserLevels userLevels(ConfigManager::Instance());
    TPluginHost plugin; // stopped before what it was given ends
    const TPluginContext context{nullptr, &coordinator, QCoreApplication::applicationName(),
                                 &userLevels, &features};
    if (!plugin.Load(settings.pluginPath, errorText) || !plugin.Start(context, errorText)) {
        return Complain(errorText, eExitPlugin);
    }
    if (!WaitForWorker(coordinator, workerTimeoutMs)) {
        return Complain(QStringLiteral("The plug-in does not take requests; is the service's "
                                       "address usable?"),
                        eExitPlugin);
    }
    TSystemSourceTime time;
    TPositionMonitor position(coordinator, time);
    const TPositionOutput output(position, settings.shownPositions, Print);
    TPositionThread source(settings.gps, position, time); // ends first
    source.start(QThread::InheritPriority);
    return RunScript(*plugin.Hub(), coordinator, position, script, settings.timeoutSeconds);
}

} // namespace console
