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
    std::atomic<bool> failNext{false}; // the next change is committed, but reported as failed
};

class FaultyCommitDialect final : public DialectAround
{
public:
    FaultyCommitDialect(std::unique_ptr<store::Dialect> real, std::shared_ptr<CommitFault> fault)
        : DialectAround(std::move(real)), fault_(std::move(fault))
    {}

    std::unique_ptr<soci::session> connect() const override { return connectInner(); }

    void commit(soci::session& sql, const std::string& transaction,
                const std::string& notice) const override
    {
        if (fault_->failNext.exchange(false)) {
            sql << "COMMIT";
        }
        // A second COMMIT finds no transaction, so it fails.
        DialectAround::commit(sql, transaction, notice);
    }

private:
    std::shared_ptr<CommitFault> fault_;
};

} // namespace kelvo::test
