// The console's settings, as the command line gives them.
#pragma once

#include "console/position/GpsSetting.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>

class QCommandLineParser;

namespace console {

// The changes of the position that the console prints without a command.
enum class EShownPositions : std::uint8_t { eNone, eChanges, eFixes };

struct TConsoleSettings
{
    QString pluginPath;
    QString service;         // host[:port]; empty: the plug-in's default
    QString authorityFile;   // further trusted certificates; may be empty
    QString dataFolder;      // absolute
    QString credentialsFile; // may be empty
    QString scriptFile;      // "-" for the standard input
    QString language;        // the language of the SDK's texts, such as "pt_BR"; empty for English
    TGpsSetting gps;
    EShownPositions shownPositions = EShownPositions::eNone;
    int timeoutSeconds = 120;
    bool isHeadless = false;
    // Whether the option is on the command line; if not, the window uses the operator's settings.
    bool isServiceGiven = false;
    bool isAuthorityGiven = false;
    bool isDataFolderGiven = false;
    bool isGpsGiven = false;
};

// Gives `parser` the console's options.
void DescribeOptions(QCommandLineParser& parser);

// Reads the settings from a parsed command line. If a value is invalid, it returns false and
// `errorText` names the value.
bool ReadSettings(const QCommandLineParser& parser, TConsoleSettings& settings, QString& errorText);

// Whether `text` has the form host, host:port or [IPv6]:port. Does not look up the host.
bool IsServiceAddress(const QString& text);

// Sets the environment variables that the plug-in and its SDK read. Call it before the plug-in is
// loaded.
void ExportToEnvironment(const TConsoleSettings& settings);

} // namespace console
