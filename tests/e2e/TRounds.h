// Initialises and finalises the plug-in many times in one process, and finds leaks.
#pragma once

#include "tests/e2e/TProcessUsage.h"
#include "tests/plugin/TLoadedPlugin.h"

#include <functional>

// Thread: main. Needs a running service. The environment gives its address (KELVO_API_HOST,
// KESDK_CA_FILE), the login (KELVO_USER, KELVO_PASSWORD) and the number of rounds
// (KELVO_ROUND_COUNT). GLIBC_TUNABLES must turn off the thread caches of the C library's allocator,
// because freed memory in these caches counts as allocated.
class TRounds
{
public:
    // The allowed growth of all rounds together, for late one-time allocations. In 100 rounds this
    // hides a leak of 80 bytes in each round, in 1,000 rounds a leak of 8 bytes in each round.
    static constexpr double ALLOWED_BYTES = 8000;

    // Load and Run return an error text, or an empty text on success.
    QString Load();
    // Each round calls Initialise, waits for the worker, calls `round`, then Finalise. A `round`
    // that returns false ends the run.
    QString Run(int count, const std::function<bool(int)>& round);
    // The figures of the last run if it has grown, else an empty text. `allowedBytesARound` is the
    // known leak of third-party libraries.
    QString Growth(double allowedBytesARound = 0) const;
    static QString GrowthOf(const TRoundRecord& record, double allowedBytesARound);

    // KELVO_ROUND_COUNT, or 100. At least 50: fewer rounds show no growth.
    static int Count();
    bool LogIn();
    TLoadedPlugin& Plugin() { return m_plugin; }
    const TRoundRecord& Record() const { return m_record; }

private:
    TLoadedPlugin m_plugin;
    TRoundRecord m_record;
};
