// Reads the operator's user name and password and puts them into the configuration.
#pragma once

#include <QtCore/QString>

namespace console {

struct TCredentials
{
    QString user;
    QString password;
};

// Reads the first two lines of a file. Returns false if others than the owner have access to the
// file, or if a line is missing. `errorText` then holds the reason, but never a text from the file.
bool ReadCredentialsFile(const QString& path, TCredentials& credentials, QString& errorText);

// Reads KELVO_USER and KELVO_PASSWORD and removes them from the environment: no child process
// inherits them, and /proc/PID/environ does not show them. False if one of them is missing.
bool TakeCredentialsFromEnvironment(TCredentials& credentials);

// Sets the credentials in the configuration manager, where the plug-in reads them. They are not
// written to the disk.
void ConfigureCredentials(const TCredentials& credentials);

// Configures the credentials of the file `file`. If `file` is empty, it configures the credentials
// of the environment, if there are any. False if the file cannot be used.
bool SetUpCredentials(const QString& file, QString& errorText);

} // namespace console
