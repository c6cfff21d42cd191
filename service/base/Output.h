// The results of a command on stdout.
#pragma once

#include <array>
#include <streambuf>
#include <system_error>

namespace kelvo {

/** Its text is for the user and has the system's reason. */
class OutputFailed : public std::system_error
{
public:
    explicit OutputFailed(std::error_code reason)
        : std::system_error(reason, "could not write the output")
    {}

    /** The reader has ended early, as `head` does: the command ends without a message. */
    bool isClosedPipe() const { return code() == std::errc::broken_pipe; }
};

/**
 * Lets std::cout throw OutputFailed when the output cannot be written. std::cout is unchanged again
 * after this object ends. The program must ignore SIGPIPE. Thread: main.
 */
class Output final : private std::streambuf
{
public:
    Output();
    ~Output() override; // writes the rest of a failed command, without a report
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /** Writes the rest. Call it at the end of each command. Throws OutputFailed. */
    void finish() { sync(); }

private:
    int_type overflow(int_type next) override;
    int sync() override;

    std::array<char, 4096> bytes_{};
    std::streambuf* const before_;
};

} // namespace kelvo
