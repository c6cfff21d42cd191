#include "transfer/JournalFile.h"

#include "base/DigestText.h"
#include "transfer/FileHandle.h"
#include "transfer/Paths.h"
#include "transfer/StaleFiles.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

namespace kesdk::impl {

namespace {

constexpr std::string_view kFirstLine = "kesdk journal 1\n";
constexpr std::size_t kDigestBytes = 64; // in hexadecimal
constexpr std::size_t kMostBytes = std::size_t{2} * 1024 * 1024;
constexpr const char* kNewSuffix = ".new";

struct Content
{
    std::optional<std::string> bytes;
    int error = 0; // why the file could not be read
};

Content ReadAll(const std::string& path)
{
    const FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status = {};
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0)
        return {std::nullopt, errno == ELOOP ? 0 : errno};
    if (!S_ISREG(status.st_mode))
        return {};
    std::string bytes;
    std::array<char, 4096> piece{};
    while (bytes.size() <= kMostBytes) {
        const ssize_t got =
            file.ReadAt(piece.data(), piece.size(), static_cast<std::int64_t>(bytes.size()));
        if (got < 0)
            return {std::nullopt, errno};
        if (got == 0)
            return {bytes, 0};
        bytes.append(piece.data(), static_cast<std::size_t>(got));
    }
    return {};
}

std::optional<std::string> TextOf(std::string_view bytes)
{
    if (bytes.substr(0, kFirstLine.size()) != kFirstLine ||
        bytes.size() < kFirstLine.size() + kDigestBytes)
        return std::nullopt;
    const std::string_view text =
        bytes.substr(kFirstLine.size(), bytes.size() - kFirstLine.size() - kDigestBytes);
    if (bytes.substr(bytes.size() - kDigestBytes) != HexDigestOf(text))
        return std::nullopt;
    return std::string(text);
}

// A power cut may leave the start of a journal, an empty file, or zeros.
bool IsStartOfJournal(std::string_view bytes)
{
    const std::size_t known = std::min(bytes.size(), kFirstLine.size());
    return bytes.substr(0, known) == kFirstLine.substr(0, known) ||
           std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == '\0'; });
}

} // namespace

std::string ToJournalText(const nlohmann::json& document)
{
    return document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

bool WriteJournal(const std::string& path, const std::string& text, ESync sync)
{
    const std::string newPath = path + kNewSuffix;
    ::unlink(newPath.c_str()); // open must not follow a link of this name
    FileHandle file(
        ::open(newPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.IsOpen())
        return false;
    if (!file.WriteAt(std::string(kFirstLine) + text + HexDigestOf(text), 0) ||
        ::rename(newPath.c_str(), path.c_str()) != 0) {
        ::unlink(newPath.c_str());
        return false;
    }
    if (sync == ESync::eNo)
        return true;
    // After the rename, most file systems write content and name in one commit: the sync of the
    // folder finds nothing left. If the power fails before that commit, the digest shows a torn
    // journal.
    if (::fsync(file.Get()) == 0)
        return SyncFolder(FolderOf(path));
    RemoveJournal(path);
    return false;
}

Result<std::string> ReadJournal(const std::string& path)
{
    const Content content = ReadAll(path);
    if (std::optional<std::string> text = content.bytes ? TextOf(*content.bytes) : std::nullopt)
        return std::move(*text);
    if (content.error == 0)
        RemoveJournal(path);
    constexpr int kPassing[] = {EMFILE, ENFILE, ENOMEM, EIO}; // a later read may succeed
    const bool mayPass =
        std::find(std::begin(kPassing), std::end(kPassing), content.error) != std::end(kPassing);
    return Failure(mayPass ? EErrorCode::eFileUnreadable : EErrorCode::eFileMissing,
                   std::string("the journal: ") + std::strerror(content.error));
}

void RemoveJournal(const std::string& path)
{
    ::unlink(path.c_str());
}

bool IsJournalOrTorn(const std::string& path)
{
    const Content content = ReadAll(path);
    return content.bytes && IsStartOfJournal(*content.bytes);
}

bool IsJournalName(std::string_view name, std::string_view suffix)
{
    const std::string_view whole = Without(name, kNewSuffix);
    return !Without(whole.empty() ? name : whole, suffix).empty();
}

void RemoveOldJournals(const std::string& folder, std::string_view suffix, std::int64_t nowS,
                       std::int64_t longestAgeS)
{
    const auto isMeant = [&](std::string_view name) { return IsJournalName(name, suffix); };
    for (const std::string& path : StaleFiles(folder, isMeant, nowS, longestAgeS))
        RemoveJournal(path);
}

} // namespace kesdk::impl
