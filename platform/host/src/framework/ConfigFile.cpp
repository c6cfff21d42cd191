// The file's format:
// { "version": 1, "items": { "24289": { "type": "QString", "value": "..." }, ... } }
// A value is written as text if the text gives the same value back. Otherwise it is written as
// "stream", a QDataStream in base 64. A sealed item has an empty text and "sealed", also in base
// 64:
//   "24290": { "type": "QString", "value": "", "sealed": "..." }
// An older console that does not know "sealed" therefore reads an empty value instead of rejecting
// the whole file.
#include "framework/ConfigFile.h"

#include "files/Posix.h"
#include "framework/BlankedCopies.h"
#include "framework/SealedItems.h"
#include "hostimpl/Folders.h"

#include <QtCore/QDataStream>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSaveFile>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int FILE_VERSION = 1;
constexpr int MOST_FILES_PUT_ASIDE = 9;

const QLatin1String VERSION_KEY("version");
const QLatin1String ITEMS_KEY("items");
const QLatin1String TYPE_KEY("type");
const QLatin1String VALUE_KEY("value");
const QLatin1String STREAM_KEY("stream");
const QLatin1String SEALED_KEY("sealed");

QVariant FromText(const QString& typeName, const QString& text)
{
    const int type = QMetaType::type(typeName.toLatin1().constData());
    QVariant value(text);
    if (type == QMetaType::UnknownType || !value.convert(type)) {
        return {};
    }
    return value;
}

QVariant FromStream(const QString& base64)
{
    QDataStream stream(QByteArray::fromBase64(base64.toLatin1()));
    stream.setVersion(hostimpl::CONFIG_STREAM_VERSION);
    QVariant value;
    stream >> value;
    return stream.status() == QDataStream::Ok ? value : QVariant();
}

QJsonObject ToJson(const QVariant& value)
{
    const QString typeName = QString::fromLatin1(value.typeName());
    const QString text = value.toString();
    const QVariant back = FromText(typeName, text);
    if (back.userType() == value.userType() && back == value) {
        return {{TYPE_KEY, typeName}, {VALUE_KEY, text}};
    }
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(hostimpl::CONFIG_STREAM_VERSION);
    stream << value;
    return {{TYPE_KEY, typeName}, {STREAM_KEY, QString::fromLatin1(bytes.toBase64())}};
}

QVariant FromJson(const QJsonObject& object)
{
    return object.contains(STREAM_KEY)
               ? FromStream(object.value(STREAM_KEY).toString())
               : FromText(object.value(TYPE_KEY).toString(), object.value(VALUE_KEY).toString());
}

QJsonObject SealedToJson(const QByteArray& sealed)
{
    return {{TYPE_KEY, QStringLiteral("QString")},
            {VALUE_KEY, QString()},
            {SEALED_KEY, QString::fromLatin1(sealed.toBase64())}};
}

// False if an entry is neither sealed nor a valid value. A sealed entry is checked later, when it
// is decrypted.
bool TakeEntry(int key, const QJsonObject& entry, hostimpl::TConfigItems& items)
{
    if (entry.contains(SEALED_KEY)) {
        items.sealed.insert(key,
                            QByteArray::fromBase64(entry.value(SEALED_KEY).toString().toLatin1()));
        return true;
    }
    const QVariant value = FromJson(entry);
    items.values.insert(key, value);
    return value.isValid();
}

bool Parse(const QByteArray& bytes, hostimpl::TConfigItems& items, QString& errorText)
{
    QJsonParseError error;
    const QJsonObject root = QJsonDocument::fromJson(bytes, &error).object();
    if (error.error != QJsonParseError::NoError) {
        errorText = error.errorString();
        return false;
    }
    if (root.value(VERSION_KEY).toInt() != FILE_VERSION || !root.value(ITEMS_KEY).isObject()) {
        errorText = QStringLiteral("unknown format");
        return false;
    }
    const QJsonObject entries = root.value(ITEMS_KEY).toObject();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        bool isNumber = false;
        const int key = entry.key().toInt(&isNumber);
        if (!isNumber || !TakeEntry(key, entry.value().toObject(), items)) {
            errorText = QStringLiteral("item %1 has no valid value").arg(entry.key());
            return false;
        }
    }
    return true;
}

// QSaveFile gives its temporary file the mode of the file that it replaces. Therefore that file
// must exist, with mode 0600, before QSaveFile opens.
bool EnsurePrivateFile(const QString& path)
{
    const hostimpl::TDescriptor file(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    return file.IsValid() && ::fchmod(file.Get(), 0600) == 0;
}

} // namespace

namespace hostimpl {

EConfigRead ReadConfigFile(const QString& path, TConfigItems& items, QString& errorText)
{
    QFile file(path);
    if (!file.exists()) {
        return EConfigRead::eMissing;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        errorText = file.errorString();
        return EConfigRead::eUnreadable;
    }
    if (file.size() > LARGEST_CONFIG_FILE_BYTES) {
        errorText = QStringLiteral("it is too large");
        return EConfigRead::eInvalid;
    }
    // A file that was copied here by hand may be readable for everybody.
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        errorText = file.errorString();
        return EConfigRead::eUnreadable;
    }
    // A run that was killed before it wrote its first item leaves an empty file.
    if (bytes.isEmpty()) {
        return EConfigRead::eMissing;
    }
    TConfigItems read;
    if (!Parse(bytes, read, errorText)) {
        return EConfigRead::eInvalid;
    }
    items = read;
    return EConfigRead::eRead;
}

int WriteConfigFile(const QString& path, const TConfigItems& items)
{
    QJsonObject entries;
    for (auto item = items.values.begin(); item != items.values.end(); ++item) {
        entries.insert(QString::number(item.key()), ToJson(item.value()));
    }
    for (auto item = items.sealed.begin(); item != items.sealed.end(); ++item) {
        entries.insert(QString::number(item.key()), SealedToJson(item.value()));
    }
    const QByteArray bytes =
        QJsonDocument(QJsonObject{{VERSION_KEY, FILE_VERSION}, {ITEMS_KEY, entries}}).toJson();
    errno = 0;
    if (!EnsurePrivateFile(path)) {
        return errno;
    }
    QSaveFile file(path);
    // commit() alone does not notice a failed write of its buffer or a failed sync, and replaces
    // the good file. Therefore flush() and fsync() come first.
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush() ||
        ::fsync(file.handle()) != 0 || !file.commit()) {
        return errno == 0 ? EIO : errno; // Qt may fail without a system call
    }
    return SyncFolder(QFileInfo(path).absolutePath()) ? 0 : errno;
}

bool IsSameItem(const QVariant& one, const QVariant& other)
{
    return one.userType() == other.userType() && ToJson(one) == ToJson(other);
}

QString PutConfigFileAside(const QString& path)
{
    if (!BlankSealedItems(path)) {
        return {};
    }
    for (int number = 1; number <= MOST_FILES_PUT_ASIDE; ++number) {
        const QString other = path + QStringLiteral(".invalid-%1").arg(number);
        if (number == MOST_FILES_PUT_ASIDE) {
            QFile::remove(other);
        }
        if (!QFile::exists(other)) {
            const QByteArray target = QFile::encodeName(other);
            return ::rename(QFile::encodeName(path).constData(), target.constData()) == 0 &&
                           ::chmod(target.constData(), 0600) == 0
                       ? other
                       : QString();
        }
    }
    return {};
}

} // namespace hostimpl
