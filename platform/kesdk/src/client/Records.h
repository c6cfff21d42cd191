// What the service's replies and events say, as values.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace kesdk::impl {

// The console keeps ids in 32 bits: one that does not fit would be taken for another's there.
constexpr bool IsId(std::int64_t number)
{
    return number >= 1 && number <= std::numeric_limits<std::int32_t>::max();
}

struct UserRecord
{
    std::int64_t id = 0;
    std::wstring name;
};

struct FileRecord
{
    std::int64_t id = 0;
    std::int64_t containerId = 0;
    std::wstring name; // as it came: unfit for a path until checked
    std::int64_t sizeBytes = 0;
    std::string sha256Hex;
    std::string etag; // with its quotes

    bool operator==(const FileRecord& other) const
    {
        return id == other.id && containerId == other.containerId && name == other.name &&
               sizeBytes == other.sizeBytes && sha256Hex == other.sha256Hex && etag == other.etag;
    }
};

struct InboxRecord
{
    std::int64_t id = 0;
    std::int64_t projectId = 0;
    std::wstring name;
    std::int64_t ownerUserId = 0;
    std::vector<FileRecord> entries; // none when the user may not read them
};

struct ProjectRecord
{
    std::int64_t id = 0;
    std::wstring name;
    std::vector<InboxRecord> inboxes;
};

struct AccountRecord
{
    UserRecord user;
    std::string cursor; // the newest event that is contained
    std::vector<ProjectRecord> projects;
};

struct LoginRecord
{
    std::string token;
    UserRecord user;
};

// Exactly one of them is set.
struct ResourceRecord
{
    std::optional<ProjectRecord> project;
    std::optional<InboxRecord> inbox;
    std::optional<FileRecord> file;
};

// Where an upload stands. `files` is set once it is complete.
struct UploadRecord
{
    std::string location;
    std::int64_t offsetBytes = 0;
    bool isComplete = false;
    bool isRepeated = false; // it was complete before the request came
    std::string reprDigest;
    std::vector<std::int64_t> fileIds;
    std::vector<FileRecord> files;
};

enum class EAccountEvent {
    eFileAdded,
    eFileRemoved,
    eInboxAdded,
    eSessionEnded,
    eOther,      // of no concern to this console
    eUnreadable, // of a known kind, but not as the service describes it
};

struct AccountEvent
{
    EAccountEvent kind = EAccountEvent::eOther;
    std::string id; // cursor to resume behind it; empty when it has none
    std::int64_t containerId = 0;
    FileRecord file;
    InboxRecord inbox;
    std::string reason;
};

} // namespace kesdk::impl
