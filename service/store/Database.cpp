#include "service/store/Database.h"

#include "service/base/Log.h"
#include "service/store/AuditTable.h"
#include "service/store/Errors.h"
#include "service/store/Schema.h"

#include <soci/soci.h>

#include <algorithm>
#include <future>

namespace kelvo::store {

namespace {

/** The largest number of changes in one commit. It limits the wait of the first change. */
constexpr std::size_t largestBatch = 128;

/** A change that the disk has room for, but that may not use more of the reserve. */
class ReserveRefused : public std::exception
{};

} // namespace

Database::Database(std::unique_ptr<Dialect> dialect, unsigned readers)
    : dialect_(std::move(dialect)), readers_(readers)
{
    try {
        writer_ = dialect_->connect();
        migrate(*writer_, *dialect_);
    } catch (const std::exception& error) {
        rethrow(error);
    }
    writerThread_ = std::thread([this] { writeLoop(); });
}

Database::~Database()
{
    {
        const std::lock_guard lock(queueMutex_);
        stopping_ = true;
    }
    queueChanged_.notify_all();
    writerThread_.join();
    readers_.stop();
}

Database::Reader::Reader(Database& database) : database_(database)
{
    {
        const std::lock_guard lock(database_.sessionsMutex_);
        if (!database_.idleSessions_.empty()) {
            session_ = std::move(database_.idleSessions_.back());
            database_.idleSessions_.pop_back();
        }
    }
    if (!session_) {
        session_ = database_.dialect_->connect();
    }
    *session_ << database_.dialect_->beginRead();
}

Database::Reader::~Reader()
{
    try {
        *session_ << "COMMIT";
        const std::lock_guard lock(database_.sessionsMutex_);
        database_.idleSessions_.push_back(std::move(session_));
    } catch (const std::exception& error) {
        // The connection is dropped; the next reader makes a new one.
        logWarning("read-connection-lost", error.what());
    }
}

/**
 * Called in a catch block: throws the exception as one of the store's errors, or unchanged. The
 * text of a database error holds no values, because values are names, keys and password hashes and
 * the text is logged.
 */
void Database::rethrow(const std::exception& error) const
{
    dialect_->translate(error);
    if (const auto* failure = dynamic_cast<const soci::soci_error*>(&error)) {
        throw std::runtime_error(failure->get_error_message());
    }
    throw;
}

Async<void> Database::writeErased(Job& job)
{
    StartOperation start = [this, &job](std::function<void()> done) {
        job.done = std::move(done);
        enqueue(job);
    };
    co_await awaitOperation(std::move(start));
    if (job.error) {
        std::rethrow_exception(job.error);
    }
}

void Database::runNow(std::function<void(Transaction&)> change)
{
    std::promise<void> finished;
    Job job;
    job.run = std::move(change);
    job.done = [&finished] { finished.set_value(); };
    enqueue(job);
    finished.get_future().wait();
    if (job.error) {
        std::rethrow_exception(job.error);
    }
}

void Database::enqueue(Job& job)
{
    {
        const std::lock_guard lock(queueMutex_);
        queue_.push_back(&job);
    }
    queueChanged_.notify_one();
}

void Database::writeLoop()
{
    for (;;) {
        std::vector<Job*> batch;
        {
            std::unique_lock lock(queueMutex_);
            queueChanged_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
            if (queue_.empty()) {
                return;
            }
            const std::size_t taken = std::min(queue_.size(), largestBatch);
            const auto end = queue_.begin() + static_cast<std::ptrdiff_t>(taken);
            batch.assign(queue_.begin(), end);
            queue_.erase(queue_.begin(), end);
        }
        runBatch(batch);
    }
}

void Database::runBatch(const std::vector<Job*>& batch)
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
    for (Job* job : batch) {
        job->done(); // the waiter owns the job and may delete it after this
    }
}

/** If the disk is full, makes room and runs the changes again. */
void Database::commitBatch(const std::vector<Job*>& batch)
{
    for (;;) {
        try {
            begin(batch);
            for (Job* job : batch) {
                runJob(*job);
            }
            commit();
            return;
        } catch (const StorageFull&) {
            if (!makeRoom_ || !makeRoom_()) {
                throw;
            }
        }
        rollBack();
        for (Job* job : batch) {
            job->error = nullptr;
            job->events.clear();
            job->audit.clear();
        }
    }
}

void Database::rollBack()
{
    try {
        *writer_ << "ROLLBACK";
    } catch (const std::exception&) {
        // The database may have rolled back already, or may have committed.
    }
}

/** Called in a catch block: every change of the batch fails with the present exception. */
void Database::failBatch(const std::vector<Job*>& batch)
{
    rollBack();
    for (Job* job : batch) {
        job->error = job->error ? job->error : std::current_exception();
    }
}

void Database::notify(const std::vector<Job*>& batch, bool inDoubt)
{
    std::vector<Event> events;
    std::set<Id> farms;
    for (const Job* job : batch) {
        events.insert(events.end(), job->events.begin(), job->events.end());
        for (const AuditEntry& entry : job->audit) {
            logEntry(entry);
        }
    }
    for (const Event& event : events) {
        farms.insert(event.farm);
    }
    if (!inDoubt && !events.empty() && commitListener_) {
        commitListener_(events);
    }
    if (inDoubt && !farms.empty() && doubtListener_) {
        doubtListener_(farms);
    }
}

void Database::runChange(Job& job)
{
    Transaction transaction{*writer_, {}, {}};
    job.run(transaction);
    if (mayCommit_ && !mayCommit_(transaction)) {
        throw ReserveRefused();
    }
    job.events = std::move(transaction.events);
    job.audit = std::move(transaction.audit);
}

void Database::runJob(Job& job)
{
    *writer_ << "SAVEPOINT change";
    try {
        runChange(job);
    } catch (const std::exception& error) {
        try {
            rethrow(error);
        } catch (const ReserveRefused&) {
            job.error = std::make_exception_ptr(StorageFull());
        } catch (const StorageFull&) {
            throw; // the database may have rolled back the whole transaction
        } catch (...) {
            job.error = std::current_exception();
        }
        *writer_ << "ROLLBACK TO SAVEPOINT change";
    }
    *writer_ << "RELEASE SAVEPOINT change";
}

void Database::begin(const std::vector<Job*>& batch)
{
    const bool mayWait = std::all_of(batch.begin(), batch.end(), [](const Job* job) {
        return job->durability == EDurability::Later;
    });
    const EDurability wanted = mayWait ? EDurability::Later : EDurability::Now;
    try {
        if (wanted != durability_) {
            *writer_ << dialect_->setDurability(wanted);
            durability_ = wanted;
        }
        *writer_ << dialect_->beginWrite();
    } catch (const std::exception& error) {
        rethrow(error);
    }
}

void Database::commit()
{
    try {
        *writer_ << "COMMIT";
    } catch (const std::exception& error) {
        dialect_->translate(error);
        throw CommitInDoubt(error.what());
    }
}

} // namespace kelvo::store
