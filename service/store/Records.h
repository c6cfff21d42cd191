// The rows of the database as values.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** Bound as long long: on some platforms the database library has no int64_t. */
using Id = long long;

constexpr Id largestId = 2147483647; // consoles store ids in 32 bits

enum class ERole : std::uint8_t { Operator, Office, Admin };

std::string toText(ERole role);
std::optional<ERole> roleFromText(const std::string& text);

struct Farm
{
    Id id = 0;
    std::string name;
};

struct User
{
    Id id = 0;
    std::optional<Farm> farm; // none for an admin
    std::string name;
    ERole role = ERole::Operator;
    bool disabled = false;

    Id farmId() const { return farm ? farm->id : 0; }
};

/** A session with its user. All times here are milliseconds since 1970 UTC. */
struct Session
{
    std::string tokenHash; // SHA-256 of the token, hexadecimal
    User user;
    long long expiresMs = 0;
    long long lastSeenMs = 0; // its last request, to a quarter of an hour
};

struct Project
{
    Id id = 0;
    std::string name;
};

struct Inbox
{
    Id id = 0;
    Id project = 0;
    std::string name;
    Id ownerId = 0;
    std::string ownerName;
};

struct File
{
    Id id = 0;
    Id inbox = 0;
    std::string name;
    long long sizeBytes = 0;
    std::string sha256; // hexadecimal
    long long createdMs = 0;
    Id senderId = 0; // 0: a file from before the senders were stored
    std::string senderName = {};
    std::string note = {}; // the sender's
};

struct BinnedFile
{
    File file;
    long long deletedMs = 0;
    std::string deletedBy;
};

/** The length of an upload whose client does not know the length yet. */
constexpr long long unknownLength = -1;

/** The value of Upload::concat for a part of another upload. */
inline constexpr const char* partialUpload = "partial";

struct Upload
{
    std::string id;
    Id farm = 0;
    Id user = 0;
    std::string key; // the idempotency key; empty: none
    std::string name;
    std::vector<Id> targets;
    long long lengthBytes = 0; // or unknownLength
    long long createdMs = 0;
    long long expiresMs = 0;
    bool finished = false;
    std::string metadata; // as the client sent it
    std::string concat; // partialUpload, or the parts of an upload made of other uploads, or empty
    // When finished:
    std::string sha256;
    std::vector<Id> files;
    std::vector<std::string> warnings;

    /** A part of another upload: it makes no files. */
    bool isPartial() const { return concat == partialUpload; }
    /** Made of other uploads: it takes no bytes. */
    bool isFinal() const { return !concat.empty() && !isPartial(); }
};

/**
 * One event of a farm's log. The owner and the farm's office get `fullData`, other users of the
 * farm get `commonData`. Empty data: the event is not sent.
 */
struct Event
{
    Id farm = 0;
    Id id = 0;
    std::string name;
    Id owner = 0; // 0: only the office gets fullData
    std::string fullData;
    std::string commonData;
    long long createdMs = 0;
};

/** One line of the audit trail. Ids are 0 and texts empty where there is nothing to tell. */
struct AuditEntry
{
    Id id = 0;
    long long atMs = 0;
    std::string action;
    std::string outcome; // "done", or how a login ended
    std::string address;
    Id actor = 0;
    std::string actorName;
    Id farm = 0;
    std::string objectKind; // "user", "file" and so on
    Id object = 0;
    std::string objectName;    // of a user only
    bool isOfAdmin = false;    // the actor is an administrator; not stored
    long long mostOfShare = 0; // the entries that its share may have; not stored
};

} // namespace kelvo::store
