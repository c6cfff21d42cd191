// What the command line says the console is to do.
#pragma once

#include "console/position/GpsSetting.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>

class QCommandLineParser;

namespace console {

// Which changes of the position the console prints by itself.
enum class EShownPositions : std::uint8_t { eNone, eChanges, eFixes };

struct TConsoleSettings
{
    QString pluginPath;
    QString service;         // host[:port]; empty for the plug-in's own
    QString authorityFile;   // certificates to trust besides the system's; may be empty
    QString dataFolder;      // absolute
    QString credentialsFile; // may be empty
    QString scriptFile;      // "-" for the standard input
    TGpsSetting gps;
    EShownPositions shownPositions = EShownPositions::eNone;
    int timeoutSeconds = 120;
    bool isHeadless = false;
    // Whether the command line says so; otherwise the window goes by what the operator has set up.
    bool isDataFolderGiven = false;
    bool isGpsGiven = false;
};

// Gives `parser` the console's options.
void DescribeOptions(QCommandLineParser& parser);

// Reads the settings from a parsed command line. False if a value makes no sense; `errorText` says
// which.
bool ReadSettings(const QCommandLineParser& parser, TConsoleSettings& settings, QString& errorText);

// Whether it is host, host:port or [IPv6]:port. What the host is called is the resolver's business.
bool IsServiceAddress(const QString& text);

// Puts what the plug-in and its SDK read from the environment there. Before the plug-in is loaded.
void ExportToEnvironment(const TConsoleSettings& settings);

} // namespace console
