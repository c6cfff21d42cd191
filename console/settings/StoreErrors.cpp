#include "console/settings/StoreErrors.h"

#include <QtCore/QCoreApplication>

#include <cerrno>

namespace {

struct TErrorRow
{
    int error;
    const char* text;
};
constexpr TErrorRow errorRows[] = {
    {ENOSPC, QT_TRANSLATE_NOOP("StoredSettings", "there is no space left")},
    {EDQUOT, QT_TRANSLATE_NOOP("StoredSettings", "there is no space left")},
    {EROFS, QT_TRANSLATE_NOOP("StoredSettings", "the storage is read-only")},
    {EIO, QT_TRANSLATE_NOOP("StoredSettings", "the storage has a fault")},
    {EACCES, QT_TRANSLATE_NOOP("StoredSettings", "the console may not write them")},
    {EPERM, QT_TRANSLATE_NOOP("StoredSettings", "the console may not write them")},
    {ENOENT, QT_TRANSLATE_NOOP("StoredSettings", "their folder is missing")},
    {ENOKEY, QT_TRANSLATE_NOOP("StoredSettings", "the password cannot be encrypted")},
};

// The C library has a text for each error, but on most consoles in English only.
QString ReasonOf(int error)
{
    for (const TErrorRow& row : errorRows) {
        if (row.error == error) {
            return QCoreApplication::translate("StoredSettings", row.text);
        }
    }
    return QCoreApplication::translate("StoredSettings", "error %1").arg(error);
}

} // namespace

namespace console {

QString SettingsFault(int error)
{
    return error == 0 ? QString()
                      : QCoreApplication::translate("StoredSettings",
                                                    "The settings could not be stored: %1. "
                                                    "They are lost when the console ends.")
                            .arg(ReasonOf(error));
}

QString LoginFault(int error)
{
    return error == 0 ? QString()
                      : QCoreApplication::translate("StoredSettings",
                                                    "Changes of the user name, the password or the "
                                                    "settings could not be stored: %1. They are "
                                                    "lost when the console ends.")
                            .arg(ReasonOf(error));
}

} // namespace console
