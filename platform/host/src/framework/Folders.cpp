// The data folder and the folders below it.
#include "hostimpl/Folders.h"

#include "framework/FolderTable.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMutex>
#include <QtCore/QStandardPaths>

#include <sys/stat.h>

namespace {

struct TDataFolder
{
    QMutex mutex; // guards path
    QString path;
};

TDataFolder& Setting()
{
    static TDataFolder& setting = *new TDataFolder; // outlives every thread that uses a folder
    return setting;
}

QString Absolute(const hostimpl::TFolderRow& row)
{
    return hostimpl::DataFolder() + QLatin1Char('/') + QLatin1String(row.path);
}

// The folder is created with mode 0700, so that it is never readable for others.
bool CreatePrivateFolder(const QString& path)
{
    const QFileInfo info(path);
    if (info.isDir()) {
        return true;
    }
    if (!QDir().mkpath(info.absolutePath())) {
        return false;
    }
    return ::mkdir(QFile::encodeName(path).constData(), 0700) == 0 || QFileInfo(path).isDir();
}

} // namespace

bool hostimpl::SetDataFolder(const QString& dataFolder)
{
    const QString path = QDir::cleanPath(QDir(dataFolder).absolutePath());
    {
        const QMutexLocker lock(&Setting().mutex);
        Setting().path = path;
    }
    return CreatePrivateFolder(path);
}

QString hostimpl::DataFolder()
{
    const QMutexLocker lock(&Setting().mutex);
    if (Setting().path.isEmpty()) {
        Setting().path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                         QStringLiteral("/kelvo-console");
    }
    return Setting().path;
}

bool hostimpl::CreateFolders(QString& errorText)
{
    for (const TFolderRow& row : FOLDER_TABLE) {
        if (!QDir().mkpath(Absolute(row))) {
            errorText = QStringLiteral("The folder %1 cannot be created.").arg(Absolute(row));
            return false;
        }
    }
    return true;
}

QStringList hostimpl::DownloadFolders()
{
    QStringList folders;
    for (const TFolderRow& row : FOLDER_TABLE) {
        if (row.use == EFolderUse::eDownload) {
            folders.append(Absolute(row));
        }
    }
    return folders;
}
