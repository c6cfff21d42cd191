// Blocking work on several threads.
#pragma once

#include <cstddef>
#include <functional>

namespace kelvo::maintenance {

/**
 * Calls `work` for each number below `count`, on up to eight threads, and waits. After a failure no
 * further call begins, and the failure is thrown.
 */
void runAtOnce(std::size_t count, const std::function<void(std::size_t)>& work);

} // namespace kelvo::maintenance
