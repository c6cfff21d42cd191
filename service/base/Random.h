// Random names that cannot be guessed.
#pragma once

#include <cstddef>
#include <string>

namespace kelvo {

/** `bytes` random bytes from the system, in hexadecimal. Thread safe. */
std::string randomHex(std::size_t bytes);

} // namespace kelvo
