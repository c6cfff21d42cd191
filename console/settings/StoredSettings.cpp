#include "console/settings/StoredSettings.h"

#include "console/position/GpsSetting.h"
#include "console/session/ConsoleSettings.h"
#include "console/settings/StoreErrors.h"
#include "host/ConfigManager.h"
#include "hostimpl/Folders.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TUserLevels.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSaveFile>
#include <QtCore/QSettings>
#include <QtCore/QStandardPaths>

#include <tuple>

#include <unistd.h>

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
    ePinItem = 207,
    eTextLargeItem = 208,
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
    {ePinItem, &TStoredSettings::pin},
};

struct TFlagRow
{
    EConsoleItem item;
    bool TStoredSettings::*value;
};
constexpr TFlagRow flagRows[] = {
    {eNightItem, &TStoredSettings::isNight},
    {eFullScreenItem, &TStoredSettings::isFullScreen},
    {eTextLargeItem, &TStoredSettings::isTextLarge},
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

// QSettings would keep a value that it cannot write, and read the value later as stored.
bool WriteFolderFile(QString folder)
{
    folder.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    folder.replace(QLatin1Char('"'), QLatin1String("\\\""));
    const QByteArray text =
        QStringLiteral("[General]\n%1=\"%2\"\n").arg(folderKey, folder).toUtf8();
    QDir().mkpath(QFileInfo(FolderFile()).path());
    QSaveFile file(FolderFile());
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush() &&
           ::fsync(file.handle()) == 0 && file.commit() &&
           hostimpl::SyncFolder(QFileInfo(FolderFile()).path());
}

// The file changes only if the folder changes.
QString StoreDataFolder(const QString& folder)
{
    return folder == console::StoredDataFolder(hostimpl::DataFolder()) || WriteFolderFile(folder)
               ? QString()
               : TTexts::tr("The data folder could not be stored: %1 cannot be written.")
                     .arg(FolderFile());
}

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

QString ServiceFault(const QString& address)
{
    return address.isEmpty() || console::IsServiceAddress(address)
               ? QString()
               : TTexts::tr("The service wants HOST or HOST:PORT.");
}

QString AuthorityFault(const QString& path)
{
    const QFileInfo file(path);
    return path.isEmpty() || (file.isFile() && file.isReadable())
               ? QString()
               : TTexts::tr("The service's certificate %1 cannot be read.").arg(file.filePath());
}

QString PositionFault(const QString& source)
{
    console::TGpsSetting gps;
    QString errorText;
    if (source.isEmpty() || console::ParseGpsSetting(source, gps, errorText)) {
        return {};
    }
    return TTexts::tr("Position source: ") + errorText.remove(QStringLiteral("--gps: "));
}

QString FolderFault(const QString& path)
{
    return IsUsableFolder(path) ? QString()
                                : TTexts::tr("The data folder %1 cannot be written to.").arg(path);
}

QString PinFault(const QString& pin)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]{4,8})?$"));
    return form.match(pin).hasMatch() ? QString() : TTexts::tr("The PIN wants 4 to 8 digits.");
}

struct TRuleRow
{
    QString TStoredSettings::*value;
    QString (*fault)(const QString& text);
};
constexpr TRuleRow ruleRows[] = {
    {&TStoredSettings::service, ServiceFault},
    {&TStoredSettings::authorityFile, AuthorityFault},
    {&TStoredSettings::positionSource, PositionFault},
    {&TStoredSettings::dataFolder, FolderFault},
    {&TStoredSettings::pin, PinFault},
};

} // namespace

namespace console {

bool TStoredSettings::operator==(const TStoredSettings& other) const
{
    const auto values = [](const TStoredSettings& all) {
        return std::tie(all.service, all.authorityFile, all.dataFolder, all.language,
                        all.positionSource, all.pin, all.isDataExchangeAllowed, all.isNight,
                        all.isFullScreen, all.isTextLarge);
    };
    return values(*this) == values(other);
}

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

QString TStoreFaults::Text() const
{
    return settings.isEmpty() ? dataFolder : settings;
}

TStoreFaults WriteStoredSettings(hostimpl::TConfigStore& config, const TStoredSettings& settings)
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
    return {SettingsFault(config.Flush()), StoreDataFolder(settings.dataFolder)};
}

QString StoredDataFolder(const QString& otherwise)
{
    QSettings file(FolderFile(), QSettings::IniFormat);
    file.setIniCodec("UTF-8");
    const QString folder = file.value(folderKey).toString();
    return folder.isEmpty() ? otherwise : folder;
}

QString FaultOf(const TStoredSettings& settings, QString TStoredSettings::*setting)
{
    for (const TRuleRow& row : ruleRows) {
        if (row.value == setting) {
            return row.fault(settings.*setting);
        }
    }
    return {};
}

bool CheckStoredSettings(const TStoredSettings& settings, QString& errorText)
{
    for (const TRuleRow& row : ruleRows) {
        errorText = row.fault(settings.*row.value);
        if (!errorText.isEmpty()) {
            return false;
        }
    }
    return true;
}

} // namespace console
