// How long a test waits for what has to come, in the end.
#pragma once

namespace kelvo::test {

// Only ends a test that hangs; far longer than anything takes under a sanitizer on a busy machine.
constexpr int HANG_GUARD_MS = 60000;

} // namespace kelvo::test
