// The log's lines, and a reader that does not read them.
#include "service/base/Files.h"
#include "service/base/Log.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <array>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace kelvo {
namespace {

/** Replaces stderr by a pipe. */
class Logging : public testing::Test
{
protected:
    Logging()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        reader_ = FileDescriptor(ends[0]);
        const FileDescriptor writer(ends[1]);
        real_ = FileDescriptor(::dup(STDERR_FILENO));
        EXPECT_GE(::dup2(writer.get(), STDERR_FILENO), 0);
        startLog("info");
    }
    ~Logging() override { restoreStderr(); }

    /** All text that was logged. */
    std::string logged()
    {
        restoreStderr(); // closes the last writing end
        std::string all;
        std::array<char, 4096> part;
        for (ssize_t got = 0; (got = ::read(reader_.get(), part.data(), part.size())) > 0;) {
            all.append(part.data(), static_cast<std::size_t>(got));
        }
        return all;
    }

private:
    void restoreStderr()
    {
        if (real_) {
            ::dup2(real_.get(), STDERR_FILENO);
            real_.reset();
        }
    }

    FileDescriptor reader_;
    FileDescriptor real_;
};

TEST_F(Logging, DoesNotCutAShortLine)
{
    logError("went-wrong", "a \"detail\"");
    const auto line = nlohmann::json::parse(logged());
    EXPECT_EQ(line.at("event"), "went-wrong");
    EXPECT_EQ(line.at("level"), "error");
    EXPECT_EQ(line.at("detail"), "a \"detail\"");
    EXPECT_FALSE(line.contains("cut"));
}

TEST_F(Logging, CutsALineThatIsTooLongForAPipe)
{
    // Each control byte takes six bytes in the line.
    for (const char filler : {'x', '\x01'}) {
        logError("went-wrong", "begins " + std::string(64 * 1024, filler));
    }
    const std::string text = logged();
    std::size_t begin = 0;
    for (int count = 0; count < 2; ++count) {
        const std::size_t end = text.find('\n', begin);
        ASSERT_NE(end, std::string::npos);
        EXPECT_LT(end - begin, 4096U);
        const auto line = nlohmann::json::parse(text.substr(begin, end - begin));
        EXPECT_EQ(line.at("event"), "went-wrong");
        EXPECT_THAT(line.at("detail").get<std::string>(), testing::StartsWith("begins "));
        EXPECT_EQ(line.at("cut"), true);
        begin = end + 1;
    }
    EXPECT_EQ(begin, text.size());
}

TEST_F(Logging, CutsALongRequestMethod)
{
    const std::string method(16 * 1024, 'M');
    logRequest({method, "unmatched", 400, 0, 0, 0});
    const auto line = nlohmann::json::parse(logged());
    EXPECT_EQ(line.at("status"), 400);
    EXPECT_LT(line.dump().size(), 4096U);
}

TEST_F(Logging, DoesNotWaitForAReaderThatStalls)
{
    const std::string detail(64 * 1024, 'x');
    for (int line = 0; line < 100; ++line) {
        logError("went-wrong", detail); // the pipe takes 64 KiB of it
    }
    const std::string text = logged();
    EXPECT_LE(text.size(), 64U * 1024);
    EXPECT_EQ(text.back(), '\n') << "a line is cut";
}

} // namespace
} // namespace kelvo
