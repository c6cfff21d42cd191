#include "service/store/Database.h"

#include "service/base/Log.h"
#include "service/store/Errors.h"

#include <soci/soci.h>

#include <future>

namespace kelvo::store {

namespace {

using Sessions = std::vector<std::unique_ptr<soci::session>>;

/** If one connection is lost, so are others: each would wait for an answer again. */
void dropAll(Sessions& idle, std::mutex& mutex)
{
    Sessions dropped;
    const std::lock_guard lock(mutex);
    dropped.swap(idle);
}

} // namespace

Database::Database(std::unique_ptr<Dialect> dialect, unsigned readers)
    : dialect_(std::move(dialect)), readers_(readers), queue_(dialect_->writers())
{
    for (unsigned number = 0; number < dialect_->writers(); ++number) {
        writers_.emplace_back(*dialect_, hooks_);
    }
    try {
        writers_.front().connect(); // the others connect when they are needed
    } catch (const std::exception& error) {
        dialect_->rethrow(error);
    }
    try {
        for (Writer& writer : writers_) {
            writerThreads_.emplace_back([this, &writer] { writeLoop(writer); });
        }
    } catch (...) { // no further thread: ends those that run
        finish();
        throw;
    }
}

Database::~Database()
{
    finish();
}

void Database::finish()
{
    queue_.close();
    for (std::thread& thread : writerThreads_) {
        thread.join();
    }
    writerThreads_.clear();
    readers_.stop();
}

bool Database::Reader::takeIdle()
{
    const std::lock_guard lock(database_.sessionsMutex_);
    if (database_.idleSessions_.empty()) {
        return false;
    }
    session_ = std::move(database_.idleSessions_.back());
    database_.idleSessions_.pop_back();
    return true;
}

Database::Reader::Reader(Database& database) : database_(database)
{
    const Dialect& dialect = *database_.dialect_;
    while (takeIdle()) {
        try {
            *session_ << dialect.beginRead();
            return;
        } catch (const soci::soci_error&) {
            if (dialect.isUsable(*session_)) {
                throw;
            }
            dropAll(database_.idleSessions_, database_.sessionsMutex_);
        }
    }
    session_ = dialect.connect();
    *session_ << dialect.beginRead();
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
        dropAll(database_.idleSessions_, database_.sessionsMutex_);
    }
}

std::optional<long long> Database::serverTimeMs()
{
    return readNow([this](soci::session& sql) { return dialect_->serverTimeMs(sql); });
}

std::optional<long long> Database::serverSizeBytes()
{
    return readNow([this](soci::session& sql) { return dialect_->serverSizeBytes(sql); });
}

Async<void> Database::writeErased(Change& change)
{
    StartOperation start = [this, &change](std::function<void()> done) {
        change.done = std::move(done);
        enqueue(change);
    };
    co_await awaitOperation(std::move(start));
    if (change.error) {
        std::rethrow_exception(change.error);
    }
}

void Database::runNow(Scope scope, std::function<void(Transaction&)> function)
{
    std::promise<void> finished;
    Change change;
    change.scope = scope;
    change.run = std::move(function);
    change.done = [&finished] { finished.set_value(); };
    enqueue(change);
    finished.get_future().wait();
    if (change.error) {
        std::rethrow_exception(change.error);
    }
}

void Database::enqueue(Change& change)
{
    if (writers_.size() == 1) {
        change.scope = Scope::all(); // one writer needs no order of locks
    }
    if (!queue_.add(change)) {
        change.error = std::make_exception_ptr(StoreClosed());
        change.done();
    }
}

void Database::writeLoop(Writer& writer)
{
    for (Batch batch = queue_.take(); !batch.empty(); batch = queue_.take()) {
        writer.run(batch);
        queue_.release(batch);
        for (Change* change : batch) {
            change->done();
        }
    }
}

} // namespace kelvo::store
