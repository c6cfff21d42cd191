// Each pair of changes of objects' rows at two instances, with each interleaving of their
// statements.
#include "service/store/ChunkTable.h"
#include "tests/service/store/InstancesFixture.h"
#include "tests/service/support/DialectAround.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelvo::test {
namespace {

constexpr long long pairTime = 1700000000000;
constexpr const char* pairDigest = "digest of both uploads";

/** Calls a function before each statement of its connections. */
class WatchedDialect final : public DialectAround
{
public:
    using DialectAround::DialectAround;

    std::unique_ptr<soci::session> connect() const override
    {
        auto session = connectInner();
        session->set_query_transformation([this](const std::string& query) {
            if (beforeStatement) {
                beforeStatement();
            }
            return query;
        });
        return session;
    }

    std::function<void()> beforeStatement; // only its caller's thread runs statements meanwhile
};

/** The uploads of a round before its changes. */
struct ReceivedUploads
{
    store::Received hill;
    store::Received dale;
};

struct ObjectChange
{
    const char* what;
    Scope scope;
    void (*run)(Transaction& t, const ReceivedUploads& before);
};

const ObjectChange objectChanges[] = {
    {"makes a content of an upload", Scope::farm(1),
     [](Transaction& t, const ReceivedUploads& before) {
         store::adoptChunks(t, "hill", before.hill, pairDigest, pairTime);
     }},
    {"makes the same content of another upload", Scope::farm(2),
     [](Transaction& t, const ReceivedUploads& before) {
         store::adoptChunks(t, "dale", before.dale, pairDigest, pairTime);
     }},
    {"removes the received bytes", Scope::upload("hill"),
     [](Transaction& t, const ReceivedUploads&) { store::dropReceived(t, "hill", pairTime); }},
    {"receives the upload anew", Scope::upload("hill"),
     [](Transaction& t, const ReceivedUploads&) { store::takeOver(t, "hill"); }},
    {"replaces the chunk by a longer one", Scope::upload("hill"),
     [](Transaction& t, const ReceivedUploads& before) {
         store::addChunk(t, "hill", before.hill, {"longer", 0, 7, "sha"}, "state", pairTime);
     }},
    {"removes the content", Scope::all(),
     [](Transaction& t, const ReceivedUploads&) { store::dropContent(t, pairDigest, pairTime); }},
    {"condemns the doomed objects", Scope::all(),
     [](Transaction& t, const ReceivedUploads&) { store::condemnObjects(t, pairTime + 1, 100); }},
};

store::Received receiveOneChunk(Transaction& t, const std::string& upload, const std::string& key)
{
    const store::Received before = store::takeOver(t, upload);
    store::announceObject(t, key, pairTime);
    store::addChunk(t, upload, before, {key, 0, 5, "sha"}, "state", pairTime);
    return *store::receivedPart(t.sql, upload);
}

/** Objects with other than one row, and uploads and contents with other chunks than their size. */
constexpr const char* brokenRows =
    "SELECT object_key || ' has several rows' FROM (SELECT object_key FROM upload_chunks"
    " UNION ALL SELECT object_key FROM content_chunks"
    " UNION ALL SELECT object_key FROM doomed) AS named GROUP BY object_key HAVING COUNT(*) > 1"
    " UNION ALL SELECT 'upload ' || upload || ' has other chunks' FROM received r"
    " WHERE size_bytes <> (SELECT COALESCE(SUM(c.size_bytes), 0) FROM upload_chunks c"
    " WHERE c.upload = r.upload)"
    " UNION ALL SELECT 'content ' || sha256 || ' has other chunks' FROM contents t"
    " WHERE size_bytes <> (SELECT COALESCE(SUM(c.size_bytes), 0) FROM content_chunks c"
    " WHERE c.content = t.sha256)"
    " UNION ALL SELECT object_key || ' has no upload' FROM upload_chunks"
    " WHERE upload NOT IN (SELECT upload FROM received)"
    " UNION ALL SELECT object_key || ' has no content' FROM content_chunks"
    " WHERE content NOT IN (SELECT sha256 FROM contents)";

std::vector<std::string> brokenRowsIn(soci::session& sql)
{
    std::string row;
    std::vector<std::string> rows;
    soci::statement query = (sql.prepare << brokenRows, soci::into(row));
    query.execute();
    while (query.fetch()) {
        rows.push_back(row);
    }
    return rows;
}

std::vector<std::string> keysIn(soci::session& sql)
{
    std::string key;
    std::vector<std::string> keys;
    soci::statement query = (sql.prepare << "SELECT object_key FROM upload_chunks"
                                            " UNION SELECT object_key FROM content_chunks"
                                            " UNION SELECT object_key FROM doomed",
                             soci::into(key));
    query.execute();
    while (query.fetch()) {
        keys.push_back(key);
    }
    return keys;
}

class PairsOfInstances : public Instances
{
protected:
    PairsOfInstances()
    {
        auto dialect = std::make_unique<WatchedDialect>(GetParam().connect(folder.Path()));
        watched = dialect.get();
        database = std::make_unique<store::Database>(std::move(dialect));
        write(store::makeChunkTables);
    }

