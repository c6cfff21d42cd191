// The longest time that a test waits for an event.
#pragma once

namespace kelvo::test {

// Only ends a test that hangs. No event takes that long, also with a sanitizer on a busy machine.
constexpr int HANG_GUARD_MS = 60000;

} // namespace kelvo::test
