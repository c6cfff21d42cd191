#include "hostimpl/HostSetup.h"

#include "framework/BoundedWork.h"
#include "framework/DealerLog.h"
#include "framework/HostLog.h"
#include "hostimpl/Folders.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TUserLogFile.h"
#include "hostimpl/Unpacking.h"

#include <QtCore/QDir>

namespace {

constexpr std::chrono::seconds RECOVERY_WAIT(2); // usually the recovery has nothing to do

void Recover(const QStringList& folders)
{
    const QStringList problems = hostimpl::RecoverUnpacking(folders);
    for (const QString& text : problems) {
        qCWarning(lcHost, "%s", qUtf8Printable(text));
        hostimpl::ReportToDealer(hostimpl::TConfigStore::Process(), text);
    }
}

} // namespace

bool hostimpl::SetUpHost(const QString& dataFolder, QString& errorText)
{
    if (!SetDataFolder(dataFolder)) {
        errorText = QStringLiteral("The folder %1 cannot be created.").arg(DataFolder());
        return false;
    }
    const QString logFolder = DataFolder() + QStringLiteral("/logs");
    if (!CreateFolders(errorText)) {
        return false;
    }
    if (!QDir().mkpath(logFolder)) {
        errorText = QStringLiteral("The folder %1 cannot be created.").arg(logFolder);
        return false;
    }
    TConfigStore& config = TConfigStore::Process();
    config.SetUserLogAccessor(
        std::make_shared<TUserLogFile>(logFolder + QStringLiteral("/user.log")));
    const QString problem = config.Open(DataFolder() + QStringLiteral("/console.json"));
    if (!problem.isEmpty()) {
        ReportToDealer(config, problem);
    }
    if (!RunBounded([folders = DownloadFolders()] { Recover(folders); }, RECOVERY_WAIT)) {
        ReportToDealer(config, QStringLiteral("The rest of an unpacking is not yet removed."));
    }
    return true;
}
