// Reads and writes the configuration file.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <cstdint>

namespace hostimpl {

// The host writes no larger files.
constexpr qint64 LARGEST_CONFIG_FILE_BYTES = Q_INT64_C(16) * 1024 * 1024;

// The file's items. An item is in one of the two maps.
struct TConfigItems
{
    QMap<int, QVariant> values;
    QMap<int, QByteArray> sealed;
};

enum class EConfigRead : std::uint8_t { eRead, eMissing, eUnreadable, eInvalid };

// Reads the items of the file `path`. Changes `items` only if the result is eRead.
EConfigRead ReadConfigFile(const QString& path, TConfigItems& items, QString& errorText);

// Replaces the file atomically. The new file is on the disk when the function returns. The file is
// readable for its owner only, at every moment. Returns 0, or the errno of the failure.
int WriteConfigFile(const QString& path, const TConfigItems& items);

// True if the file has the same content for both values.
bool IsSameItem(const QVariant& one, const QVariant& other);

// Overwrites the values of SEALED_ITEMS in an invalid file, then renames the file. Returns the new
// name, or an empty text on failure.
QString PutConfigFileAside(const QString& path);

} // namespace hostimpl
