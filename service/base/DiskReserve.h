// Disk space that only the database and the account commands may use.
#pragma once

#include <atomic>
#include <filesystem>
#include <mutex>

namespace kelvo {

/**
 * A file of allocated blocks beside the database. If the database finds no room, it takes room from
 * the reserve, step by step. The service refuses uploads until the reserve is whole again.
 *
 * Free space of the file system is no reserve: another program or a running upload can take it
 * between the check and the write. Allocated blocks cannot be taken.
 *
 * Thread: any. All functions but isWhole() and isHalfWhole() block.
 */
class DiskReserve
{
public:
    /**
     * Allocates as much of the reserve as the disk has room for. If that leaves no room to open a
     * database, releases a step. `sizeBytes` 0: no reserve. Errors: std::system_error if the file
     * cannot be made; a full disk is no error.
     */
    DiskReserve(std::filesystem::path file, long long sizeBytes);

    /** Whether uploads may write. False from the first release() until the reserve is whole. */
    bool isWhole() const { return heldBytes_ == sizeBytes_; }

    /** False if less than half of the reserve is left. Then consoles may not report. */
    bool isHalfWhole() const { return 2 * heldBytes_ >= sizeBytes_; }

    long long heldBytes() const { return heldBytes_; }
    long long sizeBytes() const { return sizeBytes_; }

    /** Gives a step of the reserve to the file system. False if nothing is left. */
    bool release();

    /**
     * Throws std::system_error with ENOSPC if the disk has less than `bytes` left. Throws it too if
     * the reserve is not whole and the disk has no room for it.
     */
    void requireRoom(long long bytes);

    /** Allocates as much of the rest as the disk has room for. Blocks. */
    void makeWhole();

    /** Throws as requireRoom(), without a look at the disk. For each piece of an upload. */
    void requireWhole() const;

private:
    void fillTo(long long bytes);

    std::filesystem::path file_;
    long long sizeBytes_;
    std::mutex mutex_; // guards the file; heldBytes_ changes under it
    std::atomic<long long> heldBytes_{0};
};

} // namespace kelvo
