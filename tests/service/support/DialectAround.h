// A dialect that wraps another dialect and makes its connections.
#pragma once

#include "service/store/Dialect.h"

#include <soci/soci.h>

#include <memory>
#include <string>
#include <utility>

namespace kelvo::test {

/** Thread safe if the wrapped dialect and connect() are. */
class DialectAround : public store::Dialect
{
public:
    explicit DialectAround(std::unique_ptr<store::Dialect> real) : real_(std::move(real)) {}

    const char* beginRead() const override { return real_->beginRead(); }
    unsigned writers() const override { return real_->writers(); }
    store::WriteStart beginWrite(soci::session& sql, const store::Scopes& scopes) const override
    {
        return real_->beginWrite(sql, scopes);
    }
    void commit(soci::session& sql, const std::string& transaction,
                const std::string& notice) const override
    {
        real_->commit(sql, transaction, notice);
    }
    bool isUsable(soci::session& sql) const override { return real_->isUsable(sql); }
    void relyOnSchema(soci::session& sql, int own, int oldest) const override
    {
        real_->relyOnSchema(sql, own, oldest);
    }
    std::unique_ptr<store::NoticeSource> listen() const override { return real_->listen(); }
    const char* setDurability(store::EDurability durability) const override
    {
        return real_->setDurability(durability);
    }
    void translate(const std::exception& error) const override { real_->translate(error); }

protected:
    std::unique_ptr<soci::session> connectInner() const { return real_->connect(); }

private:
    std::unique_ptr<store::Dialect> real_;
};

} // namespace kelvo::test
