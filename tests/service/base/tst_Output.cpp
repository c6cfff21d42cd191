#include "service/base/Files.h"
#include "service/base/Output.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace kelvo {
namespace {

/** Puts another file in the place of stdout until it ends. */
class Redirected
{
public:
    explicit Redirected(const std::filesystem::path& path) : before_(::dup(STDOUT_FILENO))
    {
        ::dup2(openFile(path, O_WRONLY | O_CREAT).get(), STDOUT_FILENO);
    }
    ~Redirected() { ::dup2(before_.get(), STDOUT_FILENO); }

private:
    FileDescriptor before_;
};

TEST(Output, WritesEveryByteInItsOrder)
{
    const test::TempFolder folder;
    const auto file = folder.Path() / "out";
    std::string expected;
    {
        const Redirected redirected(file);
        Output output;
        for (int i = 0; i < 3000; ++i) {
            std::cout << i << (i % 7 == 0 ? "\n" : " ");
            expected += std::to_string(i) + (i % 7 == 0 ? "\n" : " ");
        }
        std::cout << std::string(10000, 'x') << 'y';
        output.finish();
    }
    EXPECT_EQ(readFile(file), expected + std::string(10000, 'x') + 'y');
}

TEST(Output, WritesTheRestOfACommandThatFails)
{
    const test::TempFolder folder;
    const auto file = folder.Path() / "out";
    {
        const Redirected redirected(file);
        const Output output;
        std::cout << "the first line\n";
    }
    EXPECT_EQ(readFile(file), "the first line\n");
}

TEST(Output, FailsWithTheReasonAtTheFirstByteThatHasNoRoom)
{
    const Redirected redirected("/dev/full");
    Output output;
    const std::string line(1000, 'x');
    int lines = 0;
    try {
        for (; lines < 100; ++lines) {
            std::cout << line;
        }
        ADD_FAILURE() << "all was written";
    } catch (const OutputFailed& failure) {
        EXPECT_EQ(failure.code(), std::errc::no_space_on_device);
        EXPECT_STREQ(failure.what(), "could not write the output: No space left on device");
        EXPECT_FALSE(failure.isClosedPipe());
    }
    EXPECT_LT(lines, 5);
    EXPECT_NO_THROW(output.finish()) << "the lost bytes are reported once";
    EXPECT_NO_THROW(std::cerr << std::flush);
}

} // namespace
} // namespace kelvo
