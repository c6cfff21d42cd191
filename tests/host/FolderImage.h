// The content of a folder as a map, so that a test compares a whole tree at once.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>

namespace kelvo::test {

// Maps a path below the folder to "file:CONTENT", "folder", "link:TARGET" or "other".
using TFolderImage = QMap<QString, QByteArray>;

// The image of everything below `folder`, with hidden names. Links are not followed.
TFolderImage ImageOf(const QString& folder);

// Creates the files and folders of an image. The folder must exist.
bool CreateFromImage(const QString& folder, const TFolderImage& image);

bool WriteFile(const QString& path, const QByteArray& content);
QByteArray ReadFile(const QString& path);

} // namespace kelvo::test
