#include "console/session/Credentials.h"

#include "host/ConfigManager.h"

#include <QtCore/QFile>

#include <cstdlib>
#include <cstring>

namespace {

enum ECredentialItem : int {
    eUserNameItem = 24289,
    ePasswordItem = 24290,
};

constexpr qint64 maxFileBytes = 4096;

const QFile::Permissions othersPermissions = QFile::ReadGroup | QFile::WriteGroup |
                                             QFile::ExeGroup | QFile::ReadOther |
                                             QFile::WriteOther | QFile::ExeOther;

QString Line(QFile& file)
{
    QByteArray line = file.readLine(maxFileBytes);
    while (line.endsWith('\n') || line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

// unsetenv() leaves the text in the memory that /proc/PID/environ shows: it is overwritten here.
QString TakeVariable(const char* name)
{
    QString value = qEnvironmentVariable(name);
    if (char* const text = std::getenv(name)) {
        ::explicit_bzero(text, std::strlen(text));
    }
    qunsetenv(name);
    return value;
}

} // namespace

namespace console {

bool ReadCredentialsFile(const QString& path, TCredentials& credentials, QString& errorText)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        errorText = QStringLiteral("The credentials file %1 cannot be read.").arg(path);
        return false;
    }
    if ((file.permissions() & othersPermissions) != 0) {
        errorText = QStringLiteral("Others than its owner have access to the credentials file "
                                   "%1; make it private with `chmod 600`.")
                        .arg(path);
        return false;
    }
    credentials.user = Line(file);
    credentials.password = Line(file);
    if (credentials.user.isEmpty() || credentials.password.isEmpty()) {
        errorText = QStringLiteral("The credentials file %1 must hold the user name on its first "
                                   "line and the password on its second line.")
                        .arg(path);
        return false;
    }
    return true;
}

bool TakeCredentialsFromEnvironment(TCredentials& credentials)
{
    credentials.user = TakeVariable("KELVO_USER");
    credentials.password = TakeVariable("KELVO_PASSWORD");
    return !credentials.user.isEmpty() && !credentials.password.isEmpty();
}

void ConfigureCredentials(const TCredentials& credentials)
{
    ConfigManager& config = ConfigManager::Instance();
    config.SetItem(eUserNameItem, credentials.user, false);
    config.SetItem(ePasswordItem, credentials.password, false);
}

bool SetUpCredentials(const QString& file, QString& errorText)
{
    TCredentials credentials;
    const bool hasEnvironment = TakeCredentialsFromEnvironment(credentials);
    if (!file.isEmpty() && !ReadCredentialsFile(file, credentials, errorText)) {
        return false;
    }
    if (!file.isEmpty() || hasEnvironment) {
        ConfigureCredentials(credentials);
    }
    return true;
}

} // namespace console
