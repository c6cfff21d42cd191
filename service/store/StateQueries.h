// Questions about the whole database, for the operators of the service.
#pragma once

#include "service/store/Database.h"

namespace kelvo::store {

struct OpenUploads
{
    long long count = 0;
    long long lengthBytes = 0; // their whole lengths
};

long long countSessions(soci::session& sql);

/** All unfinished uploads together. */
OpenUploads openUploads(soci::session& sql);

/** Reads a row, writes it unchanged and commits. Throws if the database cannot do this. Blocks. */
void probe(Database& database);

} // namespace kelvo::store
