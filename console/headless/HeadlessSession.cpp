#include "console/headless/HeadlessSession.h"

#include "console/headless/CommandParser.h"
#include "console/headless/LinkPrinter.h"
#include "console/headless/PositionPrinter.h"
#include "console/headless/THeadlessRunner.h"
#include "console/headless/TPositionOutput.h"
#include "console/position/GpsSetting.h"
#include "console/session/ConsoleSettings.h"
#include "console/session/ExitStatus.h"
#include "console/session/SessionSetup.h"
#include "console/session/TLineSource.h"
#include "console/session/TPluginSession.h"
#include "console/session/TStopSignals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QFile>

#include <cstdio>
#include <memory>
#include <optional>

#include <unistd.h>

namespace {

void Print(const QByteArray& line)
{
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

// Reads the lines of a script file; the standard input gives no lines here. If a line is faulty,
// the result is false, and no line of the script must run.
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

// Call it directly after TPluginSession::Start(). Blocks until the worker is ready; false if the
// worker fails.
bool WaitForWorker(const console::TPluginSession& session)
{
    QEventLoop loop;
    QObject::connect(&session, &console::TPluginSession::WorkerReady, &loop,
                     [&loop] { loop.exit(1); });
    QObject::connect(&session, &console::TPluginSession::WorkerFailed, &loop,
                     [&loop] { loop.exit(0); });
    return loop.exec() == 1;
}

// Runs the commands until they end or a signal stops them.
int RunUntilStopped()
{
    console::TStopSignals stopSignals(
        [](int number) { QCoreApplication::exit(console::eExitSignal + number); });
    return QCoreApplication::exec();
}

int RunScript(console::TPluginSession& session, const std::optional<QStringList>& script,
              const console::TConsoleSettings& settings)
{
    const console::TPositionOutput output(session.Position(), settings.shownPositions, Print);
    console::THeadlessRunner runner(
        *session.Hub(),
        {Print, [](int exitStatus) { QCoreApplication::exit(exitStatus); },
         [&session] { return console::PositionLine(session.Position().State()); },
         [] { return console::LinkLine(kesdkimpl::ReadLinkStatus()); }},
        settings.timeoutSeconds * 1000);
    QString errorText;
    if (!session.Listen([&runner](const console::THubEvent& event) { runner.OnHubEvent(event); },
                        errorText)) {
        return console::PrintError(errorText, console::eExitPlugin);
    }
    session.StartSource(settings.gps);

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
    const int exitStatus = RunUntilStopped();
    session.Stop(); // the runner and the output must still exist
    return exitStatus;
}

} // namespace

namespace console {

int RunHeadless(const TConsoleSettings& settings)
{
    QString errorText;
    std::optional<QStringList> script;
    if (!ReadScript(settings.scriptFile, script, errorText)) {
        return PrintError(errorText, eExitUsage);
    }
    if (const int exitStatus = SetUpSession(settings)) {
        return exitStatus;
    }
    ExportToEnvironment(settings);

    TPluginSession session;
    if (!session.Start(settings.pluginPath, nullptr, errorText)) {
        return PrintError(errorText, eExitPlugin);
    }
    if (!WaitForWorker(session)) {
        return PrintError(QStringLiteral("The plug-in does not take requests; is the service's "
                                         "address valid?"),
                          eExitPlugin);
    }
    return RunScript(session, script, settings);
}

} // namespace console
