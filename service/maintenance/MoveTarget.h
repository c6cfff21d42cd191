// The database and the bucket into which a service moves.
#pragma once

#include "service/ContentsPlace.h"
#include "service/base/Clock.h"
#include "service/chunks/ChunkedContents.h"
#include "service/objects/Bucket.h"
#include "service/store/Database.h"

#include <functional>
#include <memory>
#include <string>

namespace kelvo::maintenance {

/** All functions block. Errors: of the database and the bucket. */
class MoveTarget
{
public:
    /**
     * Notes the source in an empty database, or continues its move. `source` is the source's
     * serviceIdentity(). Throws StartRefused if the database has another service, tables of another
     * program, or another bucket.
     */
    MoveTarget(const std::string& server, const ContentsPlace& contents, const std::string& source);

    /** Whether an earlier process has moved the service and has opened the database. */
    static bool hasMoved(const std::string& server, const std::string& source);

    store::Database& database() { return *database_; }
    content::Contents& contents() { return *contents_; }
    objects::Bucket& bucket() { return bucket_; }

    /**
     * Changes the rows in one transaction. Throws StartRefused if another process has continued or
     * finished the move meanwhile: the rows are then its rows, or those of instances.
     */
    void write(const std::function<void(store::Transaction&)>& change);

    /** Instances may start from now on. Throws as write(). */
    void open();

private:
    const std::string move_; // in the database while this process is the latest one to move
    const SystemClock clock_;
    const std::unique_ptr<store::Database> database_;
    objects::Bucket bucket_;
    std::unique_ptr<chunks::ChunkedContents> contents_;
};

} // namespace kelvo::maintenance
