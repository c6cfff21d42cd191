#include "console/settings/StoredSettings.h"

#include "console/position/GpsSetting.h"
#include "console/session/ConsoleSettings.h"
#include "host/ConfigManager.h"
#include "hostimpl/Folders.h"
#include "hostimpl/TUserLevels.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>

namespace {

using console::TStoredSettings;

// Keys of the configuration. The numbers must stay: they are on the disks of consoles.
enum EConsoleItem : int {
    eServiceItem = 201,
    eAuthorityFileItem = 202,
    ePositionSourceItem = 203,
    eLanguageItem = 204,
    eNightItem = 205,
    eFullScreenItem = 206,
};

struct TTextRow
{
    EConsoleItem item;
    QString TStoredSettings::*value;
};
constexpr TTextRow textRows[] = {
    {eServiceItem, &TStoredSettings::service},
    {eAuthorityFileItem, &TStoredSettings::authorityFile},
    {ePositionSourceItem, &TStoredSettings::positionSource},
    {eLanguageItem, &TStoredSettings::language},
};

struct TFlagRow
{
    EConsoleItem item;
    bool TStoredSettings::*value;
};
constexpr TFlagRow flagRows[] = {
    {eNightItem, &TStoredSettings::isNight},
    {eFullScreenItem, &TStoredSettings::isFullScreen},
};

const QString folderKey = QStringLiteral("dataFolder");

QString FolderFile()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/kelvo-console.ini");
}

void StoreIfChanged(ConfigManager& config, int item, const QVariant& value)
{
    if (config.GetItem(item) != value) {
        config.SetItem(item, value, true);
    }
}

struct TTexts
{
    Q_DECLARE_TR_FUNCTIONS(StoredSettings)
};

// Whether the folder is writable. For a missing folder, whether the nearest existing folder above
// it is.
bool IsUsableFolder(const QString& path)
{
    if (!QDir::isAbsolutePath(path)) {
        return false;
    }
    QFileInfo info(QDir::cleanPath(path));
    while (!info.exists() && !info.isRoot()) {
        info.setFile(info.absolutePath());
    }
    return info.isDir() && info.isWritable();
}

} // namespace

namespace console {

TStoredSettings ReadStoredSettings(ConfigManager& config)
{
    TStoredSettings settings;
    for (const TTextRow& row : textRows) {
        settings.*row.value = config.GetItem(row.item).toString();
    }
    for (const TFlagRow& row : flagRows) {
        settings.*row.value = config.GetItem(row.item).toBool();
    }
    settings.dataFolder = StoredDataFolder(hostimpl::DataFolder());
    settings.isDataExchangeAllowed =
        hostimpl::TUserLevels(config).IsControlAccessible(TAppUserLevels::eKelvoControl);
    return settings;
}

bool WriteStoredSettings(ConfigManager& config, const TStoredSettings& settings)
{
    for (const TTextRow& row : textRows) {
        StoreIfChanged(config, row.item, settings.*row.value);
    }
    for (const TFlagRow& row : flagRows) {
        StoreIfChanged(config, row.item, settings.*row.value);
    }
    hostimpl::TUserLevels levels(config);
    if (levels.IsControlAccessible(TAppUserLevels::eKelvoControl) !=
        settings.isDataExchangeAllowed) {
        levels.SetControlAccessible(TAppUserLevels::eKelvoControl, settings.isDataExchangeAllowed);
    }
    // The file changes only if the folder changes.
    if (settings.dataFolder == StoredDataFolder(hostimpl::DataFolder())) {
        return true;
    }
    QSettings file(FolderFile(), QSettings::IniFormat);
    file.setValue(folderKey, settings.dataFolder);
    file.sync();
    return file.status() == QSettings::NoError;
}

QString StoredDataFolder(const QString& otherwise)
{
    const QString folder =
        QSettings(FolderFile(), QSettings::IniFormat).value(folderKey).toString();
    return folder.isEmpty() ? otherwise : folder;
}

bool CheckStoredSettings(const TStoredSettings& settings, QString& errorText)
{
    if (!settings.service.isEmpty() && !IsServiceAddress(settings.service)) {
        errorText = TTexts::tr("The service wants HOST or HOST:PORT.");
        return false;
    }
    const QFileInfo authority(settings.authorityFile);
    if (!settings.authorityFile.isEmpty() && (!authority.isFile() || !authority.isReadable())) {
        errorText =
            TTexts::tr("The service's certificate %1 cannot be read.").arg(authority.filePath());
        return false;
    }
    TGpsSetting gps;
    if (!settings.positionSource.isEmpty() &&
        !ParseGpsSetting(settings.positionSource, gps, errorText)) {
        errorText.remove(QStringLiteral("--gps: "));
        errorText.prepend(TTexts::tr("Position source: "));
        return false;
    }
    if (!IsUsableFolder(settings.dataFolder)) {
        errorText = TTexts::tr("The data folder %1 cannot be written to.").arg(settings.dataFolder);
        return false;
    }
    return true;
}

} // namespace console
