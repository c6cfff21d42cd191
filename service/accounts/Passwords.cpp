#include "service/accounts/Passwords.h"

#include "service/base/Random.h"

#include <sodium.h>

#include <array>
#include <stdexcept>

namespace kelvo::accounts {

namespace {

struct Cost
{
    EPasswordCost cost;
    std::string_view name;
    unsigned long long operations;
    std::size_t memoryBytes;
};

constexpr std::array costs{
    Cost{EPasswordCost::Minimal, "min", crypto_pwhash_OPSLIMIT_MIN, crypto_pwhash_MEMLIMIT_MIN},
    Cost{EPasswordCost::Interactive, "interactive", crypto_pwhash_OPSLIMIT_INTERACTIVE,
         crypto_pwhash_MEMLIMIT_INTERACTIVE},
    Cost{EPasswordCost::Moderate, "moderate", crypto_pwhash_OPSLIMIT_MODERATE,
         crypto_pwhash_MEMLIMIT_MODERATE},
};

} // namespace

std::optional<EPasswordCost> passwordCostFromText(std::string_view text)
{
    for (const Cost& row : costs) {
        if (row.name == text) {
            return row.cost;
        }
    }
    return std::nullopt;
}

Passwords::Passwords(EPasswordCost cost)
    : operations_(costs[static_cast<std::size_t>(cost)].operations),
      memoryBytes_(costs[static_cast<std::size_t>(cost)].memoryBytes)
{
    if (sodium_init() < 0) {
        throw std::runtime_error("libsodium cannot be initialised");
    }
    dummyHash_ = hash(randomHex(16));
}

std::string Passwords::hash(const std::string& password) const
{
    std::array<char, crypto_pwhash_STRBYTES> text{};
    if (crypto_pwhash_str(text.data(), password.data(), password.size(), operations_,
                          memoryBytes_) != 0) {
        throw std::runtime_error("not enough memory to hash a password");
    }
    return text.data();
}

bool Passwords::verify(const std::string& password, const std::optional<std::string>& hash) const
{
    const std::string& against = hash ? *hash : dummyHash_;
    const bool matches =
        crypto_pwhash_str_verify(against.c_str(), password.data(), password.size()) == 0;
    return matches && hash.has_value();
}

} // namespace kelvo::accounts
