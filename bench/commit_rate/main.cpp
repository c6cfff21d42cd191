// Measures the commits of small uploads on SQLite and on PostgreSQL.
#include "service/base/Log.h"
#include "service/store/AuditTable.h"
#include "service/store/Database.h"
#include "service/store/EventTable.h"
#include "service/store/FarmTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/UserTable.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace store = kelvo::store;
using Steady = std::chrono::steady_clock;

constexpr int farms = 64;
constexpr std::size_t writerCounts[] = {1, 8, 64};
constexpr auto oneMeasurement = std::chrono::seconds(3);
constexpr long long now = 1790000000000;

struct Inbox
{
    store::Id farm = 0;
    store::Inbox inbox;
};

/** A database with an inbox in each of its farms. */
class Place
{
public:
    explicit Place(std::unique_ptr<store::Dialect> dialect) : database_(std::move(dialect))
    {
        for (int i = 0; i < farms; ++i) {
            inboxes_.push_back(database_.writeNow([i](store::Transaction& t) {
                const std::string number = std::to_string(i);
                const store::Farm farm = store::addFarm(t, "farm" + number);
                const store::User user =
                    store::addUser(t, {farm, "user" + number, store::ERole::Operator, "", now});
                return Inbox{farm.id, store::ensureInbox(t, user, 1, now).inbox};
            }));
        }
    }

    /** Adds the rows of the last request of a small upload. */
    void addFile(std::size_t farm)
    {
        const Inbox& to = inboxes_[farm];
        database_.writeNow(store::Scope::farm(to.farm), [&to](store::Transaction& t) {
            const store::File file = store::addFile(
                t, to.farm, {0, to.inbox.id, "field.zip", 20000, std::string(64, 'a'), now});
            store::addEvent(t, {to.farm, 0, "file-added", to.inbox.ownerId,
                                R"({"id": )" + std::to_string(file.id) + "}", "", now});
            store::AuditEntry entry;
            entry.outcome = "done";
            entry.action = "file-add";
            entry.farm = to.farm;
            store::addAudit(t, entry);
        });
    }

private:
    store::Database database_;
    std::vector<Inbox> inboxes_;
};

struct Figures
{
    double perSecond = 0;
    double medianMs = 0;
};

Figures measure(Place& place, std::size_t writers)
{
    std::vector<std::vector<double>> times(writers);
    std::vector<std::thread> threads;
    const auto begin = Steady::now();
    for (std::size_t writer = 0; writer < writers; ++writer) {
        threads.emplace_back([&place, &times, writer, begin] {
            for (auto start = Steady::now(); start < begin + oneMeasurement;) {
                place.addFile(writer % farms);
                const auto end = Steady::now();
                times[writer].push_back(
                    std::chrono::duration<double, std::milli>(end - start).count());
                start = end;
            }
        });
    }
    std::vector<double> all;
    for (std::size_t writer = 0; writer < writers; ++writer) {
        threads[writer].join();
        all.insert(all.end(), times[writer].begin(), times[writer].end());
    }
    const double seconds = std::chrono::duration<double>(Steady::now() - begin).count();
    std::nth_element(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2),
                     all.end());
    return {static_cast<double>(all.size()) / seconds, all[all.size() / 2]};
}

double loadOfMachine()
{
    double load = 0;
    return ::getloadavg(&load, 1) == 1 ? load : 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s FOLDER URL ROUNDS   (bench/commits runs it)\n", argv[0]);
        return 2;
    }
    kelvo::startLog("error"); // to stderr, with the audit trail
    Place sqlite(store::makeSqlite((std::filesystem::path(argv[1]) / "bench.sqlite").string()));
    Place postgresql(store::makePostgresql(argv[2]));
    std::printf("%7s %8s | %10s %9s | %10s %9s | %6s %7s | %5s\n", "round", "writers", "SQLite /s",
                "ms", "PostgreSQL", "ms", "rate x", "time x", "load");
    for (int round = 1; round <= std::atoi(argv[3]); ++round) {
        for (const std::size_t writers : writerCounts) {
            Figures ofSqlite;
            Figures ofPostgresql;
            if (round % 2 == 1) {
                ofSqlite = measure(sqlite, writers);
            }
            ofPostgresql = measure(postgresql, writers);
            if (round % 2 == 0) {
                ofSqlite = measure(sqlite, writers);
            }
            std::printf("%7d %8zu | %10.0f %9.2f | %10.0f %9.2f | %6.2f %7.2f | %5.1f\n", round,
                        writers, ofSqlite.perSecond, ofSqlite.medianMs, ofPostgresql.perSecond,
                        ofPostgresql.medianMs, ofPostgresql.perSecond / ofSqlite.perSecond,
                        ofPostgresql.medianMs / ofSqlite.medianMs, loadOfMachine());
            std::fflush(stdout);
        }
    }
    return 0;
}
