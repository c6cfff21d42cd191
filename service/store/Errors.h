// The errors of the store.
#pragma once

#include <stdexcept>
#include <string>

namespace kelvo::store {

/** The schema is newer, and it does not allow this version of the service. */
class SchemaTooNew : public std::runtime_error
{
public:
    SchemaTooNew() : std::runtime_error("the database has a newer schema than this version can use")
    {}
};

/**
 * The schema is older, and instances use it that could not use the new schema. Nothing was changed.
 */
class SchemaInUse : public std::runtime_error
{
public:
    SchemaInUse()
        : std::runtime_error(
              "the database has an older schema, and instances of a version that cannot use the"
              " new schema run: stop them, then start this version")
    {}
};

/** A caller's name or key exists already. Nothing was changed. what() names it, for the caller. */
class NotUnique : public std::runtime_error
{
public:
    explicit NotUnique(const std::string& what) : std::runtime_error(what) {}
};

/** A farm has used up its ids. */
class OutOfIds : public std::runtime_error
{
public:
    OutOfIds() : std::runtime_error("no ids are left") {}
};

/** The caller's session ended after the request was authenticated. Nothing was changed. */
class SessionEnded : public std::runtime_error
{
public:
    SessionEnded() : std::runtime_error("the session has ended") {}
};

/** A farm has the largest number of consoles or devices. Nothing was changed. */
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
 * Another program, such as a backup, has locked the database for too long, or the database server
 * does not answer. Nothing was changed; later attempts may succeed.
 */
class StoreBusy : public std::runtime_error
{
public:
    explicit StoreBusy(const std::string& what = "another program locks the database")
        : std::runtime_error(what)
    {}
};

/** A text that not every database can store: it has the character NUL, or it is too long. */
class UnstorableText : public std::runtime_error
{
public:
    UnstorableText() : std::runtime_error("the database cannot store a text") {}
};

/** The service stops. Nothing was changed. */
class StoreClosed : public std::runtime_error
{
public:
    StoreClosed() : std::runtime_error("the database is closed") {}
};

/**
 * The database failed during a commit: the changes may be committed or not. Everything that the
 * changes refer to must be kept.
 */
class CommitInDoubt : public std::runtime_error
{
public:
    explicit CommitInDoubt(const std::string& what) : std::runtime_error(what) {}
};

} // namespace kelvo::store
