// The local folders of each kind of data.
#pragma once

#include "core/KelvoRecords.h"

#include <QtCore/QString>

// Thread safety: safe. The functions return the host's paths unchanged. They create no folder and
// do not read the disk. Prescription maps, job reports and values outside EKelvoProjects get the
// generic exchange folders.
namespace KelvoHelperFunctions {

QString GetLocalKelvoDownloadFolderPathForProject(EKelvoProjects project);
QString GetLocalKelvoUploadFolderPathForProject(EKelvoProjects project);

} // namespace KelvoHelperFunctions
