// Documents in pieces: in memory, in a file, packed.
#include "service/api/JsonAnswer.h"
#include "service/http/Problem.h"
#include "tests/service/support/ApiFixture.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <optional>
#include <system_error>

#include <zlib.h>

namespace kelvo::api {
namespace {

constexpr int manyItems = 20000; // about 320 kB

/** The bytes of an answer's body or source. */
std::string bytesOf(test::Loop& loop, http::Response& response)
{
    if (!response.source) {
        return response.body;
    }
    std::string bytes(response.source->sizeBytes(), '\0');
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t got =
            loop.run(response.source->read(asio::buffer(bytes.data() + at, bytes.size() - at)));
        if (got == 0) {
            return {};
        }
        at += got;
    }
    return bytes;
}

std::string unpacked(const std::string& packed)
{
    static constexpr int gzipWindow = 15 + 16;
    std::string text(4 * 1024 * 1024, '\0');
    z_stream stream{};
    inflateInit2(&stream, gzipWindow);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
    text.resize(stream.total_out);
    inflateEnd(&stream);
    return text;
}

class JsonAnswers : public test::ApiFixture
{
protected:
    JsonAnswer numbers(int count, bool packed = false)
    {
        JsonAnswer answer(context, 1, packed);
        answer.open({{"name", "a"}}, "numbers");
        for (int i = 0; i < count; ++i) {
            answer.add({{"number", i}});
        }
        answer.close();
        return answer;
    }

    static std::string expected(int count)
    {
        Json document{{"name", "a"}, {"numbers", Json::array()}};
        for (int i = 0; i < count; ++i) {
            document["numbers"].push_back({{"number", i}});
        }
        return document.dump();
    }

    http::Response answerOf(int count, bool packed = false)
    {
        return numbers(count, packed).toResponse();
    }
};

TEST_F(JsonAnswers, SendsTheBytesOfTheWholeDocument)
{
    for (const int count : {0, 1, 2, 1000, manyItems}) {
        http::Response response = answerOf(count);
        EXPECT_EQ(bytesOf(loop, response), expected(count)) << count;
        EXPECT_EQ(numbers(count).end(), sha256Hex(expected(count))) << count;
    }
}

TEST_F(JsonAnswers, NestLists)
{
    JsonAnswer answer(context, 0);
    answer.open(Json::object(), "outer");
    answer.open({{"id", 1}}, "inner");
    answer.close();
    answer.open({{"id", 2}}, "inner");
    answer.add("x");
    answer.close();
    answer.add("y");
    answer.close();
    EXPECT_EQ(answer.toResponse().body,
              R"({"outer":[{"id":1,"inner":[]},{"id":2,"inner":["x"]},"y"]})");
}

TEST_F(JsonAnswers, HaveListsAndMembersAfterAList)
{
    JsonAnswer answer(context, 0);
    answer.open({{"id", 1}}, "list");
    answer.add(2);
    answer.nextList("other");
    answer.add(3);
    answer.add(4);
    answer.close({{"next", Json()}, {"end", "x"}});
    EXPECT_EQ(answer.toResponse().body,
              R"({"id":1,"list":[2],"other":[3,4],"next":null,"end":"x"})");
}

TEST_F(JsonAnswers, HoldALargeDocumentInAFileOnly)
{
    const http::Response inMemory = answerOf(1000);
    EXPECT_FALSE(inMemory.source);
    const http::Response inFile = answerOf(manyItems);
    ASSERT_TRUE(inFile.source);
    EXPECT_EQ(inFile.source->sizeBytes(), expected(manyItems).size());
    EXPECT_LT(inFile.body.capacity(), 1000U);
}

TEST_F(JsonAnswers, CompressesAnswersUnlessTheyAreTiny)
{
    for (const int count : {1000, 5 * manyItems}) {
        http::Response response = answerOf(count, true);
        EXPECT_THAT(response.headers, testing::Contains(std::pair<std::string, std::string>(
                                          "Content-Encoding", "gzip")));
        EXPECT_EQ(unpacked(bytesOf(loop, response)), expected(count)) << count;
    }
    EXPECT_EQ(answerOf(1, true).body, expected(1));
}

TEST_F(JsonAnswers, ShareTheFileOfAnEqualAnswer)
{
    AnswerFiles files(800);
    const auto scratch = [this] { return openScratch(context.scratchFolder); };
    const auto first = files.keep(1, "a", scratch(), 100);
    EXPECT_EQ(files.keep(1, "a", scratch(), 100), first);
    EXPECT_NE(files.keep(2, "b", scratch(), 100), first) << "each farm has its own limit";
}

TEST_F(JsonAnswers, RefusesAnAnswerIfAllFarmsHoldTooManyBytes)
{
    AnswerFiles files(800);
    const auto scratch = [this] { return openScratch(context.scratchFolder); };
    auto largest = files.keep(1, "a", scratch(), 700);
    const auto last = files.keep(2, "b", scratch(), 100);
    EXPECT_THROW(files.keep(3, "c", scratch(), 1), http::Problem);
    EXPECT_EQ(files.keep(3, "b", scratch(), 100), last) << "an equal answer needs no room";
    largest.reset();
    EXPECT_TRUE(files.keep(3, "c", scratch(), 100));
}

TEST_F(JsonAnswers, RefusesAnAnswerIfAFarmHoldsTooManyBytes)
{
    AnswerFiles files(800);
    const auto scratch = [this] { return openScratch(context.scratchFolder); };
    auto first = files.keep(1, "a", scratch(), 150); // the only answer may be larger
    EXPECT_THROW(files.keep(1, "b", scratch(), 1), http::Problem);
    first.reset();
    EXPECT_TRUE(files.keep(1, "b", scratch(), 100));
}

/** The database uses the reserve. Context::answersInMemory gives each farm 200 KiB. */
class JsonAnswersOnAFullDisk : public JsonAnswers
{
protected:
    static constexpr int fittingItems = 10000; // about 170 kB
    static constexpr long long mib = 1024LL * 1024;

