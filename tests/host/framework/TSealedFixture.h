// A folder for a configuration with a password, and a search for the password.
#pragma once

#include "host/FolderImage.h"
#include "hostimpl/TConfigStore.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <sys/stat.h>

namespace kelvo::test {

constexpr int userItem = 24289;
constexpr int passwordItem = 24290;

inline QString Password()
{
    return QStringLiteral("Marker-7f3k-Quill");
}

// True if `bytes` contain the password in any encoding that the host writes.
inline bool ContainsPassword(const QByteArray& bytes)
{
    const QByteArray text = Password().toUtf8();
    QByteArray wide; // the encoding of QDataStream
    for (const char character : text) {
        wide += '\0';
        wide += character;
    }
    for (const QByteArray& form : {text, wide}) {
        if (bytes.contains(form) || bytes.toLower().contains(form.toHex())) {
            return true;
        }
        // The base 64 text depends on the number of bytes before the password.
        for (int offset = 0; offset < 3; ++offset) {
            const QByteArray part = form.mid(offset, (form.size() - offset) / 3 * 3);
            if (bytes.contains(part.toBase64())) {
                return true;
            }
        }
    }
    return false;
}

struct TSealedFixture
{
    QTemporaryDir folder;

    QString Path() const { return folder.filePath(QStringLiteral("console.json")); }
    QString KeyPath() const { return folder.filePath(QStringLiteral("console.json.key")); }

    // The file of an older console without sealing.
    static QByteArray PlainFile()
    {
        return "{\"version\":1,\"items\":{"
               "\"24289\":{\"type\":\"QString\",\"value\":\"olga\"},"
               "\"24290\":{\"type\":\"QString\",\"value\":\"" +
               Password().toUtf8() +
               "\"},"
               "\"7\":{\"type\":\"int\",\"value\":\"42\"}}}";
    }

    // Writes the file as the host does.
    bool Configure() const
    {
        hostimpl::TConfigStore store;
        if (!store.Open(Path()).isEmpty()) {
            return false;
        }
        store.SetItem(userItem, QStringLiteral("olga"), true);
        store.SetItem(passwordItem, Password(), true);
        store.SetItem(7, 42, true);
        return true;
    }

    QJsonObject Entry(int itemKey) const
    {
        return QJsonDocument::fromJson(ReadFile(Path()))
            .object()
            .value(QLatin1String("items"))
            .toObject()
            .value(QString::number(itemKey))
            .toObject();
    }

    QString SealedText() const
    {
        return Entry(passwordItem).value(QLatin1String("sealed")).toString();
    }

    // The names of the files in the folder that contain the password.
    QStringList FilesWithPassword() const
    {
        QStringList names;
        const TFolderImage image = ImageOf(folder.path());
        for (auto file = image.begin(); file != image.end(); ++file) {
            if (ContainsPassword(file.value())) {
                names << file.key();
            }
        }
        return names;
    }

    static uint ModeOf(const QString& path)
    {
        struct stat status = {};
        return ::stat(path.toLocal8Bit().constData(), &status) == 0 ? status.st_mode & 07777u : 0;
    }
};

} // namespace kelvo::test
