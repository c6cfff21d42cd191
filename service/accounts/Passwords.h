// Password hashes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvo::accounts {

enum class EPasswordCost : std::uint8_t { Minimal, Interactive, Moderate };

std::optional<EPasswordCost> passwordCostFromText(std::string_view text);

/**
 * Argon2id. Takes up to 64 MiB (interactive) or 256 MiB (moderate) and that much time, so it
 * belongs on a pool of few threads. Thread safe. Errors: std::runtime_error when memory is short.
 */
class Passwords
{
public:
    explicit Passwords(EPasswordCost cost);

    std::string hash(const std::string& password) const;

    /** Without a hash, for an unknown user, it works as long and says no. */
    bool verify(const std::string& password, const std::optional<std::string>& hash) const;

private:
    unsigned long long operations_;
    std::size_t memoryBytes_;
    std::string nobodysHash_;
};

} // namespace kelvo::accounts
