// The console's `long` has 32 bits. Ids pass through it on their way to the screens and back, so
// they are narrowed and widened here, the same where `long` has 64 bits.
#pragma once

#include <cstdint>

// The low 32 bits, as a signed number.
constexpr long NarrowToConsoleLong(std::int64_t id)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(id));
}

// Sign-extends what the console's `long` holds.
constexpr std::int64_t WidenConsoleLong(long id)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(id));
}
