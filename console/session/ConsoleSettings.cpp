#include "console/session/ConsoleSettings.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>

namespace {

constexpr int maxTimeoutSeconds = 24 * 60 * 60;

QString DefaultPluginPath()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QStringLiteral("/../lib/libkelvo.so"));
}

QString DefaultDataFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/kelvo-console");
}

bool ReadShownPositions(const QString& text, console::EShownPositions& shown)
{
    if (text == QLatin1String("changes")) {
        shown = console::EShownPositions::eChanges;
        return true;
    }
    shown = console::EShownPositions::eFixes;
    return text == QLatin1String("fixes");
}

QString ValueOf(const QCommandLineParser& parser, const char* name, const QString& otherwise = {})
{
    const QString option = QString::fromLatin1(name);
    return parser.isSet(option) ? parser.value(option) : otherwise;
}

// Reads the options that accept any text.
void ReadPlainOptions(const QCommandLineParser& parser, console::TConsoleSettings& settings)
{
    settings.isHeadless = parser.isSet(QStringLiteral("headless"));
    settings.pluginPath =
        QFileInfo(ValueOf(parser, "plugin", DefaultPluginPath())).absoluteFilePath();
    settings.dataFolder =
        QDir::cleanPath(QFileInfo(ValueOf(parser, "data", DefaultDataFolder())).absoluteFilePath());
    settings.isDataFolderGiven = parser.isSet(QStringLiteral("data"));
    settings.credentialsFile = ValueOf(parser, "credentials");
    settings.scriptFile = ValueOf(parser, "script", QStringLiteral("-"));
}

bool ReadPositionOptions(const QCommandLineParser& parser, console::TConsoleSettings& settings,
                         QString& errorText)
{
    settings.isGpsGiven = parser.isSet(QStringLiteral("gps"));
    if (settings.isGpsGiven &&
        !console::ParseGpsSetting(ValueOf(parser, "gps"), settings.gps, errorText)) {
        return false;
    }
    if (parser.isSet(QStringLiteral("show-position")) &&
        !ReadShownPositions(ValueOf(parser, "show-position"), settings.shownPositions)) {
        errorText = QStringLiteral("--show-position takes \"changes\" or \"fixes\".");
        return false;
    }
    return true;
}

bool ReadTimeout(const QCommandLineParser& parser, console::TConsoleSettings& settings,
                 QString& errorText)
{
    bool isNumber = true;
    settings.timeoutSeconds =
        ValueOf(parser, "timeout", QString::number(settings.timeoutSeconds)).toInt(&isNumber);
    if (!isNumber || settings.timeoutSeconds < 1 || settings.timeoutSeconds > maxTimeoutSeconds) {
        errorText = QStringLiteral("--timeout takes a number of seconds from 1 to %1.")
                        .arg(maxTimeoutSeconds);
        return false;
    }
    return true;
}

bool ReadServiceOptions(const QCommandLineParser& parser, console::TConsoleSettings& settings,
                        QString& errorText)
{
    settings.service = ValueOf(parser, "service");
    settings.isServiceGiven = parser.isSet(QStringLiteral("service"));
    if (settings.isServiceGiven && !console::IsServiceAddress(settings.service)) {
        errorText = QStringLiteral("--service takes HOST or HOST:PORT.");
        return false;
    }
    settings.authorityFile = ValueOf(parser, "ca");
    settings.isAuthorityGiven = parser.isSet(QStringLiteral("ca"));
    if (settings.isAuthorityGiven) {
        const QFileInfo file(settings.authorityFile);
        if (!file.isFile() || !file.isReadable()) {
            errorText =
                QStringLiteral("The file %1 (--ca) cannot be read.").arg(settings.authorityFile);
            return false;
        }
        settings.authorityFile = file.absoluteFilePath();
    }
    return true;
}

} // namespace

namespace console {

void DescribeOptions(QCommandLineParser& parser)
{
    const auto add = [&parser](const char* name, const char* value, const QString& text) {
        parser.addOption(
            {QString::fromLatin1(name), text, QString::fromLatin1(value)}); // empty: no value
    };
    parser.addOption(
        {{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Print this help.")});
    parser.addVersionOption();
    add("headless", "", QStringLiteral("Run without screens."));
    add("plugin", "PATH", QStringLiteral("The plug-in; default ../lib/libkelvo.so."));
    add("service", "HOST[:PORT]",
        QStringLiteral("The service to use instead of the plug-in's default."));
    add("ca", "FILE", QStringLiteral("Certificates to trust in addition to the system's."));
    add("data", "DIR",
        QStringLiteral("The folder for the console's data; default %1.")
            .arg(QDir::toNativeSeparators(DefaultDataFolder())));
    add("credentials", "FILE",
        QStringLiteral(
            "A file with the user name on line 1 and the password on line 2. Only its owner may "
            "have access to the file."));
    add("gps", "SOURCE",
        QStringLiteral("The source of positions. gpsd[:HOST[:PORT]]: a gpsd daemon, default "
                       "localhost:2947. nmea:FILE[@SPEED]: a log of NMEA sentences, played SPEED "
                       "times as fast as it was received, default 1. serial:DEVICE[@BAUD]: a "
                       "receiver at a serial port, default %1 baud, the rate of NMEA 0183; many "
                       "receivers use 9600 or 115200. Without this option there is no position.")
            .arg(TGpsSetting().baud));
    add("show-position", "WHEN",
        QStringLiteral("Print `position` lines without a command. \"changes\": when the fix or the "
                       "source is lost or returns. \"fixes\": also at each fix."));
    add("script", "FILE",
        QStringLiteral("The file with the commands; default - (standard input)."));
    add("timeout", "SECONDS",
        QStringLiteral(
            "The time limit of a command, default %1. A command that takes longer has failed.")
            .arg(TConsoleSettings().timeoutSeconds));
}

bool ReadSettings(const QCommandLineParser& parser, TConsoleSettings& settings, QString& errorText)
{
    ReadPlainOptions(parser, settings);
    if (!ReadPositionOptions(parser, settings, errorText) ||
        !ReadTimeout(parser, settings, errorText) ||
        !ReadServiceOptions(parser, settings, errorText)) {
        return false;
    }
    if (!parser.positionalArguments().isEmpty()) {
        errorText = QStringLiteral("Unexpected argument \"%1\".")
                        .arg(parser.positionalArguments().constFirst());
        return false;
    }
    return true;
}

bool IsServiceAddress(const QString& text)
{
    static const QRegularExpression form(
        QStringLiteral("^([A-Za-z0-9._-]+|\\[[0-9A-Fa-f:.]+\\])(:[0-9]{1,5})?$"));
    return form.match(text).hasMatch();
}

void ExportToEnvironment(const TConsoleSettings& settings)
{
    if (!settings.service.isEmpty()) {
        qputenv("KELVO_API_HOST", settings.service.toLatin1());
    }
    if (!settings.authorityFile.isEmpty()) {
        qputenv("KESDK_CA_FILE", settings.authorityFile.toLocal8Bit());
    }
    qputenv("LANGUAGE", settings.language.isEmpty() ? "en" : settings.language.toLatin1());
    // The SDK's journal of unfinished uploads. With it an upload resumes after a restart.
    if (!settings.dataFolder.isEmpty() && qEnvironmentVariableIsEmpty("KESDK_STATE_FOLDER")) {
        qputenv("KESDK_STATE_FOLDER",
                QFile::encodeName(settings.dataFolder + QStringLiteral("/state/kesdk")));
    }
}

} // namespace console
