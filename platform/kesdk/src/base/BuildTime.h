// When this library was built.
#pragma once

#include <cstdint>

namespace kesdk::impl {

// The begin of that day, in seconds since 1970. No clock that is right shows an earlier time.
std::int64_t BuildTimeS();

} // namespace kesdk::impl
