// A data folder for tests of backup and restore.
#pragma once

#include "service/DataFolder.h"
#include "service/maintenance/Backup.h"
#include "service/maintenance/Restore.h"
#include "tests/service/support/StoredFiles.h"

#include <gtest/gtest.h>
#include <soci/soci.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace kelvo::maintenance {

/** The text of the refusal. */
inline std::string refusal(const std::function<void()>& work)
{
    try {
        work();
    } catch (const StartRefused& refused) {
        return refused.what();
    }
    return "not refused";
}

/** A data folder, with paths for its backup and for the restored folder. */
class BackupFixture : public test::StoredFiles
{
protected:
    BackupFixture()
    {
        replaceFile(folder.Path() / "ca.pem", "authority", 0644);
        std::filesystem::create_directory(folder.Path() / "tls");
        replaceFile(folder.Path() / "tls" / "ca.key", "key", 0600);
    }

    CopyReport makeBackup() { return backUp(folder.Path(), backup()); }
    CopyReport restoreBackup(bool force = false) { return restore(backup(), restored(), force); }

    std::filesystem::path makePipe(const std::string& sha256) const
    {
        const std::filesystem::path path = contents.contentPath(sha256);
        std::filesystem::create_directories(path.parent_path());
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    std::filesystem::path backup() const { return elsewhere.Path() / "backup"; }
    std::filesystem::path restored() const { return elsewhere.Path() / "data"; }

    /** A number from the restored database. */
    long long number(const std::string& query) const
    {
        const auto sql = store::makeSqliteCopy((restored() / "kelvo.sqlite").string())->connect();
        long long value = -1;
        *sql << query, soci::into(value);
        return value;
    }

    static std::vector<std::string> namesIn(const std::filesystem::path& folder)
    {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            found.push_back(entry.path().filename());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    std::vector<std::string> names() const { return namesIn(elsewhere.Path()); }

    test::TempFolder elsewhere;
};

} // namespace kelvo::maintenance
