// An archive, a destination folder, and a folder around both for the check of outside changes.
#pragma once

#include "host/FolderImage.h"
#include "hostimpl/Unpacking.h"
#include "support/TZipBuilder.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

namespace kelvo::test {

// A folder in memory if there is one, because a sync costs nothing there.
inline QString QuickFolder()
{
    const QString memory = QStringLiteral("/dev/shm");
    return QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
}

class TUnzipFixture
{
public:
    TUnzipFixture() : TUnzipFixture(QDir::tempPath()) {}
    explicit TUnzipFixture(const QString& where) : m_root(where + QStringLiteral("/unzip-XXXXXX"))
    {
        QDir(m_root.path()).mkdir(QStringLiteral("destination"));
    }

    QString Root() const { return m_root.path(); }
    QString Destination() const { return m_root.filePath(QStringLiteral("destination")); }
    QString Archive() const { return m_root.filePath(QStringLiteral("archive.zip")); }

    bool SetArchive(const QByteArray& bytes) const { return WriteFile(Archive(), bytes); }
    bool SetArchive(const TZipBuilder& builder) const { return SetArchive(builder.Build()); }
    bool SetContent(const TFolderImage& image) const
    {
        return CreateFromImage(Destination(), image);
    }
    TFolderImage Content() const { return ImageOf(Destination()); }
    // The folder of the archive, and its content.
    QString Folder() const { return Destination() + QStringLiteral("/archive"); }
    TFolderImage Unpacked() const { return ImageOf(Folder()); }
    // The content of the folder with archive and destination.
    TFolderImage Everything() const { return ImageOf(Root()); }

    bool Unzip(const hostimpl::TUnpackLimits& limits = {})
    {
        return hostimpl::Unzip(Archive(), Destination(), limits, m_errorText);
    }
    const QString& ErrorText() const { return m_errorText; }

private:
    const QTemporaryDir m_root;
    QString m_errorText;
};

} // namespace kelvo::test
