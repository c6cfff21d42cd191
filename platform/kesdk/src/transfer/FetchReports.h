// The files that the console has fetched and unpacked, and not yet reported.
#pragma once

#include "client/ApiClient.h"
#include "transfer/FetchNote.h"
#include "transfer/StaleFiles.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kesdk::impl {

// The office wants to know which console has fetched and unpacked a file. The SDK notes each fetch,
// and sends the notes together. With a folder, the notes of each account are in a journal, so they
// are sent after a restart too.
//
//   noted ──► must be sent ──(sent with a success)──► forgotten
//                │    ▲
//             (sent) (new result)
//                ▼    │
//               waiting
//
// The result comes after the unpacking, perhaps in a later run. A download of the same file may
// have a success after an error. A file that is no archive never has a result.
// A note waits for seven days. At most 1000 notes of an account are kept: a new note replaces the
// oldest note that waits, or else the oldest note. A report removes the journals that were not
// written for 30 days.
//
// Thread safety: safe. Errors: a note that cannot be written is kept in memory only. A journal that
// cannot be read now is kept, and each call tries to read it again.
class FetchReports
{
public:
    // `clock` is the caller's and outlives the object. `asleep`: how long the console has slept,
    // which `clock` does not count. `ageClock`: for the age of journals. Without a folder the notes
    // are forgotten with the object.
    FetchReports(std::string folder, const Clock& clock, WallClock wallTimeS, WallClock ageClock,
                 std::function<std::chrono::milliseconds()> asleep);

    // `account`: ApiCall::account; without it nothing is noted. `path` is the fetched file.
    // If no file is there, the note does not wait for a result. Writes the journal without a sync:
    // it survives the end of the process, not always a power cut.
    void Note(const std::string& account, std::int64_t fileId, const std::string& path = {});
    // Adds a result to the note of the file that is at `path`. The note may be of any account. The
    // path must still have the file that was fetched: the result of another file is ignored.
    // `errorUtf8` is null if the file is unpacked.
    void NoteUnpacking(const char* path, const char* errorUtf8);
    // Whether there are notes to send. The first call for an account reads its journal.
    bool HasAny(const std::string& account);
    // Sends the oldest notes of the call's account, about 2 KB, in one request, which is tried
    // once. Sends nothing without notes. Notes stay after a failure, unless the service will not
    // take them later either.
    Failure Send(ApiClient& api, const ApiCall& call);

private:
    using Fetches = std::vector<FetchNote>;
    struct Notes
    {
        Fetches fetches;
        bool hasJournal = false; // the notes of the journal are in `fetches`
    };

    std::vector<FetchRecord> Records(const std::string& account);
    void TakeAsSent(const std::string& account, const std::vector<FetchRecord>& sent);
    // Both with the mutex held.
    Notes& Of(const std::string& journal);
    void Store(const std::string& journal, const Notes& notes) const;

    // Has no value if the journal cannot be read now.
    std::optional<Fetches> Read(const std::string& journal) const;
    std::string PathOf(const std::string& journal) const { return m_folder + '/' + journal; }
    Clock::Time Steady() const { return m_clock.Now() + m_asleep(); }
    TwoClocks Now() const { return {Steady(), m_wallTimeS()}; }

    const std::string m_folder;
    const Clock& m_clock;
    const WallClock m_wallTimeS;
    const WallClock m_ageClock;
    const std::function<std::chrono::milliseconds()> m_asleep;
    std::mutex m_mutex;                   // guards everything below
    std::map<std::string, Notes> m_notes; // by the name of their journal
};

} // namespace kesdk::impl
