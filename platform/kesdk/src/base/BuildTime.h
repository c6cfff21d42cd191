// When this library was built.
#pragma once

#include <cstdint>

namespace kesdk::impl {

// The start of that day, in seconds since 1970. A correct clock shows a later time.
std::int64_t BuildTimeS();

} // namespace kesdk::impl
