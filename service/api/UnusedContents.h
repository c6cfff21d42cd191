// Removes the contents of files that were deleted for good.
#pragma once

#include "service/content/ContentStore.h"
#include "service/content/DigestLocks.h"
#include "service/store/Database.h"

#include <string>
#include <vector>

namespace kelvo::api {

/**
 * Removes each of these contents that no file has any more. Blocks. Skips a content that a request
 * works on; the janitor removes it later. Errors: std::system_error, and the store's.
 */
void removeUnusedContents(store::Database& database, const content::ContentStore& contents,
                          content::DigestLocks& locks, const std::vector<std::string>& digests);

} // namespace kelvo::api
