// Chooses the folder of an archive.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QVector>

#include <functional>

namespace hostimpl {

// The archive's name without ".zip" in any case. A single folder of this name inside the archive is
// not repeated inside the archive's folder.
QByteArray StemOf(const QByteArray& archiveName);

// Different archive names give different folder names:
//
// - "field.zip" gets the folder "field".
// - In three cases the folder has the archive's whole name: "field.ZIP" with another spelling of
//   the suffix, "field.ZIP.zip" with two suffixes, and ".zip" whose rest cannot name a folder.
QByteArray FolderNameOf(const QByteArray& archiveName);

// The name of the folder for an archive. `names` are the other entries of the destination. `exists`
// tells whether the file system finds an entry under a name.
//
// A file system that ignores case finds the folder "field" under the name "Field" too. Then
// "Field.zip" gets the folder "Field.zip", and keeps it. Returns an empty name if the folder
// "Field.zip" belongs to another archive too.
QByteArray ChooseFolderName(const QByteArray& archiveName, const QVector<QByteArray>& names,
                            const std::function<bool(const QByteArray& name)>& exists);

} // namespace hostimpl