    void SetUp() override
    {
        context.scratchReserve = &used;
        used.release();
    }

    DiskReserve used{folder.Path() / "used", 4 * mib};
};

TEST_F(JsonAnswersOnAFullDisk, AreInMemoryAndLeaveTheReserveAlone)
{
    http::Response response = answerOf(fittingItems);
    ASSERT_TRUE(response.source);
    EXPECT_EQ(bytesOf(loop, response), expected(fittingItems));
    EXPECT_EQ(used.heldBytes(), 3 * mib);
    EXPECT_TRUE(answerFiles.keep(1, "a", openScratch(context.scratchFolder), 100))
        << "an answer in memory takes no share of the disk";
}

TEST_F(JsonAnswersOnAFullDisk, ContinueInMemoryWhenTheDiskGetsFull)
{
    used.makeWhole();
    JsonAnswer answer(context, 1);
    answer.open({{"name", "a"}}, "numbers");
    for (int i = 0; i < fittingItems; ++i) {
        if (i == fittingItems - 10) {
            used.release();
        }
        answer.add({{"number", i}});
    }
    answer.close();
    http::Response response = answer.toResponse();
    EXPECT_EQ(bytesOf(loop, response), expected(fittingItems));
    EXPECT_EQ(used.heldBytes(), 3 * mib);
}

TEST_F(JsonAnswersOnAFullDisk, RefuseAnAnswerAboveTheShareOfAFarm)
{
    try {
        answerOf(manyItems);
        ADD_FAILURE() << "not refused";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOSPC);
    }
    auto held = std::make_optional(answerOf(fittingItems));
    EXPECT_THROW(answerOf(fittingItems - 1), http::Problem);
    held.reset();
    EXPECT_TRUE(answerOf(fittingItems - 1).source);
}

} // namespace
} // namespace kelvo::api
