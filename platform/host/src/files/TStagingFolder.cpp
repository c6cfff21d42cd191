#include "files/TStagingFolder.h"

#include "files/ArchiveName.h"

#include <QtCore/QFile>

#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char STAGED_NAME[] = "new"; // the folder of the unpacked files
constexpr mode_t FOLDER_MODE = 0755;
constexpr mode_t FILE_MODE = 0644;

bool IsFolder(int parent, const QByteArray& path)
{
    const std::optional<hostimpl::TFileStatus> status =
        hostimpl::StatusAt(parent, path.constData());
    return status && S_ISDIR(status->mode);
}

QString Clash(const QByteArray& path)
{
    return QStringLiteral("The archive is refused: its entry \"%1\" is both a file and a folder.")
        .arg(hostimpl::DisplayName(path));
}

QString NotCreated(const QByteArray& path, int error)
{
    return QStringLiteral("\"%1\" cannot be created: %2.")
        .arg(hostimpl::DisplayName(path), hostimpl::SystemError(error));
}

bool SyncOne(int parent, const QByteArray& path)
{
    const hostimpl::TDescriptor file(
        ::openat(parent, path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    return file.IsValid() && hostimpl::SyncFolder(file.Get());
}

} // namespace

namespace hostimpl {

bool TStagingFolder::Create(QString& errorText)
{
    if (::mkdirat(m_destination, STAGING_NAME, PRIVATE_FOLDER_MODE) != 0 ||
        !(m_folder = OpenFolder(m_destination, STAGING_NAME)).IsValid() ||
        ::mkdirat(m_folder.Get(), STAGED_NAME, FOLDER_MODE) != 0 ||
        !(m_staged = OpenFolder(m_folder.Get(), STAGED_NAME)).IsValid()) {
        errorText = QStringLiteral("The archive cannot be unpacked: %1.").arg(SystemError(errno));
        return false;
    }
    return true;
}

bool TStagingFolder::AddFolder(const QByteArray& path, QString& errorText)
{
    if (path.isEmpty() || m_folders.contains(path)) {
        return true;
    }
    if (!AddFolder(path.left(std::max(path.lastIndexOf('/'), 0)), errorText)) {
        return false;
    }
    if (::mkdirat(m_staged.Get(), path.constData(), FOLDER_MODE) != 0 &&
        !(errno == EEXIST && IsFolder(m_staged.Get(), path))) {
        errorText = errno == EEXIST ? Clash(path) : NotCreated(path, errno);
        return false;
    }
    m_folders.insert(path);
    return true;
}

TDescriptor TStagingFolder::AddFile(const QByteArray& path, QString& errorText)
{
    if (!AddFolder(path.left(std::max(path.lastIndexOf('/'), 0)), errorText)) {
        return {};
    }
    TDescriptor file(::openat(m_staged.Get(), path.constData(),
                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FILE_MODE));
    if (file.IsValid()) {
        if (++m_fileCount <= MOST_SYNCED_ONE_BY_ONE) {
            m_files.append(path);
        }
        return file;
    }
    if (errno != EEXIST) {
        errorText = NotCreated(path, errno);
    } else if (IsFolder(m_staged.Get(), path)) {
        errorText = Clash(path);
    } else {
        errorText = QStringLiteral("The archive is refused: its entry \"%1\" is in it twice.")
                        .arg(DisplayName(path));
    }
    return {};
}

bool TStagingFolder::Sync(QString& errorText) const
{
    const bool isSynced = m_fileCount + m_folders.size() > MOST_SYNCED_ONE_BY_ONE
                              ? ::syncfs(m_folder.Get()) == 0
                              : SyncEach();
    if (!isSynced) {
        errorText = QStringLiteral("The archive cannot be unpacked: %1.").arg(SystemError(errno));
    }
    return isSynced;
}

bool TStagingFolder::SyncEach() const
{
    for (const QByteArray& path : m_files) {
        if (!SyncOne(m_staged.Get(), path)) {
            return false;
        }
    }
    for (const QByteArray& path : m_folders) {
        if (!SyncOne(m_staged.Get(), path)) {
            return false;
        }
    }
    return SyncFolder(m_staged.Get());
}

QByteArray TStagingFolder::Unpacked(const QByteArray& wrapperName) const
{
    QVector<QByteArray> names;
    const bool isWrapped = ListFolder(m_staged.Get(), names) && names.size() == 1 &&
                           names.constFirst() == wrapperName &&
                           IsFolder(m_staged.Get(), wrapperName);
    return isWrapped ? STAGED_NAME + ('/' + wrapperName) : QByteArray(STAGED_NAME);
}

bool RemoveStaging(const QString& destinationFolder)
{
    std::error_code error;
    const std::filesystem::path folder(QFile::encodeName(destinationFolder).toStdString());
    std::filesystem::remove_all(folder / STAGING_NAME, error);
    return !error;
}

} // namespace hostimpl
