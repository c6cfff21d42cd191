// Many rounds of the plug-in's life in one process, and whether they leave anything behind.
#pragma once

#include "tests/e2e/TBelongings.h"
#include "tests/plugin/TLoadedPlugin.h"

#include <functional>

// Main thread. A service is within reach; the environment tells where (KELVO_API_HOST,
// KESDK_CA_FILE) and who logs in (KELVO_USER, KELVO_PASSWORD). KELVO_ROUND_COUNT is the number of
// rounds. The C library's allocator must be told to keep no caches of threads (GLIBC_TUNABLES):
// what lies in them counts as allocated.
class TRounds
{
public:
    // What is forgiven in all, for what settles late: with 100 rounds a small object in each of
    // them, with 1,000 not even one in every eighth.
    static constexpr double FORGIVEN_BYTES = 8000;

    // Each returns what went wrong; empty if nothing did.
    QString Load();
    // `round` finds the plug-in initialised and its worker listening; Finalise comes after it.
    // False from it ends the run.
    QString Run(int count, const std::function<bool(int)>& round);
    // Of the last run. What libraries that are not ours lose in each round may be forgiven.
    QString Growth(double forgivenBytesARound = 0) const;
    static QString GrowthOf(const TRoundRecord& record, double forgivenBytesARound);

    // 100 if nobody said otherwise. Fewer than 50 tell nothing of growth.
    static int Count();
    bool LogIn();
    TLoadedPlugin& Plugin() { return m_plugin; }
    const TRoundRecord& Record() const { return m_record; }

private:
    TLoadedPlugin m_plugin;
    TRoundRecord m_record;
};
