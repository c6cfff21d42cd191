// A disk that fails to sync on request: fsync and fdatasync of the whole test program.
#pragma once

namespace kelvo::test {

/**
 * The next `count` calls fail with EIO, as after a write that the disk refused. The kernel reports
 * such an error once, so later calls succeed. Not to be called while other threads sync.
 */
void failNextSyncs(int count);

} // namespace kelvo::test
