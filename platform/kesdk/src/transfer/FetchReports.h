// The files that the console has fetched and not yet reported.
#pragma once

#include "client/ApiClient.h"
#include "transfer/StaleFiles.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kesdk::impl {

// The office wants to know which console has fetched a file. The console notes each fetch, and
// sends the notes together. With a folder, the notes of each account are in a journal, so they are
// sent after a restart too. At most 1000 notes of an account are kept: a new note replaces the
// oldest.
//
// Thread safety: safe. Errors: a note that cannot be written is kept in memory only. A journal that
// cannot be read now is kept, and each call tries to read it again.
class FetchReports
{
public:
    // `clock` is the caller's and outlives the object. Without a folder the notes are forgotten
    // with the object.
    FetchReports(std::string folder, const Clock& clock, WallClock wallTimeS);

    // `account`: ApiCall::serviceAndUser; without it nothing is noted. Writes the journal without a
    // sync: it survives the end of the process, not always a power cut.
    void Note(const std::string& account, std::int64_t fileId);
    // The first call for an account reads its journal.
    bool HasAny(const std::string& account);
    // Sends the oldest notes of the call's account, at most 100, in one request, which is tried
    // once. Sends nothing without notes. Notes stay after a failure, unless the service will not
    // take them later either.
    Failure Send(ApiClient& api, const ApiCall& call);

private:
    struct Fetch
    {
        std::int64_t fileId = 0;
        Clock::Time at;
    };
    using Fetches = std::vector<Fetch>;
    struct Notes
    {
        Fetches fetches;
        bool hasJournal = false; // the notes of the journal are in `fetches`
    };

    std::vector<FetchRecord> Records(const std::string& account);
    void Forget(const std::string& account, const std::vector<FetchRecord>& sent);
    // Both with the mutex held.
    Notes& Of(const std::string& account);
    void Store(const std::string& account, const Notes& notes) const;

    // Has no value if the journal cannot be read now.
    std::optional<Fetches> Read(const std::string& account) const;
    std::string JournalPath(const std::string& account) const;

    const std::string m_folder;
    const Clock& m_clock;
    const WallClock m_wallTimeS;
    std::mutex m_mutex; // guards everything below
    std::map<std::string, Notes> m_notes;
};

} // namespace kesdk::impl
