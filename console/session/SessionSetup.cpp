#include "console/session/SessionSetup.h"

#include "console/session/ConsoleSettings.h"
#include "console/session/Credentials.h"
#include "console/session/ExitStatus.h"
#include "hostimpl/HostSetup.h"

namespace console {

int SetUpSession(const TConsoleSettings& settings)
{
    QString errorText;
    if (!hostimpl::SetUpHost(settings.dataFolder, errorText)) {
        return PrintError(errorText, eExitFailed);
    }
    if (!SetUpCredentials(settings.credentialsFile, errorText)) {
        return PrintError(errorText, eExitUsage);
    }
    return eExitSuccess;
}

} // namespace console
