// The store of bytes that the options choose, with the parts that belong to it.
#pragma once

#include "service/ContentsPlace.h"
#include "service/base/Clock.h"
#include "service/base/DiskReserve.h"
#include "service/base/WorkPool.h"
#include "service/content/ContentStore.h"
#include "service/content/Contents.h"
#include "service/metrics/Metrics.h"
#include "service/store/Database.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace kelvo {

/** Thread: any. All functions that may block say so. */
class ContentsHome
{
public:
    virtual ~ContentsHome() = default;
    ContentsHome() = default;
    ContentsHome(const ContentsHome&) = delete;
    ContentsHome& operator=(const ContentsHome&) = delete;

    virtual content::Contents& contents() = 0;

    /** The pool for the calls of contents(). */
    virtual WorkPool& pool() = 0;

    /** The folder's own functions, for the clean-up. Null: the contents are in an object store. */
    virtual content::ContentStore* folder() = 0;

    /** An existing folder on this machine for files without a name. */
    virtual std::filesystem::path scratchFolder() const = 0;

    /** The reserve of the disk of scratchFolder(); null: the disk has none. */
    virtual DiskReserve* scratchReserve() = 0;

    /** Removes the objects that nothing uses. Blocks. Call it only while the clock is trusted. */
    virtual void removeUnused() = 0;

    /** Writes, reads and removes a few bytes. Blocks. Throws if this fails. */
    virtual void probe() = 0;

    virtual void showIn(metrics::Metrics& metrics) const = 0;

    /** Call it when the service begins to stop: failed requests are not repeated any more. */
    virtual void beginStop() = 0;

    /** Waits for the jobs of pool() and of the file pool. Drops later jobs. Blocks. */
    virtual void finish() = 0;
};

/** The parts of the service that a home uses. They outlive it. */
struct HomeParts
{
    store::Database& database;
    const Clock& clock;
    std::filesystem::path dataFolder;
    DiskReserve& reserve;
    WorkPool& filePool;
};

/**
 * Opens the place. Blocks. Throws StartRefused if the place is not usable, or if the database's
 * files are in another place. A store that does not answer now is no error.
 */
std::unique_ptr<ContentsHome> openContents(const ContentsPlace& place, const HomeParts& parts);

/** Throws StartRefused while a service is moving into the database. */
void refuseUnfinishedMove(soci::session& sql);

} // namespace kelvo
