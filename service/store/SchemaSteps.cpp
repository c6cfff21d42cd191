#include "service/store/SchemaSteps.h"

#include <array>

namespace kelvo::store {

namespace {

// Ids come from counters in `farms` and `counters`, so no id is reused.
constexpr const char* firstSchema[] = {
    "CREATE TABLE counters (name VARCHAR(32) PRIMARY KEY, value BIGINT NOT NULL)",
    "INSERT INTO counters (name, value) VALUES ('farms', 0)",
    "INSERT INTO counters (name, value) VALUES ('users', 0)",

    "CREATE TABLE farms (id BIGINT PRIMARY KEY, name TEXT NOT NULL UNIQUE,"
    " last_resource BIGINT NOT NULL, last_event BIGINT NOT NULL, pruned_event BIGINT NOT NULL)",

    "CREATE TABLE users (id BIGINT PRIMARY KEY, farm_id BIGINT REFERENCES farms (id),"
    " name TEXT NOT NULL UNIQUE, role VARCHAR(16) NOT NULL, password_hash TEXT NOT NULL,"
    " disabled INTEGER NOT NULL, created_ms BIGINT NOT NULL)",

    "CREATE TABLE sessions (token_hash VARCHAR(64) PRIMARY KEY,"
    " user_id BIGINT NOT NULL REFERENCES users (id), created_ms BIGINT NOT NULL,"
    " expires_ms BIGINT NOT NULL)",
    "CREATE INDEX sessions_by_user ON sessions (user_id)",

    "CREATE TABLE projects (farm_id BIGINT NOT NULL REFERENCES farms (id), id BIGINT NOT NULL,"
    " name TEXT NOT NULL, PRIMARY KEY (farm_id, id), UNIQUE (farm_id, name))",

    "CREATE TABLE inboxes (farm_id BIGINT NOT NULL, id BIGINT NOT NULL,"
    " project_id BIGINT NOT NULL, owner_id BIGINT NOT NULL REFERENCES users (id),"
    " created_ms BIGINT NOT NULL, PRIMARY KEY (farm_id, id),"
    " UNIQUE (farm_id, project_id, owner_id),"
    " FOREIGN KEY (farm_id, project_id) REFERENCES projects (farm_id, id))",

    "CREATE TABLE files (farm_id BIGINT NOT NULL, id BIGINT NOT NULL, inbox_id BIGINT NOT NULL,"
    " name TEXT NOT NULL, size_bytes BIGINT NOT NULL, sha256 VARCHAR(64) NOT NULL,"
    " created_ms BIGINT NOT NULL, deleted_ms BIGINT, deleted_by TEXT,"
    " PRIMARY KEY (farm_id, id),"
    " FOREIGN KEY (farm_id, inbox_id) REFERENCES inboxes (farm_id, id))",
    "CREATE INDEX files_by_inbox ON files (farm_id, inbox_id)",
    "CREATE INDEX files_by_content ON files (sha256)",
    "CREATE INDEX files_by_deletion ON files (deleted_ms)",

    "CREATE TABLE uploads (id VARCHAR(64) PRIMARY KEY,"
    " farm_id BIGINT NOT NULL REFERENCES farms (id),"
    " user_id BIGINT NOT NULL REFERENCES users (id), idempotency_key VARCHAR(100),"
    " name TEXT NOT NULL, targets TEXT NOT NULL, length_bytes BIGINT NOT NULL,"
    " created_ms BIGINT NOT NULL, expires_ms BIGINT NOT NULL, finished INTEGER NOT NULL,"
    " sha256 VARCHAR(64) NOT NULL, files TEXT NOT NULL, warnings TEXT NOT NULL,"
    " UNIQUE (user_id, idempotency_key))",
    "CREATE INDEX uploads_by_expiry ON uploads (expires_ms)",

    "CREATE TABLE events (farm_id BIGINT NOT NULL REFERENCES farms (id), id BIGINT NOT NULL,"
    " name VARCHAR(32) NOT NULL, owner_id BIGINT NOT NULL, full_data TEXT NOT NULL,"
    " common_data TEXT NOT NULL, created_ms BIGINT NOT NULL, PRIMARY KEY (farm_id, id))",

    "CREATE TABLE environments (user_id BIGINT PRIMARY KEY REFERENCES users (id),"
    " document TEXT NOT NULL, received_ms BIGINT NOT NULL)",

    "CREATE TABLE devices (user_id BIGINT NOT NULL REFERENCES users (id),"
    " hardware_address TEXT NOT NULL, document TEXT NOT NULL, received_ms BIGINT NOT NULL,"
    " PRIMARY KEY (user_id, hardware_address))",

    "CREATE TABLE positions (user_id BIGINT NOT NULL REFERENCES users (id),"
    " number BIGINT NOT NULL, time_s BIGINT NOT NULL, latitude DOUBLE PRECISION NOT NULL,"
    " longitude DOUBLE PRECISION NOT NULL, hardware_address TEXT NOT NULL,"
    " received_ms BIGINT NOT NULL, PRIMARY KEY (user_id, number))",
    "CREATE INDEX positions_by_receipt ON positions (received_ms)",
};

// Reports belong to consoles instead of users: the existing reports of a user go to one console.
// consoles.last_event is the event of the console's last move; farms.last_event is the farm's
// newest event. The number of a farm's kept events is a column, because replaced events leave gaps
// between ids.
constexpr const char* consoles[] = {
    "CREATE TABLE consoles (id BIGINT PRIMARY KEY, farm_id BIGINT NOT NULL REFERENCES farms (id),"
    " identity TEXT NOT NULL, user_id BIGINT NOT NULL REFERENCES users (id),"
    " environment TEXT NOT NULL, environment_ms BIGINT NOT NULL, last_number BIGINT NOT NULL,"
    " last_event BIGINT NOT NULL, UNIQUE (farm_id, identity))",
    "INSERT INTO consoles (id, farm_id, identity, user_id, environment, environment_ms,"
    " last_number, last_event)"
    " SELECT ROW_NUMBER() OVER (ORDER BY u.id), u.farm_id, 'user:' || CAST(u.id AS TEXT), u.id,"
    " COALESCE(e.document, ''), COALESCE(e.received_ms, 0),"
    " COALESCE((SELECT MAX(p.number) FROM positions p WHERE p.user_id = u.id), 0), 0"
    " FROM users u LEFT JOIN environments e ON e.user_id = u.id WHERE u.farm_id IS NOT NULL"
    " AND (e.user_id IS NOT NULL OR EXISTS (SELECT 1 FROM devices d WHERE d.user_id = u.id)"
    " OR EXISTS (SELECT 1 FROM positions p WHERE p.user_id = u.id))",
    "INSERT INTO counters (name, value) SELECT 'consoles', COUNT(*) FROM consoles",

    "CREATE TABLE console_devices (console_id BIGINT NOT NULL REFERENCES consoles (id),"
    " hardware_address TEXT NOT NULL, document TEXT NOT NULL, received_ms BIGINT NOT NULL,"
    " PRIMARY KEY (console_id, hardware_address))",
    "INSERT INTO console_devices (console_id, hardware_address, document, received_ms)"
    " SELECT c.id, d.hardware_address, d.document, d.received_ms FROM devices d"
    " JOIN consoles c ON c.user_id = d.user_id",

    "CREATE TABLE track (console_id BIGINT NOT NULL REFERENCES consoles (id),"
    " number BIGINT NOT NULL, user_id BIGINT NOT NULL REFERENCES users (id),"
    " time_s BIGINT NOT NULL, latitude DOUBLE PRECISION NOT NULL,"
    " longitude DOUBLE PRECISION NOT NULL, received_ms BIGINT NOT NULL,"
    " PRIMARY KEY (console_id, number))",
    "INSERT INTO track (console_id, number, user_id, time_s, latitude, longitude, received_ms)"
    " SELECT c.id, p.number, p.user_id, p.time_s, p.latitude, p.longitude, p.received_ms"
    " FROM positions p JOIN consoles c ON c.user_id = p.user_id",
    "CREATE INDEX track_by_receipt ON track (received_ms)",

    "DROP TABLE environments",
    "DROP TABLE devices",
    "DROP TABLE positions",
    "ALTER TABLE sessions ADD COLUMN console_id BIGINT REFERENCES consoles (id)",

    "ALTER TABLE farms ADD COLUMN kept_events BIGINT NOT NULL DEFAULT 0",
    "UPDATE farms SET kept_events ="
    " (SELECT COUNT(*) FROM events e WHERE e.farm_id = farms.id)",
};

// A session keeps its own environment, because the console's may come from another session.
constexpr const char* sessionEnvironments[] = {
    "ALTER TABLE sessions ADD COLUMN environment TEXT NOT NULL DEFAULT ''",
    "ALTER TABLE sessions ADD COLUMN environment_ms BIGINT NOT NULL DEFAULT 0",
};

// The latest time in an older database is the latest time that the service has seen.
constexpr const char* clockRecords[] = {
    "CREATE TABLE clock (seen_ms BIGINT NOT NULL, trusted_ms BIGINT NOT NULL,"
    " wait_s BIGINT NOT NULL)",
    "INSERT INTO clock (seen_ms, trusted_ms, wait_s) SELECT COALESCE(MAX(newest), 0), 0, 0 FROM"
    " (SELECT MAX(created_ms) AS newest FROM users"
    " UNION ALL SELECT MAX(created_ms) FROM sessions"
    " UNION ALL SELECT MAX(created_ms) FROM files"
    " UNION ALL SELECT MAX(deleted_ms) FROM files"
    " UNION ALL SELECT MAX(created_ms) FROM uploads"
    " UNION ALL SELECT MAX(created_ms) FROM events"
    " UNION ALL SELECT MAX(received_ms) FROM track) AS times",
};

// The columns of the tus extensions. Uploads from before have no metadata to return.
constexpr const char* uploadExtensions[] = {
    "ALTER TABLE uploads ADD COLUMN metadata TEXT NOT NULL DEFAULT ''",
    "ALTER TABLE uploads ADD COLUMN concat TEXT NOT NULL DEFAULT ''",
};

// The networks from which a user has logged in; failed logins of strangers do not delay logins from
// these networks.
constexpr const char* loginPlaces[] = {
    "CREATE TABLE login_places (user_id BIGINT NOT NULL REFERENCES users (id),"
    " network VARCHAR(64) NOT NULL, last_ms BIGINT NOT NULL, PRIMARY KEY (user_id, network))",
};

// The audit trail has no references: it outlives users and farms.
constexpr const char* auditTrail[] = {
    "CREATE TABLE audit (id BIGINT PRIMARY KEY, at_ms BIGINT NOT NULL,"
    " action VARCHAR(32) NOT NULL, outcome VARCHAR(16) NOT NULL, address VARCHAR(64) NOT NULL,"
    " actor_id BIGINT NOT NULL, actor_name TEXT NOT NULL, farm_id BIGINT NOT NULL,"
    " object_kind VARCHAR(16) NOT NULL, object_id BIGINT NOT NULL, object_name TEXT NOT NULL)",
    "CREATE INDEX audit_by_farm ON audit (farm_id, id)",
    "CREATE INDEX audit_by_time ON audit (at_ms)",
    "CREATE INDEX audit_by_actor ON audit (actor_id)",
    "CREATE INDEX audit_by_object ON audit (object_kind, object_id)",
    "INSERT INTO counters (name, value) VALUES ('audit', 0)",
};

// A deleted user's row stays, because ids are never reused.
constexpr const char* managedAccounts[] = {
    "ALTER TABLE users ADD COLUMN deleted_ms BIGINT",
    "ALTER TABLE sessions ADD COLUMN address VARCHAR(64) NOT NULL DEFAULT ''",
    "ALTER TABLE sessions ADD COLUMN last_seen_ms BIGINT NOT NULL DEFAULT 0",
    "CREATE INDEX track_by_user ON track (user_id, console_id, number)",
};

// The counters are columns, because an upload must not have to add up all files of its farm.
constexpr const char* quotas[] = {
    "ALTER TABLE farms ADD COLUMN files BIGINT NOT NULL DEFAULT 0",
    "ALTER TABLE farms ADD COLUMN bytes BIGINT NOT NULL DEFAULT 0",
    "ALTER TABLE users ADD COLUMN files BIGINT NOT NULL DEFAULT 0",
    "ALTER TABLE users ADD COLUMN bytes BIGINT NOT NULL DEFAULT 0",
    "UPDATE farms SET files = (SELECT COUNT(*) FROM files f WHERE f.farm_id = farms.id),"
    " bytes = (SELECT COALESCE(SUM(f.size_bytes), 0) FROM files f WHERE f.farm_id = farms.id)",
    "UPDATE users SET"
    " files = (SELECT COUNT(*) FROM inboxes i JOIN files f ON f.farm_id = i.farm_id"
    " AND f.inbox_id = i.id WHERE i.owner_id = users.id),"
    " bytes = (SELECT COALESCE(SUM(f.size_bytes), 0) FROM inboxes i"
    " JOIN files f ON f.farm_id = i.farm_id AND f.inbox_id = i.id WHERE i.owner_id = users.id)",
    "CREATE TABLE quotas (farm_id BIGINT NOT NULL REFERENCES farms (id),"
    " scope VARCHAR(16) NOT NULL, name VARCHAR(32) NOT NULL, value BIGINT NOT NULL,"
    " PRIMARY KEY (farm_id, scope, name))",
    "CREATE INDEX uploads_open ON uploads (farm_id, user_id) WHERE finished = 0",
    "CREATE INDEX users_by_farm ON users (farm_id)",
};

// An upload without a length holds room in the quotas for the bytes that it may have.
constexpr const char* heldBytes[] = {
    "ALTER TABLE uploads ADD COLUMN held_bytes BIGINT NOT NULL DEFAULT 0",
};

// With thousands of farms no query of an inbox or a bin may walk the files of a farm.
constexpr const char* fileIndexes[] = {
    "DROP INDEX files_by_inbox",
    "CREATE INDEX files_by_inbox ON files (farm_id, inbox_id, id)",
    "CREATE INDEX files_in_bin ON files (farm_id, inbox_id) WHERE deleted_ms IS NOT NULL",
};

// Each list is read in the order of an index, so that no row is sorted in memory.
constexpr const char* listOrders[] = {
    "CREATE INDEX files_in_bin_order ON files (farm_id, deleted_ms DESC, id)"
    " WHERE deleted_ms IS NOT NULL",
    "CREATE INDEX consoles_by_farm ON consoles (farm_id, id)",
    "DROP INDEX users_by_farm",
    "CREATE INDEX users_by_farm ON users (farm_id, id)",
};

// The entries of a share are numbered without gaps, so that the oldest entry above the limit is
// found without counting. The shares are those of EAuditShare.
constexpr const char* auditShares[] = {
    "ALTER TABLE audit ADD COLUMN share INTEGER NOT NULL DEFAULT 0",
    "ALTER TABLE audit ADD COLUMN number BIGINT NOT NULL DEFAULT 0",
    "UPDATE audit SET share = CASE WHEN actor_id = 0 THEN 2 ELSE 1 END WHERE outcome <> 'done'",
    "UPDATE audit SET number = numbered.n FROM (SELECT id, ROW_NUMBER() OVER"
    " (PARTITION BY farm_id, share ORDER BY id) AS n FROM audit) AS numbered"
    " WHERE numbered.id = audit.id",
    "CREATE INDEX audit_by_share ON audit (farm_id, share, number)",
    "CREATE TABLE audit_shares (farm_id BIGINT NOT NULL, share INTEGER NOT NULL,"
    " last_number BIGINT NOT NULL, PRIMARY KEY (farm_id, share))",
    "INSERT INTO audit_shares (farm_id, share, last_number)"
    " SELECT farm_id, share, MAX(number) FROM audit GROUP BY farm_id, share",
};

// A fetch names a user without a reference: a user's row goes only with the whole farm.
constexpr const char* fetches[] = {
    "CREATE TABLE fetches (farm_id BIGINT NOT NULL, file_id BIGINT NOT NULL,"
    " console_id BIGINT NOT NULL REFERENCES consoles (id) ON DELETE CASCADE,"
    " user_id BIGINT NOT NULL, fetched_ms BIGINT NOT NULL, unpacked_ms BIGINT NOT NULL,"
    " unpack_error TEXT NOT NULL, PRIMARY KEY (farm_id, file_id, console_id),"
    " FOREIGN KEY (farm_id, file_id) REFERENCES files (farm_id, id) ON DELETE CASCADE)",
    "CREATE INDEX fetches_by_console ON fetches (console_id)",
};

// As for listOrders.
constexpr const char* sessionOrder[] = {
    "DROP INDEX sessions_by_user",
    "CREATE INDEX sessions_by_user ON sessions (user_id, created_ms, token_hash)",
};

// The result of an upload goes with its first file. So the quota of files also limits the results.
// The cast reads the first id of the list.
constexpr const char* uploadResults[] = {
    "ALTER TABLE uploads ADD COLUMN first_file BIGINT NOT NULL DEFAULT 0",
    "UPDATE uploads SET first_file = CAST(files AS BIGINT) WHERE finished = 1",
    "DELETE FROM uploads WHERE finished = 1 AND NOT EXISTS (SELECT 1 FROM files f"
    " WHERE f.farm_id = uploads.farm_id AND f.id = uploads.first_file)",
    "CREATE INDEX uploads_by_file ON uploads (farm_id, first_file)",
    "DROP INDEX uploads_by_expiry",
    "CREATE INDEX uploads_by_expiry ON uploads (expires_ms) WHERE finished = 0",
    "CREATE INDEX upload_results_by_expiry ON uploads (expires_ms)"
    " WHERE finished = 1 AND idempotency_key IS NULL",
};

// The clean-up asks which consoles have a session.
constexpr const char* sessionsOfConsoles[] = {
    "CREATE INDEX sessions_by_console ON sessions (console_id)",
};

// An empty name: the data folder. Otherwise a folder or a bucket; ContentsPlace has the names.
constexpr const char* contentsPlaces[] = {
    "CREATE TABLE contents_place (place TEXT NOT NULL)",
    "INSERT INTO contents_place (place) VALUES ('')",
};

// A sender has no reference: a user's row goes only with the whole farm.
constexpr const char* senders[] = {
    "ALTER TABLE files ADD COLUMN sender_id BIGINT NOT NULL DEFAULT 0",
    "ALTER TABLE files ADD COLUMN note TEXT NOT NULL DEFAULT ''",
};

// A deleted farm's rows are removed in steps. The names in its audit trail are removed up to
// cleaned_audit. The indexes find the rows that refer to a removed user.
constexpr const char* deletedFarms[] = {
    "ALTER TABLE farms ADD COLUMN deleted_ms BIGINT",
    "ALTER TABLE farms ADD COLUMN cleaned_audit BIGINT NOT NULL DEFAULT 0",
    "CREATE INDEX inboxes_by_owner ON inboxes (owner_id)",
    "CREATE INDEX consoles_by_user ON consoles (user_id)",
};

constexpr const char* contentsMarkers[] = {
    "ALTER TABLE contents_place ADD COLUMN marker TEXT NOT NULL DEFAULT ''",
};

// While a one-machine service moves into this database, the source of the move.
constexpr const char* moves[] = {
    "ALTER TABLE contents_place ADD COLUMN moving_from TEXT NOT NULL DEFAULT ''",
};

// A list of files is read from this index alone. The rows of an inbox are side by side there, and
// far apart in the table.
constexpr const char* fileLists[] = {
    "DROP INDEX files_by_inbox",
    "CREATE INDEX files_by_inbox ON files (farm_id, inbox_id, id, deleted_ms, name, size_bytes,"
    " sha256, created_ms, sender_id, note)",
};

// The oldest program that can use the schema.
constexpr const char* oldestPrograms[] = {
    "ALTER TABLE schema_version ADD COLUMN oldest INTEGER NOT NULL DEFAULT 0",
};

/** A released step is never changed; new steps are added. */
constexpr std::array migrations{
    SchemaStep{firstSchema},
    SchemaStep{consoles},
    SchemaStep{sessionEnvironments},
    SchemaStep{clockRecords},
    SchemaStep{uploadExtensions},
    SchemaStep{loginPlaces},
    SchemaStep{auditTrail},
    SchemaStep{managedAccounts},
    SchemaStep{quotas},
    SchemaStep{heldBytes},
    SchemaStep{fileIndexes},
    SchemaStep{listOrders},
    SchemaStep{auditShares},
    SchemaStep{fetches},
    SchemaStep{sessionOrder},
    SchemaStep{uploadResults},
    SchemaStep{sessionsOfConsoles},
    SchemaStep{contentsPlaces},
    SchemaStep{senders},
    SchemaStep{deletedFarms},
    SchemaStep{contentsMarkers},
    SchemaStep{moves},
    SchemaStep{fileLists},
    SchemaStep{oldestPrograms},
};

} // namespace

std::span<const SchemaStep> schemaSteps()
{
    return migrations;
}

int currentSchema()
{
    return static_cast<int>(migrations.size());
}

} // namespace kelvo::store
