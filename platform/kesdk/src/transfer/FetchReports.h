// The files that the console has fetched and not yet reported.
#pragma once

#include "client/ApiClient.h"
#include "transfer/StaleFiles.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace kesdk::impl {

// The office wants to know which console has fetched a file. The console notes each fetch, and
// sends the notes together. With a folder, the notes of each account are in a journal, so they are
// sent after a restart too. At most 100 notes of an account are kept: a new note replaces the
// oldest.
//
// A service without such reports, or an account that must not send them, ends the reports of this
// object.
//
// Thread safety: safe. Errors: a note that cannot be written is kept in memory only.
class FetchReports
{
public:
    // `clock` is the caller's and outlives the object. Without a folder the notes are forgotten
    // with the object.
    FetchReports(std::string folder, const Clock& clock, WallClock wallTimeS);

    // `account`: ApiCall::serviceAndUser; without it nothing is noted. Blocks for the disk.
    void Note(const std::string& account, std::int64_t fileId);
    // The first call for an account reads its journal.
    bool HasAny(const std::string& account);
    // Sends the notes of the call's account in one request, which is tried once. Sends nothing
    // without notes. Notes stay after a failure that may pass.
    Failure Send(ApiClient& api, const ApiCall& call);

private:
    struct Fetch
    {
        std::int64_t fileId = 0;
        Clock::Time at;
    };
    using Fetches = std::vector<Fetch>;

    std::vector<FetchRecord> Records(const std::string& account);
    void Forget(const std::string& account, const std::vector<FetchRecord>& sent);
    // Both with the mutex held.
    Fetches& Of(const std::string& account);
    void Store(const std::string& account, const Fetches& fetches) const;

    Fetches Read(const std::string& account) const;
    std::string JournalPath(const std::string& account) const;

    const std::string m_folder;
    const Clock& m_clock;
    const WallClock m_wallTimeS;
    std::mutex m_mutex; // guards everything below
    std::map<std::string, Fetches> m_fetches;
    bool m_isRefused = false;
};

} // namespace kesdk::impl
