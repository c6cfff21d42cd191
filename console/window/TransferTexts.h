// The texts about a running operation on files.
#pragma once

#include "console/session/TFileCount.h"
#include "console/window/StatusTexts.h"
#include "hostimpl/TransferProgress.h"
#include "kesdkimpl/LinkStatus.h"

#include <QtCore/QStringList>

#include <optional>

namespace console {

// The state of the connection, for the status bar and the home page. A transfer that waits counts:
// it may be the first to notice that the service does not answer.
TStatusWords ConnectionWords(const kesdkimpl::LinkStatus& status);

// Both: `status` has a transfer. Sizes and times are in the operator's language.
TStatusWords TransferWords(const kesdkimpl::LinkStatus& status, const TFileCount& files);
hostimpl::TTransferState TransferProgress(const kesdkimpl::LinkStatus& status,
                                          const TFileCount& files);

// Both: the operation has no transfer now. `archive`: its name if it is being unpacked.
TStatusWords WorkWords(const kesdkimpl::LinkStatus& status, const QString& archive);
// Empty if there is nothing to tell.
std::optional<hostimpl::TTransferState>
WorkProgress(const kesdkimpl::LinkStatus& status, const QString& archive, const TFileCount& files);

// For the end of an operation: at which file it was cancelled, and `withoutSpace`, the archives
// that did not fit on the disk. Empty if there is nothing to tell.
std::optional<hostimpl::TTransferState> ResultState(const TFileCount& files,
                                                    const QStringList& withoutSpace);

} // namespace console
