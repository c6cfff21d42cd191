// Small files that describe a transfer to a restarted console.
#pragma once

#include "base/Failure.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kesdk::impl {

// A journal is complete or does not exist: a digest in it shows that. No transfer fails because of
// a journal. It holds no secret; its mode is 0600.

// True: the journal and its name are on the disk. False: there is no journal, or the journal from
// before. If the sync of the folder failed, the new journal may be there too.
bool WriteJournal(const std::string& path, const std::string& text);

// The text. eFileMissing: there is no journal; a torn journal, or a file that is no journal, is
// removed. eFileUnreadable: the console cannot read the file now.
Result<std::string> ReadJournal(const std::string& path);

void RemoveJournal(const std::string& path);

// Whether the file is a journal, or the rest of a journal after a power cut.
bool IsJournalOrTorn(const std::string& path);

// The paths of the journals in the folder whose names end so.
std::vector<std::string> JournalsIn(const std::string& folder, std::string_view suffix);

// The same for journals, and for new files of WriteJournal, that are older than a week.
std::vector<std::string> StaleJournals(const std::string& folder, std::string_view suffix,
                                       std::int64_t nowS);

// Whether a journal, or a new file of WriteJournal, can have this name.
bool IsJournalName(std::string_view name, std::string_view suffix);

// Sets the date of the journal to now: its week begins again.
void RenewJournal(const std::string& path);

} // namespace kesdk::impl