    /** Two uploads with equal bytes, an announced object, and a content of the bytes. */
    ReceivedUploads begin()
    {
        return write([](Transaction& t) {
            for (const char* table :
                 {"received", "upload_chunks", "contents", "content_chunks", "doomed"}) {
                t.sql << "DELETE FROM " << table;
            }
            const store::Received older = receiveOneChunk(t, "older", "older");
            store::adoptChunks(t, "older", older, pairDigest, pairTime);
            store::announceObject(t, "longer", pairTime);
            ReceivedUploads uploads;
            uploads.hill = receiveOneChunk(t, "hill", "hill");
            uploads.dale = receiveOneChunk(t, "dale", "dale");
            return uploads;
        });
    }

    /**
     * Runs `second` after `statements` statements of `first`, or before its commit if it has fewer.
     * False: it has fewer.
     */
    bool runBoth(const ObjectChange& first, const ObjectChange& second, int statements)
    {
        const ReceivedUploads before = begin();
        bool isBetween = false;
        const auto change = [&](Transaction& t, const auto& pause) {
            int left = statements;
            watched->beforeStatement = [&, sql = &t.sql] {
                if (left-- == 0) {
                    isBetween = true;
                    *sql << "SELECT 1"; // the deferred statements are executed now
                    pause();
                }
            };
            first.run(t, before);
            watched->beforeStatement = nullptr;
            if (!isBetween) {
                t.sql << "SELECT 1";
                pause();
            }
            return true;
        };
        const auto beside = [&](Transaction& t, const auto&) {
            second.run(t, before);
            return true;
        };
        const auto results = atOnce<std::optional<bool>>(first.scope, change, second.scope, beside);
        EXPECT_TRUE(results.first && results.second) << "a change has failed";
        return isBetween;
    }

    WatchedDialect* watched = nullptr;
};

TEST_P(PairsOfInstances, LeaveEachObjectOneOwner)
{
    for (const ObjectChange& first : objectChanges) {
        for (const ObjectChange& second : objectChanges) {
            bool isLast = false;
            for (int statements = 0; !isLast; ++statements) {
                SCOPED_TRACE(std::string("a change that ") + second.what + ", after " +
                             std::to_string(statements) + " statements of one that " + first.what);
                isLast = !runBoth(first, second, statements);
                ASSERT_THAT(read(brokenRowsIn), testing::IsEmpty());
                ASSERT_THAT(read(keysIn),
                            testing::UnorderedElementsAre("older", "longer", "hill", "dale"));
            }
        }
    }
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PairsOfInstances);
INSTANTIATE_TEST_SUITE_P(Databases, PairsOfInstances, testing::ValuesIn(serverKinds()), nameOf);

} // namespace
} // namespace kelvo::test
