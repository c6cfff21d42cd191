// Puts a whole data folder's content into the place of another.
#pragma once

#include "service/maintenance/Owner.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kelvo::maintenance {

/** Whether it is left where it is: the lock, what earlier restores put aside or left, what file
 * systems make. */
bool stays(const std::string& name);

/** Everything in the folder that does not stay. */
std::vector<std::filesystem::path> replaceable(const std::filesystem::path& folder);

/** A new folder in the data folder, for what is to come into it. What restores that were killed
 * left of such goes. */
std::filesystem::path makePart(const std::filesystem::path& folder);

/**
 * Moves what is there to replaced-TIME and the part's content into its place. Only renames, so it
 * takes neither room nor time. A failure leaves the folder as it was; a crash in between leaves a
 * mark, with which no service starts. Throws std::system_error.
 */
void swapIn(const std::filesystem::path& part, const std::filesystem::path& folder,
            const Owner& owner);

} // namespace kelvo::maintenance
