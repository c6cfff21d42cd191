// The differences between databases: connecting, transactions, error codes.
#pragma once

#include "service/store/NoticeSource.h"
#include "service/store/Scope.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace soci {
class session;
}

namespace kelvo::store {

/** When a commit is on the disk. */
enum class EDurability : std::uint8_t {
    Now,   // when the commit returns
    Later, // at the latest with the next commit of the kind Now
};

/** A transaction of Dialect::beginWrite(). */
struct WriteStart
{
    std::string transaction; // its id, for commit()
    Scopes scopes;           // whose locks it has
};

/**
 * One kind of database. Thread safe. The functions with a body are for databases with one instance,
 * whose connections are never lost.
 */
class Dialect
{
public:
    virtual ~Dialect() = default;

    virtual std::unique_ptr<soci::session> connect() const = 0;

    /** Begins a transaction that reads one consistent state. */
    virtual const char* beginRead() const = 0;

    /** The largest number of connections that write at the same time. */
    virtual unsigned writers() const { return 1; }

    /**
     * Begins a transaction that may write. It takes the locks of its scopes at once, so no other
     * transaction changes their rows until the commit. If other transactions keep some locks for
     * too long, it takes only the locks that are free. Throws StoreBusy if it gets no lock.
     */
    virtual WriteStart beginWrite(soci::session& sql, const Scopes& scopes) const = 0;

    /**
     * Commits a transaction of beginWrite() and sends `notice` to the other instances, unless it is
     * empty. Throws CommitInDoubt if the changes may be committed or not. After other errors they
     * are not.
     */
    virtual void commit(soci::session& sql, const std::string& transaction,
                        const std::string& notice) const;

    /** Whether the connection can run another transaction. */
    virtual bool isUsable(soci::session& sql) const;

    /**
     * From now on this connection relies on the database as a program with the schema `own`. With
     * `oldest`, call in a transaction of beginWrite(): throws SchemaInUse while an instance with a
     * schema below `oldest` relies on the database.
     */
    virtual void relyOnSchema(soci::session& sql, int own, int oldest) const;

    /**
     * The statement that sets the durability of the connection's next transactions. Null: each
     * commit is on the disk when it returns.
     */
    virtual const char* setDurability(EDurability durability) const = 0;

    /** Null: there are no other instances. Blocks. */
    virtual std::unique_ptr<NoticeSource> listen() const { return nullptr; }

    /** The time of day of a database server, in milliseconds since 1970. None: no server. */
    virtual std::optional<long long> serverTimeMs(soci::session& sql) const;

    /** The size of a server's database. None: no server. */
    virtual std::optional<long long> serverSizeBytes(soci::session& sql) const;

    /**
     * Throws the store's own error for an exception of a statement or a commit. Returns if there is
     * none.
     */
    virtual void translate(const std::exception& error) const = 0;

    /**
     * Call in a catch block: throws the exception as one of the store's errors, or unchanged. The
     * text of a database error holds no values, because values are names, keys and password hashes
     * and the text is logged.
     */
    [[noreturn]] void rethrow(const std::exception& error) const;
};

/**
 * For a database's message about a unique constraint: throws NotUnique if callers choose the
 * values. Returns if they do not: then the service is at fault.
 */
void throwIfNotUnique(std::string_view message);

/**
 * A program sets application_name to it for a transaction in which a statement may take longer than
 * the limits of the service. PostgreSQL tells the program the name that is in force.
 */
inline constexpr const char* unlimitedWork = "kelvo-service: long work";

/**
 * The service's database file, with a write-ahead log and every commit synced. On a file system
 * without shared memory it keeps a rollback journal: the log gets a warning, and commits may wait
 * for readers. Only the service's writer may write to it.
 */
std::unique_ptr<Dialect> makeSqlite(const std::string& file);

/** A copy of the database that no service uses. It stays one file with a rollback journal. */
std::unique_ptr<Dialect> makeSqliteCopy(const std::string& file);

/**
 * A database on a PostgreSQL server, which several instances may use. `url` is
 * postgresql://HOST/DATABASE?PARAMETERS. Over TCP the server's certificate is verified. Loads the
 * module for PostgreSQL. Throws std::runtime_error if the module is missing or if the URL is wrong
 * or has a password. Does not connect.
 */
std::unique_ptr<Dialect> makePostgresql(const std::string& url);

} // namespace kelvo::store
