// The console's program.
#include "console/ConsoleSettings.h"
#include "console/headless/HeadlessSession.h"

#include <QtCore/QCommandLineParser>
#include <QtGui/QGuiApplication>

#include <csignal>
#include <cstdio>

namespace {

int Refuse(const QString& text)
{
    std::fprintf(stderr, "kelvo-console: %s\nTry `kelvo-console --help`.\n", qUtf8Printable(text));
    return console::eExitUsage;
}

} // namespace

int main(int argc, char* argv[])
{
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away must not end the plug-in
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // Qt would take some of our options for its own.
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    int ownArgumentCount = 1;
    QGuiApplication application(ownArgumentCount, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kelvo-console"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KELVO_VERSION));

    QCommandLineParser parser;
    console::DescribeOptions(parser);
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
    if (!settings.isHeadless) {
        return Refuse(QStringLiteral("There is only a console without screens so far: start it "
                                     "with --headless."));
    }
    return console::RunHeadless(settings);
}
