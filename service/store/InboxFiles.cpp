#include "service/store/InboxFiles.h"

#include "service/store/Bind.h"

namespace kelvo::store {

using soci::into;

namespace {

constexpr std::size_t mostNames = 100; // bounds the memory

// The index files_by_inbox has all these columns.
constexpr const char* selectInboxFiles =
    "SELECT id, inbox_id, name, size_bytes, sha256, created_ms, sender_id, note FROM files"
    " WHERE farm_id = :farm AND inbox_id = :inbox AND deleted_ms IS NULL ORDER BY id";

} // namespace

InboxFiles::InboxFiles(soci::session& sql, Id farm)
    : sql_(sql),
      farm_(farm),
      query_((sql.prepare << selectInboxFiles, into(row_.id), into(row_.inbox), into(row_.name),
              into(row_.sizeBytes), into(row_.sha256), into(row_.createdMs), into(row_.senderId),
              into(row_.note), use(farm_), use(inbox_)))
{}

void InboxFiles::each(Id inbox, const std::function<void(const File&)>& visit)
{
    inbox_ = inbox;
    query_.execute();
    while (query_.fetch()) {
        row_.senderName = senderName(row_.senderId);
        visit(row_);
    }
}

/** Reads each name once instead of joining it to each row: a farm has few senders. */
const std::string& InboxFiles::senderName(Id sender)
{
    if (senderNames_.size() == mostNames) {
        senderNames_.clear();
    }
    const auto [name, isNew] = senderNames_.try_emplace(sender);
    if (isNew && sender > 0) {
        sql_ << "SELECT name FROM users WHERE id = :id", into(name->second), use(sender);
    }
    return name->second;
}

} // namespace kelvo::store
