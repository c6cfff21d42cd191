// Reads and writes the file that configuration items are kept in.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <cstdint>

namespace hostimpl {

// What the file holds: each item in either way.
struct TConfigItems
{
    QMap<int, QVariant> values;
    QMap<int, QByteArray> sealed;
};

enum class EConfigRead : std::uint8_t { eRead, eMissing, eUnreadable, eInvalid };

// Items of the file at `path`; `items` is untouched unless the file was read.
EConfigRead ReadConfigFile(const QString& path, TConfigItems& items, QString& errorText);

// Replaces the file at once, on the disk when it returns. At no moment anyone but its owner can
// read it.
bool WriteConfigFile(const QString& path, const TConfigItems& items, QString& errorText);

// Whether the file would hold the same for both.
bool IsSameItem(const QVariant& one, const QVariant& other);

// Renames a file that cannot be understood, without what it says of items that are to be sealed;
// returns its new name, or an empty text.
QString PutConfigFileAside(const QString& path);

} // namespace hostimpl
