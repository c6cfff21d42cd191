// The answer to a request for a stored content. A damaged content is never sent as intact.
#include "service/api/ContentBody.h"
#include "service/base/Digest.h"
#include "service/http/Problem.h"
#include "tests/service/support/ApiFixture.h"

#include <gmock/gmock.h>

#include <future>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::api {
namespace {

using http::ERange;

const std::string small = "a small one";
const std::string large(1000000, 'x');

class ContentBodies : public test::ApiFixture
{
protected:
    store::File store(const std::string& text)
    {
        const std::string digest = sha256Hex(text);
        std::filesystem::create_directories(contents.contentPath(digest).parent_path());
        replaceFile(contents.contentPath(digest), text, 0600);
        store::File file;
        file.id = 55;
        file.sizeBytes = static_cast<long long>(text.size());
        file.sha256 = digest;
        return file;
    }

    /** Changes one byte in the middle, as a damaged disk does: the file's times stay. */
    void flip(const store::File& file)
    {
        const FileDescriptor handle = openFile(contents.contentPath(file.sha256), O_RDWR);
        struct stat before
        {};
        ASSERT_EQ(::fstat(handle.get(), &before), 0);
        ASSERT_EQ(::pwrite(handle.get(), "#", 1, before.st_size / 2), 1);
        const timespec times[] = {before.st_atim, before.st_mtim};
        ASSERT_EQ(::futimens(handle.get(), times), 0);
    }

    /** The received body; shorter than its Content-Length if it was cut. */
    std::string body(const store::File& file, http::RangeChoice range, bool bodiless = false)
    {
        http::Response response;
        loop.run(addContent(context, file, 1, range, bodiless, response));
        return response.source ? readAll(*response.source, bodiless) : response.body;
    }

    std::string readAll(http::BodySource& source, bool bodiless = false)
    {
        contentLength = source.sizeBytes();
        std::string all;
        std::string buffer(256 * 1024, '\0');
        while (!bodiless && all.size() < contentLength) {
            const auto wanted = static_cast<std::size_t>(
                std::min<std::uint64_t>(buffer.size(), contentLength - all.size()));
            const auto got = loop.run(source.read(asio::buffer(buffer.data(), wanted)));
            if (got == 0) {
                break;
            }
            all.append(buffer, 0, got);
        }
        return all;
    }

    std::string whole(const store::File& file)
    {
        return body(file, {ERange::Whole, 0, static_cast<std::uint64_t>(file.sizeBytes)});
    }

    void refused(const store::File& file, http::RangeChoice range)
    {
        const auto before = integrity.damagedReads();
        try {
            body(file, range);
            ADD_FAILURE() << "it was not refused";
        } catch (const http::Problem& problem) {
            EXPECT_EQ(problem.kind(), http::EProblem::Internal);
        }
        EXPECT_EQ(integrity.damagedReads(), before + 1);
    }

