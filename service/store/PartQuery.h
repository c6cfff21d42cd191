// A SELECT whose conditions depend on which filters have a value.
#pragma once

#include "service/store/Bind.h"

#include <soci/soci.h>

#include <optional>
#include <string>

namespace kelvo::store {

/** Values and columns are bound by reference: they must outlive the query. */
class PartQuery
{
public:
    explicit PartQuery(soci::session& sql) : statement_(sql) {}

    /** The columns of a row, in their order. */
    template <class... Values>
    void into(Values&... columns)
    {
        (statement_.exchange(soci::into(columns)), ...);
    }

    /** `condition` has a parameter for each value, such as "farm_id = :farm". */
    template <class... Values>
    void where(const char* condition, const Values&... values)
    {
        where_ += where_.empty() ? " WHERE " : " AND ";
        where_ += condition;
        (statement_.exchange(use(values)), ...);
    }

    template <class Value>
    void filter(const std::optional<Value>& value, const char* condition)
    {
        if (value) {
            where(condition, *value);
        }
    }

    /** `most` 0: all rows. */
    void execute(const std::string& select, const std::string& order, const int& most)
    {
        if (most > 0) {
            statement_.exchange(use(most));
        }
        statement_.alloc();
        statement_.prepare(select + where_ + " ORDER BY " + order +
                           (most > 0 ? " LIMIT :most" : ""));
        statement_.define_and_bind();
        statement_.execute();
    }

    bool fetch() { return statement_.fetch(); }

private:
    soci::statement statement_;
    std::string where_;
};

} // namespace kelvo::store
