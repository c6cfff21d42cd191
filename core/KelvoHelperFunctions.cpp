#include "core/KelvoHelperFunctions.h"

#include "host/TSystemSettingsProxy.h"

namespace {

using TFolderGetter = QString (TSystemSettingsProxy::*)() const;

struct TFolderGetters
{
    EKelvoProjects project;
    TFolderGetter download;
    TFolderGetter upload;
};

constexpr TFolderGetters OWN_FOLDERS[] = {
    {eABLines, &TSystemSettingsProxy::GetKelvoDownloadABLinesFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadABLinesFolderPath},
    {eCurves, &TSystemSettingsProxy::GetKelvoDownloadCurvesFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadCurvesFolderPath},
    {ePivots, &TSystemSettingsProxy::GetKelvoDownloadPivotsFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadPivotsFolderPath},
    {eOptimalLines, &TSystemSettingsProxy::GetKelvoDownloadOptimalLinesFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadOptimalLinesFolderPath},
    {eProjectLines, &TSystemSettingsProxy::GetKelvoDownloadProjectLinesFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadProjectLinesFolderPath},
};

// Prescription maps and job reports share the generic exchange folders.
constexpr TFolderGetters GENERIC_FOLDERS = {
    ePrescriptionMaps, &TSystemSettingsProxy::GetKelvoDownloadToConsoleFolderPath,
    &TSystemSettingsProxy::GetKelvoUploadFromConsoleFolderPath};

const TFolderGetters& GettersFor(EKelvoProjects project)
{
    for (const TFolderGetters& getters : OWN_FOLDERS) {
        if (getters.project == project) {
            return getters;
        }
    }
    return GENERIC_FOLDERS;
}

} // namespace

QString KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(EKelvoProjects project)
{
    const TSystemSettingsProxy settings;
    return (settings.*GettersFor(project).download)();
}

QString KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(EKelvoProjects project)
{
    const TSystemSettingsProxy settings;
    return (settings.*GettersFor(project).upload)();
}
