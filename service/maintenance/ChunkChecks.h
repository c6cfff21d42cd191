// Checks contents and uploads in a bucket, chunk by chunk.
#pragma once

#include "service/maintenance/StoreFiles.h"
#include "service/objects/Bucket.h"

#include <string>

namespace kelvo::maintenance {

/**
 * Both functions read all chunks from the bucket and compare their digests. They return what is
 * damaged; empty: nothing. Both block. Errors: RequestRefused, StoreUnavailable.
 */
std::string damageOfContent(soci::session& sql, objects::Bucket& bucket,
                            const WantedContent& content);
std::string damageOfUpload(soci::session& sql, objects::Bucket& bucket, const OpenUpload& upload);

} // namespace kelvo::maintenance
