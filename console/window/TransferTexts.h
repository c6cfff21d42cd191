// The texts about a running transfer.
#pragma once

#include "console/session/TFileCount.h"
#include "console/window/StatusTexts.h"
#include "hostimpl/TransferProgress.h"
#include "kesdkimpl/LinkStatus.h"

namespace console {

// Both: `status` has a transfer. Sizes and times are in the operator's language.
TStatusWords TransferWords(const kesdkimpl::LinkStatus& status, const TFileCount& files);
hostimpl::TTransferState TransferProgress(const kesdkimpl::LinkStatus& status,
                                          const TFileCount& files);

} // namespace console
