// Two instances of the service on one database, and a way to run their changes at once.
#pragma once

#include "tests/service/store/StoreContract.h"

#include <soci/soci.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace kelvo::test {

using store::Scope;
using store::Transaction;

/** The databases that several instances can use. */
inline std::vector<DatabaseKind> serverKinds()
{
    auto kinds = databaseKinds();
    kinds.erase(kinds.begin());
    return kinds;
}

/** `database` is one instance, `other` another. */
class Instances : public StoreContract
{
protected:
    std::unique_ptr<store::Database> open() const
    {
        return std::make_unique<store::Database>(GetParam().connect(folder.Path()));
    }

    store::User addFarmWithUser() { return addUser(addFarm("Hill Farm"), "olga"); }

    /** The number of transactions that wait for a lock of another transaction. */
    int waiting()
    {
        return watcher->readNow([](soci::session& sql) {
            int waiting = 0;
            sql << "SELECT COUNT(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock'"
                   " AND datname = current_database()",
                soci::into(waiting);
            return waiting;
        });
    }

    /**
     * Runs `change` at both instances. The first stops in its `pause` until the second waits for it
     * or is done. Returns the results; a failure is none.
     */
    template <class Change>
    auto atOnce(Scope scope, Change change)
    {
        using Result = std::optional<std::invoke_result_t<Change&, Transaction&, void (*)()>>;
        return atOnce<Result>(scope, change, scope, change);
    }

    template <class Result, class First, class Second>
    std::pair<Result, Result> atOnce(Scope ofFirst, First first, Scope ofSecond, Second second)
    {
        std::pair<Result, Result> results;
        std::atomic<bool> secondIsDone = false;
        std::thread beside;
        const auto pause = [&] {
            beside = std::thread([&] {
                try {
                    results.second = other->writeNow(
                        ofSecond, [&second](Transaction& t) { return second(t, [] {}); });
                } catch (const std::exception&) {
                }
                secondIsDone = true;
            });
            while (!secondIsDone && waiting() == 0) {
                std::this_thread::yield();
            }
            secondWaited = !secondIsDone;
        };
        try {
            results.first =
                database->writeNow(ofFirst, [&](Transaction& t) { return first(t, pause); });
        } catch (const std::exception&) {
        }
        beside.join();
        return results;
    }

    std::unique_ptr<store::Database> other = open();
    std::unique_ptr<store::Database> watcher = open();
    bool secondWaited = false; // of the last atOnce()
};

} // namespace kelvo::test
