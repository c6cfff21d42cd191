// The console's folders according to its current settings.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

// A short-lived view of the settings. From any thread. The getters do not access the disk, and the
// folders need not exist.
class CONSOLEHOST_EXPORT TSystemSettingsProxy
{
public:
    TSystemSettingsProxy();
    ~TSystemSettingsProxy();
    TSystemSettingsProxy(const TSystemSettingsProxy&) = delete;
    TSystemSettingsProxy& operator=(const TSystemSettingsProxy&) = delete;

    QString GetKelvoDownloadToConsoleFolderPath() const;
    QString GetKelvoDownloadABLinesFolderPath() const;
    QString GetKelvoDownloadCurvesFolderPath() const;
    QString GetKelvoDownloadPivotsFolderPath() const;
    QString GetKelvoDownloadOptimalLinesFolderPath() const;
    QString GetKelvoDownloadProjectLinesFolderPath() const;

    QString GetKelvoUploadFromConsoleFolderPath() const;
    QString GetKelvoUploadABLinesFolderPath() const;
    QString GetKelvoUploadCurvesFolderPath() const;
    QString GetKelvoUploadPivotsFolderPath() const;
    QString GetKelvoUploadOptimalLinesFolderPath() const;
    QString GetKelvoUploadProjectLinesFolderPath() const;

    // Ends in a separator; its parent exists.
    QString GetKelvoTempDownloadFolderPath() const;
};
