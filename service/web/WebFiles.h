// The files of the office's page, in memory.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace kelvo::web {

/** One file of the page. An encoded form is empty if the build made none. */
struct WebFile
{
    std::string_view contentType;
    std::string plain;
    std::string brotli; // FILE.br
    std::string gzip;   // FILE.gz
    std::string tag;    // of the plain bytes, with quotes
    /** The name has a digest of the content: a browser keeps the file for ever. */
    bool isImmutable = false;
};

/**
 * Reads a folder once. Later changes of the folder do not matter, so that one version of the page
 * is served until the service restarts. Thread safe once made.
 */
class WebFiles
{
public:
    /**
     * Blocks. Throws std::runtime_error if the folder has no index.html, has a file with an unknown
     * suffix, or is larger than `mostBytes`.
     */
    explicit WebFiles(const std::filesystem::path& folder);

    /** `path` is exact and starts with '/'; "/" is index.html. Null if there is no such file. */
    const WebFile* find(std::string_view path) const;

    static constexpr std::uintmax_t mostBytes = 64 << 20;

private:
    std::map<std::string, WebFile, std::less<>> files_;
};

} // namespace kelvo::web
