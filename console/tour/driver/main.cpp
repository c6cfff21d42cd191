// The console with its window, operated by commands from outside.
#include "console/session/ConsoleSettings.h"
#include "console/session/TRestart.h"
#include "console/tour/driver/TDriver.h"
#include "console/window/WindowRun.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QRegularExpression>
#include <QtGui/QGuiApplication>

#include <csignal>
#include <cstdio>
#include <memory>

namespace {

constexpr int smallest = 100; // pixels
constexpr int largest = 10000;

int Refuse(const QString& text)
{
    std::fprintf(stderr, "kelvo-console-driver: %s\nTry `kelvo-console-driver --help`.\n",
                 qUtf8Printable(text));
    return 2;
}

// Null if `text` is not a size.
QSize ParseSize(const QString& text)
{
    static const QRegularExpression pattern(QStringLiteral("^([0-9]{1,5})x([0-9]{1,5})$"));
    const QRegularExpressionMatch match = pattern.match(text);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    const bool isSensible =
        size.boundedTo({largest, largest}) == size && size.expandedTo({smallest, smallest}) == size;
    return isSensible ? size : QSize();
}

int Run(const QStringList& arguments)
{
    QCommandLineParser parser;
    console::DescribeOptions(parser);
    parser.setApplicationDescription(QStringLiteral(
        "Opens the console's window and operates it by commands from the standard input. Each line "
        "is a JSON object. Commands: look, press, open, type, touch, key, enter, picture, "
        "resize, heartbeat, quit."));
    const QCommandLineOption sizeOption(
        QStringLiteral("size"), QStringLiteral("Size of the window, pixels of the display."),
        QStringLiteral("WIDTHxHEIGHT"), QStringLiteral("1280x800"));
    parser.addOption(sizeOption);
    if (!parser.parse(arguments)) {
        return Refuse(parser.errorText());
    }
    if (parser.isSet(QStringLiteral("help"))) {
        parser.showHelp();
    }
    const QSize size = ParseSize(parser.value(sizeOption));
    if (size.isNull()) {
        return Refuse(QStringLiteral("%1 is not a size").arg(parser.value(sizeOption)));
    }
    console::TConsoleSettings settings;
    QString errorText;
    if (!console::ReadSettings(parser, settings, errorText)) {
        return Refuse(errorText);
    }
    std::unique_ptr<tour::TDriver> driver;
    return console::RunWindow(settings, [&driver, size](console::TWindowSession& session) {
        driver = std::make_unique<tour::TDriver>(session, size / qApp->devicePixelRatio());
    });
}

} // namespace

int main(int argc, char* argv[])
{
    const console::TRestart restart(argv);
    std::signal(SIGPIPE, SIG_IGN);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // The application object gets no options: Qt would take some of them for its own.
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    int ownArgumentCount = 1;
    std::unique_ptr<QCoreApplication> application =
        console::MakeWindowApplication(ownArgumentCount, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kelvo-console-driver"));
    const int exitStatus = Run(arguments);
    application.reset();
    return restart.Run(exitStatus);
}
