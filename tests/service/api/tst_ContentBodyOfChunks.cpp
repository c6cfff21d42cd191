// The answer to a request for a content in an object store.
#include "service/api/ContentBody.h"
#include "service/api/UploadSteps.h"
#include "service/base/Digest.h"
#include "service/base/Unavailable.h"
#include "service/chunks/ChunkedContents.h"
#include "service/http/Problem.h"
#include "tests/service/support/ApiFixture.h"
#include "tests/service/support/ObjectGateway.h"

#include <gmock/gmock.h>

namespace kelvo::api {
namespace {

using http::ERange;
using test::EFault;

constexpr std::size_t chunkBytes = 300 * 1000; // more than an answer that is kept in memory

class ContentBodiesOfChunks : public test::ApiFixture
{
protected:
    static objects::RetryPolicy oneAttempt()
    {
        objects::RetryPolicy result;
        result.attempts = 1;
        return result;
    }

    static std::string threeChunks()
    {
        return std::string(chunkBytes, 'a') + std::string(chunkBytes, 'b') + "the end";
    }

    store::File store(const std::string& text)
    {
        UploadRequest wanted;
        wanted.name = "a.zip";
        wanted.targets = {inbox.id};
        wanted.lengthBytes = static_cast<long long>(text.size());
        const store::Upload upload =
            loop.run(startUpload(chunked, user, wanted, newUploadId(), store::EDurability::Now))
                .upload;
        const auto receiver = chunks.receive(upload.id);
        receiver->append(text.data(), text.size());
        return loop.run(finishUpload(chunked, upload, *receiver, "192.0.2.1")).files.front();
    }

    /** The received body; shorter than the range if it was cut. */
    std::string body(const store::File& file, std::uint64_t offset, std::uint64_t length)
    {
        http::Response response;
        loop.run(addContent(chunked, file, 1, {ERange::Part, offset, length}, false, response));
        if (!response.source) {
            return response.body;
        }
        std::string all;
        std::string buffer(100 * 1000, ' ');
        while (all.size() < length) {
            const auto got =
                loop.run(response.source->read(asio::buffer(buffer.data(), buffer.size())));
            if (got == 0) {
                break;
            }
            all.append(buffer, 0, got);
        }
        return all.substr(0, static_cast<std::size_t>(length));
    }

    std::string whole(const store::File& file)
    {
        return body(file, 0, static_cast<std::uint64_t>(file.sizeBytes));
    }

    /** Replaces the first byte of the chunk that begins with this byte. */
    void damage(char first)
    {
        for (const auto& [key, bytes] : gateway.objects()) {
            if (bytes.front() == first) {
                gateway.replace(key, '#' + bytes.substr(1));
            }
        }
    }

    long long countGets() const
    {
        const auto requests = gateway.requests();
        return std::count_if(requests.begin(), requests.end(),
                             [](const std::string& request) { return request.starts_with("GET"); });
    }

    test::ObjectGateway gateway;
    objects::Bucket bucket{gateway.address(), test::ObjectGateway::credentials(), clock,
                           oneAttempt()};
    chunks::ChunkedContents chunks{database, bucket, clock, chunkBytes};
    Context chunked = contextWith(chunks, activeUploads);
};

TEST_F(ContentBodiesOfChunks, HoldMemoryAsLongAsTheirReader)
{
    const store::File file = store(threeChunks());
    http::Response response;
    const auto size = static_cast<std::uint64_t>(file.sizeBytes);
    loop.run(addContent(chunked, file, 1, {ERange::Whole, 0, size}, true, response));
    EXPECT_EQ(transferMemory.usedBytes(), 0U) << "no bytes are read";
    loop.run(addContent(chunked, file, 1, {ERange::Whole, 0, size}, false, response));
    EXPECT_EQ(transferMemory.usedBytes(), chunkBytes);
    response.source.reset();
    EXPECT_EQ(transferMemory.usedBytes(), 0U);
}

TEST_F(ContentBodiesOfChunks, SendsTheStoredBytes)
{
    for (const std::string& text : {std::string("a small one"), threeChunks(), std::string()}) {
        EXPECT_EQ(whole(store(text)), text);
    }
    EXPECT_EQ(integrity.damagedReads(), 0U);
}

TEST_F(ContentBodiesOfChunks, ReadsForARangeOnlyTheChunksOfTheRange)
{
    const store::File file = store(threeChunks());
    damage('a');
    damage('b');
    const auto before = countGets();
    EXPECT_EQ(body(file, 2 * chunkBytes + 4, 3), "end");
    EXPECT_EQ(countGets(), before + 1);
    EXPECT_EQ(integrity.damagedReads(), 0U);
}

TEST_F(ContentBodiesOfChunks, RefusesAContentWithADamagedFirstChunk)
{
    const store::File file = store(threeChunks());
    damage('a');
    EXPECT_THROW(whole(file), http::Problem);
    EXPECT_EQ(integrity.damagedReads(), 1U);
}

TEST_F(ContentBodiesOfChunks, CutsTheBodyBeforeALaterDamagedChunk)
{
    const store::File file = store(threeChunks());
    damage('b');
    EXPECT_EQ(whole(file), std::string(chunkBytes, 'a'));
    EXPECT_EQ(integrity.damagedReads(), 1U);
}

TEST_F(ContentBodiesOfChunks, ReportsNoDamageIfTheStoreDoesNotAnswer)
{
    const store::File file = store(threeChunks());
    gateway.failNext({EFault::Busy});
    EXPECT_THROW(whole(file), Unavailable);
    EXPECT_EQ(integrity.damagedReads(), 0U);
    EXPECT_EQ(whole(file), threeChunks());
}

TEST_F(ContentBodiesOfChunks, ReportsNoDamageIfTheStoreFailsDuringTheDownload)
{
    const store::File file = store(threeChunks());
    gateway.failNext({EFault::None, EFault::Busy});
    EXPECT_EQ(whole(file), std::string(chunkBytes, 'a'));
    EXPECT_EQ(integrity.damagedReads(), 0U);
}

} // namespace
} // namespace kelvo::api
