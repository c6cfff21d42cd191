// A database whose next commit succeeds, but is reported as failed.
#pragma once

#include "tests/service/support/DialectAround.h"

#include <soci/soci.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>

namespace kelvo::test {

/** Shared by a test and its database. Thread safe. */
struct CommitFault
{
    std::atomic<bool> failNext{false}; // the next COMMIT succeeds, but is reported as failed
};

class FaultyCommitDialect final : public DialectAround
{
public:
    FaultyCommitDialect(std::unique_ptr<store::Dialect> real, std::shared_ptr<CommitFault> fault)
        : DialectAround(std::move(real)), fault_(std::move(fault))
    {}

    std::unique_ptr<soci::session> connect() const override
    {
        auto session = connectInner();
        session->set_query_transformation(
            [fault = fault_, raw = session.get()](const std::string& query) {
                if (query == "COMMIT" && fault->failNext.exchange(false)) {
                    *raw << query;
                }
                return query; // a second COMMIT finds no transaction, so it fails
            });
        return session;
    }

private:
    std::shared_ptr<CommitFault> fault_;
};

} // namespace kelvo::test
