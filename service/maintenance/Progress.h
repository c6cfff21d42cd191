// The progress of a long command, on the operator's terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

namespace kelvo::maintenance {

/** One line on stderr, which changes a few times a second. Silent if stderr is no terminal. */
class Progress
{
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /** `what` is plural, such as "contents checked". Unknown totals are 0. */
    void begin(const std::string& what, std::uint64_t items = 0, std::uint64_t bytes = 0);

    /** Thread safe. */
    void add(std::uint64_t items, std::uint64_t bytes = 0);

    /** Removes the line, so that results can be printed. */
    void end() const { clear(); }

private:
    void show();
    void clear() const;

    const bool isShown_;
    std::mutex mutex_; // guards the next members
    std::string what_;
    std::uint64_t items_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t allItems_ = 0;
    std::uint64_t allBytes_ = 0;
    std::chrono::steady_clock::time_point shown_;
};

} // namespace kelvo::maintenance
