// Narrows ids to the console's 32-bit `long` and widens them again. Ids pass through `long` between
// worker and screens. The result is the same where `long` has 64 bits.
#pragma once

#include <cstdint>

// The low 32 bits, as a signed number.
constexpr long NarrowToConsoleLong(std::int64_t id)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(id));
}

// Sign-extends the 32 bits of the console's `long`.
constexpr std::int64_t WidenConsoleLong(long id)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(id));
}
