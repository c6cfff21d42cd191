#include "host/FolderImage.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>

#include <filesystem>

namespace {

const QByteArray filePrefix("file:");
const QByteArray linkPrefix("link:");
const QByteArray folderText("folder");

// Uses Qt, which does not fail for a file that is dated after 2038.
QByteArray Describe(const QString& path)
{
    const QFileInfo info(path);
    if (info.isSymLink()) {
        const std::filesystem::path name(path.toStdString());
        return linkPrefix + QByteArray::fromStdString(std::filesystem::read_symlink(name).string());
    }
    if (info.isDir()) {
        return folderText;
    }
    return info.isFile() ? filePrefix + kelvo::test::ReadFile(path) : QByteArrayLiteral("other");
}

} // namespace

namespace kelvo::test {

TFolderImage ImageOf(const QString& folder)
{
    TFolderImage image;
    QDirIterator entries(folder,
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        image.insert(QDir(folder).relativeFilePath(path), Describe(path));
    }
    return image;
}

bool CreateFromImage(const QString& folder, const TFolderImage& image)
{
    for (auto entry = image.begin(); entry != image.end(); ++entry) {
        const QString path = folder + QLatin1Char('/') + entry.key();
        QDir().mkpath(QFileInfo(path).path());
        bool isCreated = false;
        if (entry.value() == folderText) {
            isCreated = QDir().mkpath(path);
        } else if (entry.value().startsWith(filePrefix)) {
            isCreated = WriteFile(path, entry.value().mid(filePrefix.size()));
        } else if (entry.value().startsWith(linkPrefix)) {
            isCreated = QFile::link(QString::fromUtf8(entry.value().mid(linkPrefix.size())), path);
        }
        if (!isCreated) {
            return false;
        }
    }
    return true;
}

bool WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
}

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace kelvo::test
