#include "service/store/Writer.h"

#include "service/store/AuditTable.h"
#include "service/store/Bind.h"
#include "service/store/Errors.h"
#include "service/store/Schema.h"

#include <soci/soci.h>

#include <algorithm>

namespace kelvo::store {

namespace {

/** A change that the disk has room for, but that may not use more of the reserve. */
class ReserveRefused : public std::exception
{};

void clear(Change& change)
{
    change.events.clear();
    change.audit.clear();
    change.notice = {};
}

Notice noticeOf(const Batch& batch)
{
    Notice notice;
    for (const Change* change : batch) {
        notice.add(change->notice);
        for (const Event& event : change->events) {
            notice.farms.insert(event.farm);
        }
    }
    return notice;
}

} // namespace

Writer::Writer(const Dialect& dialect, const WriteHooks& hooks) : dialect_(dialect), hooks_(hooks)
{}

Writer::~Writer() = default;

void Writer::connect()
{
    auto session = dialect_.connect();
    migrate(*session, dialect_);
    session_ = std::move(session);
    durability_ = EDurability::Now;
}

void Writer::run(const Batch& batch)
{
    bool committed = false;
    bool inDoubt = false;
    try {
        commitBatch(batch);
        committed = true;
    } catch (const CommitInDoubt&) {
        inDoubt = true;
        failBatch(batch);
    } catch (...) {
        failBatch(batch);
    }
    if (committed || inDoubt) {
        notify(batch, inDoubt);
    }
}

/** If the disk is full, makes room and runs the changes again. */
void Writer::commitBatch(const Batch& batch)
{
    for (;;) {
        try {
            runOnce(batch);
            return;
        } catch (const StorageFull&) {
            if (!hooks_.onFull || !hooks_.onFull()) {
                throw;
            }
        }
        rollBack();
        for (Change* change : batch) {
            clear(*change);
            change->error = nullptr;
        }
    }
}

void Writer::runOnce(const Batch& batch)
{
    begin(batch);
    for (Change* change : batch) {
        if (start_.scopes.contains(change->scope)) {
            runInSavepoint(*change);
        } else {
            change->error = std::make_exception_ptr(StoreBusy("other changes lock the rows"));
        }
    }
    try {
        storeAudit(batch);
        dialect_.commit(*session_, start_.transaction, noticeOf(batch).text());
    } catch (const std::exception& error) {
        dialect_.rethrow(error);
    }
}

void Writer::rollBack()
{
    if (!session_) {
        return;
    }
    try {
        *session_ << "ROLLBACK";
    } catch (const std::exception&) {
        // The database may have rolled back already, or may have committed.
    }
}

/** Called in a catch block: every change of the batch fails with the present exception. */
void Writer::failBatch(const Batch& batch)
{
    std::exception_ptr failure = std::current_exception();
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& error) {
        try {
            dialect_.rethrow(error);
        } catch (...) {
            failure = std::current_exception();
        }
    } catch (...) {
    }
    rollBack();
    for (Change* change : batch) {
        change->error = change->error ? change->error : failure;
    }
}

void Writer::notify(const Batch& batch, bool inDoubt)
{
    std::vector<Event> events;
    for (const Change* change : batch) {
        events.insert(events.end(), change->events.begin(), change->events.end());
        for (const AuditEntry& entry : change->audit) {
            logEntry(entry);
        }
    }
    if (!inDoubt && !events.empty() && hooks_.onCommit) {
        hooks_.onCommit(events);
    }
    if (inDoubt && hooks_.onDoubt) {
        hooks_.onDoubt(noticeOf(batch));
    }
}

void Writer::runChange(Change& change)
{
    Transaction transaction{*session_, {}, {}, {}};
    takeNotedText();
    change.run(transaction);
    requireStorableTexts();
    if (hooks_.onChange && !hooks_.onChange(transaction)) {
        throw ReserveRefused();
    }
    change.events = std::move(transaction.events);
    change.audit = std::move(transaction.audit);
    change.notice = std::move(transaction.notice);
}

void Writer::runInSavepoint(Change& change)
{
    *session_ << "SAVEPOINT change";
    try {
        runChange(change);
        *session_ << "RELEASE SAVEPOINT change";
        return;
    } catch (const std::exception& error) {
        try {
            dialect_.rethrow(error);
        } catch (const ReserveRefused&) {
            change.error = std::make_exception_ptr(StorageFull());
        } catch (const StorageFull&) {
            throw; // the database may have rolled back the whole transaction
        } catch (...) {
            change.error = std::current_exception();
        }
    }
    clear(change);
    *session_ << "ROLLBACK TO SAVEPOINT change";
    *session_ << "RELEASE SAVEPOINT change";
}

void Writer::begin(const Batch& batch)
{
    Scopes scopes;
    EDurability durability = EDurability::Later;
    for (const Change* change : batch) {
        scopes.insert(change->scope);
        durability = std::min(durability, change->durability);
    }
    try {
        if (session_ && !dialect_.isUsable(*session_)) {
            session_.reset();
        }
        beginOnce(durability, scopes);
    } catch (const std::exception& error) {
        dialect_.rethrow(error);
    }
}

/** A server may have closed the connection since the last commit: then connects again. */
void Writer::beginOnce(EDurability durability, const Scopes& scopes)
{
    const bool wasConnected = session_ != nullptr;
    if (!wasConnected) {
        connect();
    }
    try {
        const char* const setting = dialect_.setDurability(durability);
        if (setting != nullptr && durability != durability_) {
            *session_ << setting;
            durability_ = durability;
        }
        start_ = dialect_.beginWrite(*session_, scopes);
    } catch (const std::exception&) {
        if (dialect_.isUsable(*session_)) {
            throw;
        }
        session_.reset();
        if (!wasConnected) {
            throw;
        }
    }
    if (!session_) {
        beginOnce(durability, scopes);
    }
}

/** Here the counter of the audit trail, which all farms share, is locked for the commit only. */
void Writer::storeAudit(const Batch& batch)
{
    std::vector<AuditEntry> entries;
    for (const Change* change : batch) {
        entries.insert(entries.end(), change->audit.begin(), change->audit.end());
    }
    if (!entries.empty()) {
        storeEntries(*session_, std::move(entries));
    }
}

} // namespace kelvo::store
