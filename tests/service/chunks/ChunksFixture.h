// Contents as chunks of four bytes, in an object store that fails on request.
#pragma once

#include "service/chunks/ChunkedContents.h"
#include "service/store/FarmTable.h"
#include "service/store/FileTable.h"
#include "service/store/InboxTable.h"
#include "service/store/UserTable.h"
#include "tests/service/support/ManualClock.h"
#include "tests/service/support/ObjectGateway.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace kelvo::chunks {

constexpr std::size_t chunkBytes = 4;
constexpr std::chrono::hours day{24};

class Chunks : public testing::Test
{
protected:
    static objects::RetryPolicy twoAttempts()
    {
        objects::RetryPolicy result;
        result.attempts = 2;
        result.sleep = [](std::chrono::milliseconds) {};
        return result;
    }

    std::unique_ptr<content::Receiver> receive(const std::string& text)
    {
        auto receiver = contents.receive("u1");
        receiver->append(text.data(), text.size());
        return receiver;
    }

    void commit(content::Receiver& receiver)
    {
        const auto adoption = receiver.adopt();
        database.writeNow([&adoption](store::Transaction& t) { adoption->join(t); });
        adoption->committed();
    }

    std::string store(const std::string& text)
    {
        const auto receiver = receive(text);
        std::string sha256 = receiver->finish();
        commit(*receiver);
        return sha256;
    }

    void addFile(const std::string& sha256)
    {
        database.writeNow([&sha256](store::Transaction& t) {
            const store::Farm farm = store::addFarm(t, "Hill Farm");
            const auto user = store::addUser(t, {farm, "olga", store::ERole::Operator, "hash", 0});
            const auto inbox = store::ensureInbox(t, user, 1, 0).inbox;
            store::addFile(t, farm.id, {0, inbox.id, "field.zip", 8, sha256, 0});
        });
    }

    std::string readAll(const std::string& sha256)
    {
        const auto reader = contents.open(sha256);
        std::string all(static_cast<std::size_t>(reader->sizeBytes()), ' ');
        for (std::size_t at = 0; at < all.size();) {
            at += reader->read(at, all.data() + at, all.size() - at);
        }
        return all;
    }

    std::size_t removeAfter(std::chrono::milliseconds time)
    {
        clock.Advance(time);
        return contents.removeDoomedObjects();
    }

    test::TempFolder folder;
    test::ManualClock clock;
    store::Database database{store::makeSqlite(folder.Path("kelvo.sqlite"))};
    test::ObjectGateway gateway;
    objects::Bucket bucket{gateway.address(), test::ObjectGateway::credentials(), clock,
                           twoAttempts()};
    ChunkedContents contents{database, bucket, clock, chunkBytes};
};

} // namespace kelvo::chunks
