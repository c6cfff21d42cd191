// The parts of the service that the API's handlers use.
#pragma once

#include "service/accounts/Accounts.h"
#include "service/api/ActiveUploads.h"
#include "service/api/AnswerFiles.h"
#include "service/api/BaseMap.h"
#include "service/api/TransferMemory.h"
#include "service/base/Clock.h"
#include "service/base/DiskReserve.h"
#include "service/base/WorkPool.h"
#include "service/content/Contents.h"
#include "service/content/DigestLocks.h"
#include "service/content/Integrity.h"
#include "service/events/EventBroker.h"
#include "service/events/EventStream.h"
#include "service/store/Database.h"
#include "service/store/QuotaTable.h"

#include <cstdint>
#include <filesystem>

namespace kelvo::http {
class Router;
}

namespace kelvo::api {

/** The base path of every route. */
inline constexpr const char* basePath = "/kelvo-api/v1";

struct Settings
{
    long long maxUploadBytes = 8LL * 1024 * 1024 * 1024;
    store::Quotas quotas = store::defaultQuotas;
    long long eventsKept = 100000; // for each farm; 0: no limit by number
    events::StreamSettings stream;
    BaseMap baseMap;
};

/** References to the parts of the service. The parts outlive it, and it outlives every request. */
struct Context
{
    store::Database& database;
    content::Contents& contents;
    content::DigestLocks& digestLocks;
    ActiveUploads& activeUploads;
    content::Integrity& integrity;
    events::EventBroker& broker;
    accounts::Accounts& accounts;
    const Clock& clock;
    WorkPool& filePool;    // for files on this machine
    WorkPool& contentPool; // for `contents`
    DiskReserve& reserve;
    AnswerFiles& answerFiles;     // on the disk
    AnswerFiles& answersInMemory; // for a full disk
    TransferMemory& transferMemory;
    std::filesystem::path scratchFolder; // for files without a name
    DiskReserve* scratchReserve;         // of the disk of scratchFolder; null: it has none
    Settings settings;
};

void addSessionRoutes(http::Router& router, Context& context);
void addAccountRoutes(http::Router& router, Context& context);
void addResourceRoutes(http::Router& router, Context& context);
void addContentRoutes(http::Router& router, Context& context);
void addUploadRoutes(http::Router& router, Context& context);
void addBinRoutes(http::Router& router, Context& context);
void addReportRoutes(http::Router& router, Context& context);
void addConsoleRoutes(http::Router& router, Context& context);
void addEventRoutes(http::Router& router, Context& context);
void addFetchRoutes(http::Router& router, Context& context);
void addFarmRoutes(http::Router& router, Context& context);
void addQuotaRoutes(http::Router& router, Context& context);
void addUserRoutes(http::Router& router, Context& context);
void addPersonRoutes(http::Router& router, Context& context);
void addAuditRoutes(http::Router& router, Context& context);
void addAdmitRoute(http::Router& router, Context& context);
void addBaseMapRoutes(http::Router& router, Context& context);

} // namespace kelvo::api
