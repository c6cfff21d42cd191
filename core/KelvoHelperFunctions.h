// Which local folder belongs to which kind of data.
#pragma once

#include "core/KelvoRecords.h"

#include <QtCore/QString>

// From any thread. The paths are the host's, unchanged; nothing is created or looked at on disk. A
// value outside EKelvoProjects gets the generic folders, as maps and job reports do.
namespace KelvoHelperFunctions {

QString GetLocalKelvoDownloadFolderPathForProject(EKelvoProjects project);
QString GetLocalKelvoUploadFolderPathForProject(EKelvoProjects project);

} // namespace KelvoHelperFunctions
