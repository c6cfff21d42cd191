// A disk that fails to write when it is told to: fsync and fdatasync of the whole test program.
#pragma once

namespace kelvo::test {

/** How many calls from now on fail with EIO, as after a write that the disk refused. The kernel
 * says it once, so the calls after them succeed. Not while other threads sync. */
void failNextSyncs(int count);

} // namespace kelvo::test
