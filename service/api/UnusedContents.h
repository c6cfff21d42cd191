// Removes the contents of files that were deleted for good.
#pragma once

#include "service/content/Contents.h"
#include "service/content/DigestLocks.h"
#include "service/store/Database.h"

#include <string>
#include <vector>

namespace kelvo::api {

/**
 * Removes each of these contents that no file has any more. Blocks. Skips a content that a request
 * works on; the clean-up removes it later. Errors: as Contents, and the database's.
 */
void removeUnusedContents(store::Database& database, content::Contents& contents,
                          content::DigestLocks& locks, const std::vector<std::string>& digests);

} // namespace kelvo::api
