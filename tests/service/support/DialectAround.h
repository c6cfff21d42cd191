// A dialect that wraps another dialect and makes its connections.
#pragma once

#include "service/store/Dialect.h"

#include <soci/soci.h>

#include <memory>
#include <utility>

namespace kelvo::test {

/** Thread safe if the wrapped dialect and connect() are. */
class DialectAround : public store::Dialect
{
public:
    explicit DialectAround(std::unique_ptr<store::Dialect> real) : real_(std::move(real)) {}

    const char* beginRead() const override { return real_->beginRead(); }
    const char* beginWrite() const override { return real_->beginWrite(); }
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
