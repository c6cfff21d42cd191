// The operator's user name and password, on their way to the configuration.
#pragma once

#include <QtCore/QString>

namespace console {

struct TCredentials
{
    QString user;
    QString password;
};

// Reads the first two lines of a file that only its owner may read. False if the file is readable
// for others or incomplete; `errorText` says so and never holds what the file does.
bool ReadCredentialsFile(const QString& path, TCredentials& credentials, QString& errorText);

// Takes KELVO_USER and KELVO_PASSWORD out of the environment, so that no child inherits them and
// /proc/PID/environ does not show them. False if one is missing.
bool TakeCredentialsFromEnvironment(TCredentials& credentials);

// Gives them to the configuration manager, where the plug-in looks for them, for as long as this
// process runs.
void ConfigureCredentials(const TCredentials& credentials);

// Configures those of `file`, if it is not empty, or else of the environment, if they are there.
// False if the file is no good.
bool SetUpCredentials(const QString& file, QString& errorText);

} // namespace console
