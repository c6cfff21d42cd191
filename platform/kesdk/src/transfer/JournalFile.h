// Small files that tell a restarted console what it was about to do.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kesdk::impl {

// A journal is written whole or not at all, says by a digest whether it is whole, and can be done
// without: nobody fails because of it. It holds no secret; its mode is 0600.

// On the disk when it returns true. False: what stood there before still stands, or nothing does.
bool WriteJournal(const std::string& path, const std::string& text);

// What was written. What is torn, or was never a journal, is removed.
std::optional<std::string> ReadJournal(const std::string& path);

void RemoveJournal(const std::string& path);

// The paths of the journals in the folder, and of what became none, whose names end so and which
// are older than the service keeps an upload that nobody goes on with.
std::vector<std::string> StaleJournals(const std::string& folder, const std::string& suffix);

} // namespace kesdk::impl
