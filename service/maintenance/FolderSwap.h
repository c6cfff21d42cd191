// Replaces the whole content of a data folder.
#pragma once

#include "service/maintenance/Owner.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kelvo::maintenance {

/**
 * Whether a restore leaves the entry in place: the lock, leftovers of earlier restores, entries of
 * the file system.
 */
bool stays(const std::string& name);

/** All entries in the folder that are not kept. */
std::vector<std::filesystem::path> replaceable(const std::filesystem::path& folder);

/**
 * Makes a new folder in the data folder for the new content. Removes such folders of killed
 * restores.
 */
std::filesystem::path makePart(const std::filesystem::path& folder);

/**
 * Moves the present content to replaced-TIME and the content of `part` into its place. Both are
 * renames, so the swap needs neither room nor time. A failure leaves the folder as it was. A crash
 * during the renames leaves a mark, and no service starts on a marked folder. Throws
 * std::system_error.
 */
void swapIn(const std::filesystem::path& part, const std::filesystem::path& folder,
            const Owner& owner);

} // namespace kelvo::maintenance
