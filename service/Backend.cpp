#include "service/Backend.h"

#include "service/FirstStart.h"
#include "service/OpenDatabase.h"

#include <chrono>
#include <string>

namespace kelvo {

namespace {

/** Throws StartRefused. */
api::BaseMap openMap(const api::BaseMapOptions& options)
{
    try {
        return api::openBaseMap(options);
    } catch (const std::exception& error) {
        throw StartRefused(std::string("cannot serve the base map: ") + error.what());
    }
}

} // namespace

Backend::Backend(const ServeOptions& options, const DataFolder& dataFolder)
    : folder(dataFolder),
      reserve(folder.path() / "reserve", options.database.isOnServer() ? 0 : options.reserveBytes),
      database(openDatabase(folder, options.database)),
      home(openContents(options.contents, {*database, clock, folder.path(), reserve, filePool})),
      accounts(*database, clock,
               {options.passwordCost, options.loginAttempts,
                std::chrono::hours(options.sessionHours), options.quotas}),
      answerFiles(options.answerBytes),
      transferMemory(options.transferBytes)
{
    database->onCommit([this](const std::vector<store::Event>& events) { broker.publish(events); });
    database->onDoubt([this](const store::Notice& notice) { broker.notice(notice); });
    database->onFull([this] { return reserve.release(); });
    if (!options.database.isOnServer()) { // a server's disk has no reserve
        database->onChange(
            [this](const store::Transaction& change) { return reserveShares.admit(change); });
    }
    if (const std::string wrong = wrongClock(*database, machineClock); !wrong.empty()) {
        throw StartRefused("the clock " + wrong);
    }
    checkClock(clock, *database, folder.path());
    makeFirstAdmin(*database, accounts.passwords(), clock, folder.path());
    context.settings.maxUploadBytes = options.maxUploadBytes;
    context.settings.quotas = options.quotas;
    context.settings.eventsKept = options.eventsKept;
    context.settings.baseMap = openMap(options.baseMap);
}

Janitor::Parts Backend::janitorParts()
{
    return {*database,
            home->contents(),
            home->folder(),
            [this] { home->removeUnused(); },
            digestLocks,
            clock,
            [this](const std::string& id) { return activeUploads.isHeld(id); },
            [this] {
                return checkClock(clock, *database, folder.path()) &&
                       wrongClock(*database, machineClock).empty();
            },
            heldBack,
            reserve};
}

void Backend::finish(Janitor& janitor)
{
    accounts.finish();
    home->finish();
    janitor.finish(); // from now on its requests to an object store fail at once
    database->finish();
}

} // namespace kelvo
