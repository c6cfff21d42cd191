// Small files that tell a restarted console what it was about to do.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kesdk::impl {

// A journal is written whole or not at all, says by a digest whether it is whole, and can be done
// without: nobody fails because of it. It holds no secret; its mode is 0600.

// On the disk when it returns true. False: what stood there before still stands, or nothing does.
bool WriteJournal(const std::string& path, const std::string& text);

// What was written. What is torn, or was never a journal, is removed; what cannot be read now
// stays.
std::optional<std::string> ReadJournal(const std::string& path);

void RemoveJournal(const std::string& path);

// Whether that is a journal, or what a loss of power may have left of one.
bool WasToBeJournal(const std::string& path);

// The paths of the journals in the folder, by the end of their names.
std::vector<std::string> JournalsIn(const std::string& folder, std::string_view suffix);

// The paths of the journals in the folder, and of what was to become one, by the end of their
// names, which nobody has written to for long.
std::vector<std::string> StaleJournals(const std::string& folder, std::string_view suffix,
                                       std::int64_t nowS);

// Whether the name is one of those.
bool IsJournalName(std::string_view name, std::string_view suffix);

// Says that somebody goes on with what the journal is about.
void RenewJournal(const std::string& path);

} // namespace kesdk::impl
