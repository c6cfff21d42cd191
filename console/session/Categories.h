// The kinds of files, with their local folders.
#pragma once

#include "core/KelvoRecords.h"
#include "host/TSystemSettingsProxy.h"

#include <array>

namespace console {

using TFolderGetter = QString (TSystemSettingsProxy::*)() const;

struct TCategory
{
    const char* name;       // in English; the plug-in's catalogue has it in the operator's language
    TFolderGetter download; // null: the kind is not downloaded, and the service does not list it
    TFolderGetter upload;   // null: the kind is not uploaded
};

// In the order of EKelvoProjects.
constexpr std::array<TCategory, KELVO_PROJECT_COUNT> categories = {{
    {"Prescription Maps", &TSystemSettingsProxy::GetKelvoDownloadToConsoleFolderPath, nullptr},
    {"Job Reports", nullptr, &TSystemSettingsProxy::GetKelvoUploadFromConsoleFolderPath},
    {"AB Lines", &TSystemSettingsProxy::GetKelvoDownloadABLinesFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadABLinesFolderPath},
    {"Curves", &TSystemSettingsProxy::GetKelvoDownloadCurvesFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadCurvesFolderPath},
    {"Pivots", &TSystemSettingsProxy::GetKelvoDownloadPivotsFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadPivotsFolderPath},
    {"Optimal Lines", &TSystemSettingsProxy::GetKelvoDownloadOptimalLinesFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadOptimalLinesFolderPath},
    {"Project Lines", &TSystemSettingsProxy::GetKelvoDownloadProjectLinesFolderPath,
     &TSystemSettingsProxy::GetKelvoUploadProjectLinesFolderPath},
}};

} // namespace console
