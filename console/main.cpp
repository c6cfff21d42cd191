// The console's program.
#include "console/headless/HeadlessSession.h"
#include "console/headless/HelpText.h"
#include "console/session/ConsoleSettings.h"
#include "console/session/ExitStatus.h"
#include "console/session/TRestart.h"
#include "console/window/WindowRun.h"

#include <QtCore/QCommandLineParser>
#include <QtGui/QGuiApplication>

#include <csignal>
#include <cstdio>
#include <memory>

#include <sys/resource.h>

namespace {

// A core file would contain the operator's password. Only the soft limit is lowered:
// `prlimit --core=unlimited --pid` allows core files again for an examination.
void LeaveNoCoreFile()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_CORE, &limit) == 0) {
        limit.rlim_cur = 0;
        ::setrlimit(RLIMIT_CORE, &limit);
    }
}

int Refuse(const QString& text)
{
    std::fprintf(stderr, "kelvo-console: %s\nTry `kelvo-console --help`.\n", qUtf8Printable(text));
    return console::eExitUsage;
}

// Without a display the operator could not close the window.
bool HasDisplay()
{
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty()) {
        return platform != "offscreen" && platform != "minimal";
    }
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// The options choose the class of the application object, and QCommandLineParser needs that object.
// So the few options that matter are read here.
bool AsksForWindow(const QStringList& arguments)
{
    for (const char* const other : {"--headless", "--help", "-h", "--version", "-v"}) {
        if (arguments.contains(QLatin1String(other))) {
            return false;
        }
    }
    return console::HasWindow() && HasDisplay();
}

int Run(const QStringList& arguments, bool canOpenWindow)
{
    QCommandLineParser parser;
    console::DescribeOptions(parser);
    parser.setApplicationDescription(console::HelpText());
    if (!parser.parse(arguments)) {
        return Refuse(parser.errorText());
    }
    if (parser.isSet(QStringLiteral("help"))) {
        parser.showHelp();
    }
    if (parser.isSet(QStringLiteral("version"))) {
        parser.showVersion();
    }
    console::TConsoleSettings settings;
    QString errorText;
    if (!console::ReadSettings(parser, settings, errorText)) {
        return Refuse(errorText);
    }
    if (settings.isHeadless) {
        return console::RunHeadless(settings);
    }
    if (!canOpenWindow) {
        return Refuse(
            console::HasWindow()
                ? QStringLiteral("There is no display for the window. Start the console with "
                                 "--headless.")
                : QStringLiteral("This console was built without a window. Start it with "
                                 "--headless."));
    }
    return console::RunWindow(settings);
}

} // namespace

int main(int argc, char* argv[])
{
    const console::TRestart restart(argv);
    LeaveNoCoreFile();
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe or socket must not end the console
    // The application object gets no options: Qt would take some of them for its own.
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    int ownArgumentCount = 1;
    const bool opensWindow = AsksForWindow(arguments);
    if (!opensWindow && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    std::unique_ptr<QCoreApplication> application =
        opensWindow ? console::MakeWindowApplication(ownArgumentCount, argv)
                    : std::make_unique<QGuiApplication>(ownArgumentCount, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kelvo-console"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KELVO_VERSION));
    // Some platforms of Qt start without a screen, for example if there is no framebuffer.
    const bool canOpenWindow = opensWindow && QGuiApplication::primaryScreen() != nullptr;
    const int exitStatus = Run(arguments, canOpenWindow);
    application.reset();
    return restart.Run(exitStatus);
}
