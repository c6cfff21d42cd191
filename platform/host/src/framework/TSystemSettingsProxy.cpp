// Each getter reads the current data folder.
#include "host/TSystemSettingsProxy.h"

#include "framework/FolderTable.h"
#include "hostimpl/Folders.h"

using hostimpl::EFolder;

namespace {

QString Path(EFolder folder)
{
    const auto row = static_cast<std::size_t>(folder);
    return hostimpl::DataFolder() + QLatin1Char('/') +
           QLatin1String(hostimpl::FOLDER_TABLE[row].path);
}

} // namespace

TSystemSettingsProxy::TSystemSettingsProxy() = default;

// Not defaulted, because the contract has the destructor as an exported function.
TSystemSettingsProxy::~TSystemSettingsProxy() {}

QString TSystemSettingsProxy::GetKelvoDownloadToConsoleFolderPath() const
{
    return Path(EFolder::eDownloadToConsole);
}

QString TSystemSettingsProxy::GetKelvoDownloadABLinesFolderPath() const
{
    return Path(EFolder::eDownloadABLines);
}

QString TSystemSettingsProxy::GetKelvoDownloadCurvesFolderPath() const
{
    return Path(EFolder::eDownloadCurves);
}

QString TSystemSettingsProxy::GetKelvoDownloadPivotsFolderPath() const
{
    return Path(EFolder::eDownloadPivots);
}

QString TSystemSettingsProxy::GetKelvoDownloadOptimalLinesFolderPath() const
{
    return Path(EFolder::eDownloadOptimalLines);
}

QString TSystemSettingsProxy::GetKelvoDownloadProjectLinesFolderPath() const
{
    return Path(EFolder::eDownloadProjectLines);
}

QString TSystemSettingsProxy::GetKelvoUploadFromConsoleFolderPath() const
{
    return Path(EFolder::eUploadFromConsole);
}

QString TSystemSettingsProxy::GetKelvoUploadABLinesFolderPath() const
{
    return Path(EFolder::eUploadABLines);
}

QString TSystemSettingsProxy::GetKelvoUploadCurvesFolderPath() const
{
    return Path(EFolder::eUploadCurves);
}

QString TSystemSettingsProxy::GetKelvoUploadPivotsFolderPath() const
{
    return Path(EFolder::eUploadPivots);
}

QString TSystemSettingsProxy::GetKelvoUploadOptimalLinesFolderPath() const
{
    return Path(EFolder::eUploadOptimalLines);
}

QString TSystemSettingsProxy::GetKelvoUploadProjectLinesFolderPath() const
{
    return Path(EFolder::eUploadProjectLines);
}

QString TSystemSettingsProxy::GetKelvoTempDownloadFolderPath() const
{
    return Path(EFolder::eTempDownload);
}
