// A signal of the hub as a value.
#pragma once

#include "core/KelvoRecords.h"

#include <QtCore/QLatin1String>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>
#include <optional>

namespace console {

// All signals of the hub, in the order of their declaration.
enum class EHubSignal : std::uint8_t {
    eLoginRequested,
    eCancelLoginRequested,
    eLogoutRequested,
    eUploadRequested,
    eDownloadRequested,
    eDeleteFilesRequested,
    eLoginInProgress,
    eLoggedIn,
    eLoggedOut,
    eLoginFailed,
    eUploadingFile,
    eUploadComplete,
    eDownloadingFile,
    eDownloadComplete,
    eFileOperationInProgress,
    eFileOperationComplete,
    eNewProjectFilesList,
    eDeletingFile,
    eDeleteComplete,
    eUserInboxSetupInProgress,
    eUserInboxSetupComplete,
};

constexpr int hubSignalCount = 21;

// The arguments of a signal. Members that do not belong to the signal are empty.
struct THubEvent
{
    EHubSignal signal = EHubSignal::eLoginRequested;
    std::optional<int> project;
    std::optional<int> progress; // percent
    std::optional<QString> fileName;
    std::optional<QString> message;
    std::optional<QStringList> fileNames;
    std::optional<KelvoFileInfoList> files;
    std::optional<KelvoFileTransferErrorDetailsList> errors;
};

// The name in the hub's declaration, such as "KelvoLoggedIn".
QLatin1String SignalName(EHubSignal signal);
std::optional<EHubSignal> SignalOfName(const QString& name);

} // namespace console
