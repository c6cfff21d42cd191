// What is in a folder, for comparing a whole tree at once.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>

namespace kelvo::test {

// Path below the folder to what is there: "file:CONTENT", "folder", "link:TARGET" or "other".
using TFolderImage = QMap<QString, QByteArray>;

// Everything below `folder`, hidden names too; links are not followed.
TFolderImage ImageOf(const QString& folder);

// Creates what an image says; the folder has to be there.
bool CreateFromImage(const QString& folder, const TFolderImage& image);

bool WriteFile(const QString& path, const QByteArray& content);
QByteArray ReadFile(const QString& path);

} // namespace kelvo::test
