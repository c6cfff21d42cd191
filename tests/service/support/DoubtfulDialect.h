// A database whose commits can be told to fail after they are done.
#pragma once

#include "tests/service/support/DialectAround.h"

#include <soci/soci.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>

namespace kelvo::test {

/** Shared by a test and its database. Thread safe. */
struct Doubt
{
    std::atomic<bool> strikes{false}; // the next COMMIT stands, but is reported as failed
};

class DoubtfulDialect final : public DialectAround
{
public:
    DoubtfulDialect(std::unique_ptr<store::Dialect> real, std::shared_ptr<Doubt> doubt)
        : DialectAround(std::move(real)), doubt_(std::move(doubt))
    {}

    std::unique_ptr<soci::session> connect() const override
    {
        auto session = connectReally();
        session->set_query_transformation(
            [doubt = doubt_, raw = session.get()](const std::string& query) {
                if (query == "COMMIT" && doubt->strikes.exchange(false)) {
                    *raw << query;
                }
                return query; // after that one there is no transaction, so this one fails
            });
        return session;
    }

private:
    std::shared_ptr<Doubt> doubt_;
};

} // namespace kelvo::test
