// The differences between databases: connecting, transactions, error codes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace soci {
class session;
}

namespace kelvo::store {

/** When a commit is on the disk. */
enum class EDurability : std::uint8_t {
    Now,   // when the commit returns
    Later, // at the latest with the next commit of the kind Now
};

/** One kind of database. Thread safe. */
class Dialect
{
public:
    virtual ~Dialect() = default;

    virtual std::unique_ptr<soci::session> connect() const = 0;

    /** Begins a transaction that reads one consistent state. */
    virtual const char* beginRead() const = 0;

    /**
     * Begins a transaction that may write. It takes the write lock at once, so it cannot fail later
     * as an upgraded reader.
     */
    virtual const char* beginWrite() const = 0;

    /** The statement that sets the durability of the connection's next transactions. */
    virtual const char* setDurability(EDurability durability) const = 0;

    /**
     * Throws the store's own error for an exception of a statement or a commit. Returns if there is
     * none.
     */
    virtual void translate(const std::exception& error) const = 0;
};

/**
 * The service's database file, with a write-ahead log and every commit synced. On a file system
 * without shared memory it keeps a rollback journal: the log gets a warning, and commits may wait
 * for readers. Only the service's writer may write to it.
 */
std::unique_ptr<Dialect> makeSqlite(const std::string& file);

/** A copy of the database that no service uses. It stays one file with a rollback journal. */
std::unique_ptr<Dialect> makeSqliteCopy(const std::string& file);

} // namespace kelvo::store
