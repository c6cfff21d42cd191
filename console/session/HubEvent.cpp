#include "console/session/HubEvent.h"

#include <array>
#include <cstddef>

namespace {

// In the order of EHubSignal.
const std::array<QLatin1String, console::hubSignalCount> signalNames = {{
    QLatin1String("KelvoLoginRequested"),
    QLatin1String("KelvoCancelLoginRequested"),
    QLatin1String("KelvoLogoutRequested"),
    QLatin1String("KelvoUploadRequested"),
    QLatin1String("KelvoDownloadRequested"),
    QLatin1String("KelvoDeleteFilesRequested"),
    QLatin1String("KelvoLoginInProgress"),
    QLatin1String("KelvoLoggedIn"),
    QLatin1String("KelvoLoggedOut"),
    QLatin1String("KelvoLoginFailed"),
    QLatin1String("KelvoUploadingFile"),
    QLatin1String("KelvoUploadComplete"),
    QLatin1String("KelvoDownloadingFile"),
    QLatin1String("KelvoDownloadComplete"),
    QLatin1String("KelvoFileOperationInProgress"),
    QLatin1String("KelvoFileOperationComplete"),
    QLatin1String("NewKelvoProjectFilesList"),
    QLatin1String("KelvoDeletingFile"),
    QLatin1String("KelvoDeleteComplete"),
    QLatin1String("KelvoUserInboxSetupInProgress"),
    QLatin1String("KelvoUserInboxSetupComplete"),
}};

} // namespace

namespace console {

QLatin1String SignalName(EHubSignal signal)
{
    return signalNames[static_cast<std::size_t>(signal)];
}

std::optional<EHubSignal> SignalOfName(const QString& name)
{
    for (std::size_t i = 0; i < signalNames.size(); ++i) {
        if (name == signalNames[i]) {
            return static_cast<EHubSignal>(i);
        }
    }
    return std::nullopt;
}

} // namespace console
