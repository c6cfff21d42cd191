// A change that waits for its transaction, and what the transaction collects.
#pragma once

#include "service/store/Dialect.h"
#include "service/store/Notice.h"
#include "service/store/Records.h"
#include "service/store/Scope.h"

#include <exception>
#include <functional>
#include <vector>

namespace soci {
class session;
}

namespace kelvo::store {

/** The objects of a writing transaction. */
struct Transaction
{
    soci::session& sql;
    std::vector<Event> events;     // appended by addEvent(), published after the commit
    std::vector<AuditEntry> audit; // appended by addAudit(), stored before the commit
    Notice notice;                 // the ended sessions; the commit adds the farms of the events
};

/** A change that a caller waits for. */
struct Change
{
    Scope scope;
    EDurability durability = EDurability::Now;
    std::function<void(Transaction&)> run;
    std::function<void()> done; // afterwards the caller may destroy this object

    // The result of the last run:
    std::exception_ptr error;
    std::vector<Event> events;
    std::vector<AuditEntry> audit;
    Notice notice;
};

using Batch = std::vector<Change*>;

} // namespace kelvo::store
