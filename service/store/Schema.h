// The migration of an older database.
#pragma once

#include "service/store/SchemaSteps.h"

#include <span>

namespace soci {
class session;
}

namespace kelvo::store {

class Dialect;

/**
 * Migrates an older database by `steps`, in one transaction. Does not write to a current database.
 * A newer database stays as it is. Throws SchemaTooNew if a newer database does not allow programs
 * of this version. Throws SchemaInUse if an instance runs that could not use the schema of `steps`.
 */
void migrate(soci::session& sql, const Dialect& dialect,
             std::span<const SchemaStep> steps = schemaSteps());

/** As a program of an earlier version with the schema `version`. */
void migrate(soci::session& sql, const Dialect& dialect, int version);

} // namespace kelvo::store
