// The service's answers and events as values.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace kesdk::impl {

// The console keeps ids in 32 bits: a larger id would name another file there.
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
    std::wstring name; // the service's text: check it before it becomes part of a path
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
    std::vector<FileRecord> entries; // empty when the user may not read them
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
    std::string cursor; // the cursor of the newest event in this snapshot
    std::vector<ProjectRecord> projects;
};

struct LoginRecord
{
    std::string token;
    UserRecord user;
};

using ResourceRecord = std::variant<ProjectRecord, InboxRecord, FileRecord>;

// Without this, a record would be copied into a ResourceRecord first.
template <class Record>
std::int64_t IdOf(const Record& record)
{
    return record.id;
}
inline std::int64_t IdOf(const ResourceRecord& record)
{
    return std::visit([](const auto& known) { return known.id; }, record);
}

// An upload as one answer describes it.
struct UploadRecord
{
    std::string location;
    std::int64_t offsetBytes = 0;
    std::string reprDigest;        // empty until the upload is complete
    std::vector<FileRecord> files; // the complete upload's, if the answer had its records
};

// A file that the console has fetched, as it reports it.
struct FetchRecord
{
    std::int64_t fileId = 0;
    std::int64_t ageS = 0; // since the digest was verified
    // The result of the unpacking. If both are empty, the console does not know the result. The
    // error has at most 255 characters. An unpacked file may have the error of an earlier attempt.
    std::optional<std::int64_t> unpackedAgeS; // at most ageS
    std::string unpackErrorUtf8;
};

enum class EAccountEvent {
    eFileAdded,
    eFileRemoved,
    eInboxAdded,
    eSessionEnded,
    eOther,      // without meaning for this console
    eUnreadable, // a known kind whose data are not as the service describes them
};

struct AccountEvent
{
    EAccountEvent kind = EAccountEvent::eOther;
    std::string id; // cursor to resume behind this event; may be empty
    FileRecord file;
    InboxRecord inbox;
};

} // namespace kesdk::impl
