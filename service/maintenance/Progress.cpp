#include "service/maintenance/Progress.h"

#include <cstdio>

#include <unistd.h>

namespace kelvo::maintenance {

namespace {

using namespace std::chrono_literals;

constexpr auto pause = 250ms;
constexpr double megabyte = 1e6;

} // namespace

Progress::Progress() : isShown_(::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress()
{
    clear();
}

void Progress::begin(const std::string& what, std::uint64_t items, std::uint64_t bytes)
{
    const std::lock_guard lock(mutex_);
    what_ = what;
    allItems_ = items;
    allBytes_ = bytes;
    items_ = 0;
    bytes_ = 0;
    show();
}

void Progress::add(std::uint64_t items, std::uint64_t bytes)
{
    const std::lock_guard lock(mutex_);
    items_ += items;
    bytes_ += bytes;
    if (std::chrono::steady_clock::now() - shown_ >= pause) {
        show();
    }
}

void Progress::show()
{
    if (!isShown_) {
        return;
    }
    shown_ = std::chrono::steady_clock::now();
    clear();
    std::fprintf(stderr, "%s: %llu", what_.c_str(), static_cast<unsigned long long>(items_));
    if (allItems_ > 0) {
        std::fprintf(stderr, " of %llu", static_cast<unsigned long long>(allItems_));
    }
    if (allBytes_ > 0) {
        std::fprintf(stderr, ", %.1f of %.1f MB", static_cast<double>(bytes_) / megabyte,
                     static_cast<double>(allBytes_) / megabyte);
    }
    std::fflush(stderr);
}

void Progress::clear() const
{
    if (isShown_) {
        std::fputs("\r\x1b[K", stderr); // to the begin of the line, which is then emptied
    }
}

} // namespace kelvo::maintenance
