// What the store can refuse.
#pragma once

#include <stdexcept>
#include <string>

namespace kelvo::store {

/** The database was written by a newer version of the service. */
class SchemaTooNew : public std::runtime_error
{
public:
    SchemaTooNew() : std::runtime_error("the database has a newer schema than this version knows")
    {}
};

/** A name that must be unique is taken. Nothing was changed. */
class NameTaken : public std::runtime_error
{
public:
    NameTaken() : std::runtime_error("the name is taken") {}
};

/** A farm has used up its ids. */
class OutOfIds : public std::runtime_error
{
public:
    OutOfIds() : std::runtime_error("no ids are left") {}
};

/** A farm has as many consoles, or devices of them, as are kept. Nothing was changed. */
class TooManyReported : public std::runtime_error
{
public:
    TooManyReported() : std::runtime_error("the farm has too many consoles or devices") {}
};

/** The disk that holds the database is full. Nothing was changed; later attempts may succeed. */
class StorageFull : public std::runtime_error
{
public:
    StorageFull() : std::runtime_error("the database's disk is full") {}
};

/**
 * Somebody else, such as a backup, has kept the database for longer than is waited for. Nothing was
 * changed; later attempts may succeed.
 */
class StoreBusy : public std::runtime_error
{
public:
    StoreBusy() : std::runtime_error("the database is kept by somebody else") {}
};

/**
 * The database failed while it committed: the changes may stand or not. Whoever has to know looks
 * again; what the changes refer to must be left in place.
 */
class CommitInDoubt : public std::runtime_error
{
public:
    explicit CommitInDoubt(const std::string& what) : std::runtime_error(what) {}
};

} // namespace kelvo::store
