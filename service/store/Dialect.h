// Where the databases differ: connecting, transactions, error codes.
#pragma once

#include <memory>
#include <string>

namespace soci {
class session;
}

namespace kelvo::store {

/** One kind of database. Stateless; thread safe. */
class Dialect
{
public:
    virtual ~Dialect() = default;

    virtual std::unique_ptr<soci::session> connect() const = 0;

    /** Begins a transaction that reads one consistent state. */
    virtual const char* beginRead() const = 0;

    /** Begins a transaction that may write; it must not fail later for having started as a reader.
     */
    virtual const char* beginWrite() const = 0;

    /** Throws the store's own error for what a statement or commit threw, if there is one; else
     * returns. */
    virtual void translate(const std::exception& error) const = 0;
};

/** A database file, with a rollback journal and every commit synced. */
std::unique_ptr<Dialect> makeSqlite(const std::string& file);

} // namespace kelvo::store
