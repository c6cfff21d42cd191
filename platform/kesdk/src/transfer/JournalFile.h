// Small files that describe a transfer to a restarted console.
#pragma once

#include "base/Failure.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace kesdk::impl {

// A journal is complete or does not exist: a digest in it shows that. No transfer fails because of
// a journal. It holds no secret; its mode is 0600.

// The text of a journal. Texts that are not UTF-8, such as a path, get replacement characters.
std::string ToJournalText(const nlohmann::json& document);

// Whether a journal survives a power cut, or only the end of the process.
enum class ESync { eYes, eNo };

// True: the journal and its name are written. False: there is no journal, or the journal from
// before. If the sync of the folder failed, the new journal may be there too.
bool WriteJournal(const std::string& path, const std::string& text, ESync sync = ESync::eYes);

// The text. eFileMissing: there is no journal. A torn journal is removed, and so is a file that is
// no journal. eFileUnreadable: the console cannot read the file now.
Result<std::string> ReadJournal(const std::string& path);

void RemoveJournal(const std::string& path);

// Whether the file is a journal, or the rest of a journal after a power cut.
bool IsJournalOrTorn(const std::string& path);

// Removes the journals with this suffix, and temporary files of WriteJournal, if they are too old.
// Does nothing while the clock is wrong.
void RemoveOldJournals(const std::string& folder, std::string_view suffix, std::int64_t nowS,
                       std::int64_t longestAgeS);

// Whether a journal, or a temporary file of WriteJournal, can have this name.
bool IsJournalName(std::string_view name, std::string_view suffix);

} // namespace kesdk::impl
