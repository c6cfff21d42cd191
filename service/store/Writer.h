// Runs changes in transactions on one connection.
#pragma once

#include "service/store/Change.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kelvo::store {

/** As the functions of Database with these names. */
struct WriteHooks
{
    std::function<void(const std::vector<Event>&)> onCommit;
    std::function<void(const Notice&)> onDoubt;
    std::function<bool()> onFull;
    std::function<bool(const Transaction&)> onChange;
};

/** Thread: one at a time. Ownership: `dialect` and `hooks` outlive it. */
class Writer
{
public:
    Writer(const Dialect& dialect, const WriteHooks& hooks);
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /** Migrates an older schema. Throws SchemaTooNew, SchemaInUse, StoreBusy. */
    void connect();

    /**
     * Runs the changes in one transaction and sets their results. A change whose rows are locked
     * for too long fails with StoreBusy; the others are committed. Does not throw. Connects if it
     * has no connection.
     */
    void run(const Batch& batch);

private:
    void commitBatch(const Batch& batch);
    void runOnce(const Batch& batch);
    void rollBack();
    void failBatch(const Batch& batch);
    void notify(const Batch& batch, bool inDoubt);
    void runInSavepoint(Change& change);
    void runChange(Change& change);
    void begin(const Batch& batch);
    void beginOnce(EDurability durability, const Scopes& scopes);
    void storeAudit(const Batch& batch);

    const Dialect& dialect_;
    const WriteHooks& hooks_;
    std::unique_ptr<soci::session> session_;    // null: lost
    WriteStart start_;                          // of session_'s transaction
    EDurability durability_ = EDurability::Now; // of session_
};

} // namespace kelvo::store