    std::uint64_t contentLength = 0;
};

TEST_F(ContentBodies, SendsTheStoredBytes)
{
    for (const std::string& text : {small, large, std::string()}) {
        const store::File file = store(text);
        EXPECT_EQ(whole(file), text);
    }
    EXPECT_EQ(body(store(small), {ERange::Part, 2, 5}), small.substr(2, 5));
    EXPECT_EQ(body(store(large), {ERange::Part, 2, 5}), "xxxxx");
    EXPECT_EQ(integrity.damagedReads(), 0U);
}

TEST_F(ContentBodies, RefusesASmallDamagedFile)
{
    const store::File file = store(small);
    EXPECT_EQ(whole(file), small);
    flip(file);
    refused(file, {ERange::Whole, 0, small.size()});
    refused(file, {ERange::Part, 0, 1});
}

TEST_F(ContentBodies, CutsALargeDamagedFileAndThenRefusesIt)
{
    const store::File file = store(large);
    flip(file);
    EXPECT_LT(whole(file).size(), large.size());
    EXPECT_EQ(contentLength, large.size());
    EXPECT_EQ(integrity.damagedReads(), 1U);
    refused(file, {ERange::Whole, 0, large.size()});
    refused(file, {ERange::Part, large.size() - 1, 1});
}

TEST_F(ContentBodies, RefusesARangeIfAnotherRangeIsDamaged)
{
    const store::File file = store(large);
    EXPECT_EQ(body(file, {ERange::Part, 0, 3}), "xxx");
    flip(file); // after it was found intact, and with its old modification time
    refused(file, {ERange::Part, 0, 3});
}

TEST_F(ContentBodies, ChecksAFileAgainForARangeAfterAnHour)
{
    const store::File file = store(large);
    body(file, {ERange::Part, 0, 3});
    const auto stamp =
        content::stampOf(openFile(contents.contentPath(file.sha256), O_RDONLY).get());
    const auto known = [&] { return integrity.conditionOf(file.sha256, stamp, clock.nowMs()); };
    EXPECT_EQ(known(), content::ECondition::Intact);
    clock.Advance(std::chrono::hours(1));
    EXPECT_EQ(known(), content::ECondition::Unknown);
    body(file, {ERange::Part, 0, 3});
    EXPECT_EQ(known(), content::ECondition::Intact);
}

TEST_F(ContentBodies, ARangeWaitsForARunningCheck)
{
    const store::File file = store(large);
    flip(file); // a request that reads the content itself finds the damage
    const auto stamp =
        content::stampOf(openFile(contents.contentPath(file.sha256), O_RDONLY).get());
    std::promise<void> unblock;
    filePool.post([&unblock] {
        unblock.get_future().wait();
    }); // the other thread of the pool does all other work
    auto turn = loop.run(integrity.readLock(file.sha256));
    std::string outcome;
    const auto ask = [&]() -> Async<void> {
        http::Response response;
        try {
            co_await addContent(context, file, 1, {ERange::Part, 0, 3}, false, response);
            outcome = "served";
        } catch (const http::Problem&) {
            outcome = "refused";
        }
    };
    loop.start(ask());
    loop.io().poll();
    loop.run(filePool.run([] {})); // now the file is open
    integrity.put(file.sha256, stamp, content::ECondition::Intact, clock.nowMs());
    turn.reset();
    unblock.set_value();
    loop.runUntil([&outcome] { return !outcome.empty(); });
    EXPECT_EQ(outcome, "served");
}

TEST_F(ContentBodies, RefusesAMissingOrCutFile)
{
    for (const std::string& text : {small, large}) {
        const store::File file = store(text);
        const auto path = contents.contentPath(file.sha256);
        std::filesystem::resize_file(path, text.size() - 1);
        refused(file, {ERange::Whole, 0, text.size()});
        std::filesystem::remove(path);
        refused(file, {ERange::Whole, 0, text.size()});
    }
}

TEST_F(ContentBodies, RefusesAFileThatCannotBeReadAsUnreadable)
{
    store::File file = store(small);
    const auto path = contents.contentPath(file.sha256);
    std::filesystem::remove(path);
    std::filesystem::create_directory(path); // can be opened, but not read
    file.sizeBytes = content::stampOf(openFile(path, O_RDONLY).get()).sizeBytes;
    try {
        whole(file);
        ADD_FAILURE() << "it was not refused";
    } catch (const http::Problem& problem) {
        EXPECT_STREQ(problem.what(), "The file cannot be read in the service's storage.");
    }
    EXPECT_EQ(integrity.damagedReads(), 1U);
}

TEST_F(ContentBodies, AFileThatCouldNotBeReadToItsEndIsNotMarkedDamaged)
{
    const store::File file = store(large);
    const auto path = contents.contentPath(file.sha256);
    const auto stamp = content::stampOf(openFile(path, O_RDONLY).get());
    http::Response response;
    loop.run(addContent(context, file, 1, {ERange::Whole, 0, large.size()}, false, response));
    std::filesystem::resize_file(path, large.size() - 1);
    EXPECT_LT(readAll(*response.source).size(), large.size());
    EXPECT_EQ(integrity.damagedReads(), 1U);
    EXPECT_EQ(integrity.conditionOf(file.sha256, stamp, clock.nowMs()),
              content::ECondition::Unknown);
}

TEST_F(ContentBodies, SendsTheFileAgainAfterItsRepair)
{
    const store::File file = store(large);
    flip(file);
    whole(file);
    store(large);
    EXPECT_EQ(whole(file), large);
}

TEST_F(ContentBodies, ReadsNoFileForHead)
{
    const store::File file = store(large);
    flip(file);
    EXPECT_EQ(body(file, {ERange::Whole, 0, large.size()}, true), "");
    EXPECT_EQ(contentLength, large.size());
    EXPECT_EQ(integrity.damagedReads(), 0U);
}

} // namespace
} // namespace kelvo::api
