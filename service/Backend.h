// The parts of the service that requests use.
#pragma once

#include "service/ContentsHome.h"
#include "service/DataFolder.h"
#include "service/Janitor.h"
#include "service/ServeOptions.h"
#include "service/ServiceClock.h"
#include "service/accounts/Accounts.h"
#include "service/api/ActiveUploads.h"
#include "service/api/AnswerFiles.h"
#include "service/api/Context.h"
#include "service/api/TransferMemory.h"
#include "service/base/DiskReserve.h"
#include "service/base/WorkPool.h"
#include "service/content/DigestLocks.h"
#include "service/content/Integrity.h"
#include "service/events/EventBroker.h"
#include "service/store/Database.h"
#include "service/store/ReserveShares.h"

#include <memory>

namespace kelvo {

/** Each part uses only the parts above it. */
struct Backend
{
    /** Opens the database and the contents. Throws StartRefused. `dataFolder` outlives it. */
    Backend(const ServeOptions& options, const DataFolder& dataFolder);

    Janitor::Parts janitorParts();

    /**
     * Waits for the jobs that run or are queued. They use their requests, whose threads must have
     * ended but must still exist. Blocks as long as the disk and the object store.
     */
    void finish(Janitor& janitor);

    static constexpr unsigned fileThreads = 4;

    const DataFolder& folder;
    const SystemClock machineClock;
    ServiceClock clock{machineClock};
    HeldBack heldBack;
    DiskReserve reserve;
    store::ReserveShares reserveShares{reserve};
    const std::unique_ptr<store::Database> database;
    WorkPool filePool{fileThreads};
    const std::unique_ptr<ContentsHome> home;
    content::DigestLocks digestLocks;
    api::ActiveUploads activeUploads;
    content::Integrity integrity;
    events::EventBroker broker;
    accounts::Accounts accounts;
    api::AnswerFiles answerFiles;
    api::AnswerFiles answersInMemory{api::AnswerFiles::memoryBytes};
    api::TransferMemory transferMemory;
    api::Context context{*database,
                         home->contents(),
                         digestLocks,
                         activeUploads,
                         integrity,
                         broker,
                         accounts,
                         clock,
                         filePool,
                         home->pool(),
                         reserve,
                         answerFiles,
                         answersInMemory,
                         transferMemory,
                         home->scratchFolder(),
                         home->scratchReserve(),
                         {}};
};

} // namespace kelvo
