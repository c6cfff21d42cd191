#include "console/session/SessionSetup.h"

#include "console/session/ConsoleSettings.h"
#include "console/session/Credentials.h"
#include "console/session/ExitStatus.h"
#include "hostimpl/HostSetup.h"
#include "hostimpl/Unpacking.h"
#include "kesdkimpl/Unpacking.h"

#include <QtCore/QFile>

namespace {

void PassToSdk(const hostimpl::TUnpackingResult& result)
{
    const QByteArray reason = result.errorText.toUtf8();
    kesdkimpl::NoteUnpacking(QFile::encodeName(result.archive).constData(),
                             result.isUnpacked ? nullptr : reason.constData());
}

} // namespace

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
    hostimpl::ObserveUnpacking(&PassToSdk);
    return eExitSuccess;
}

} // namespace console
