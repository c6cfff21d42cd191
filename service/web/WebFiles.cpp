#include "service/web/WebFiles.h"

#include "service/base/Digest.h"
#include "service/base/Files.h"

#include <stdexcept>

namespace kelvo::web {

namespace {

struct ContentType
{
    std::string_view suffix;
    std::string_view name;
};

constexpr ContentType contentTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".json", "application/json"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".ico", "image/x-icon"},
    {".woff2", "font/woff2"},
    {".webmanifest", "application/manifest+json"},
    {".txt", "text/plain; charset=utf-8"},
};

/** The build puts the files whose names have a digest into this folder. */
constexpr std::string_view hashedFolder = "/assets/";

std::string_view contentTypeOf(const std::filesystem::path& file)
{
    for (const ContentType& type : contentTypes) {
        if (file.extension() == type.suffix) {
            return type.name;
        }
    }
    throw std::runtime_error("the page has a file of an unknown kind: " + file.filename().string());
}

bool isEncoded(const std::filesystem::path& file)
{
    return file.extension() == ".br" || file.extension() == ".gz";
}

std::string encodedForm(const std::filesystem::path& file, const char* suffix)
{
    const std::filesystem::path encoded = file.string() + suffix;
    return std::filesystem::exists(encoded) ? readFile(encoded) : std::string();
}

WebFile read(const std::filesystem::path& file, std::string_view path)
{
    WebFile result;
    result.contentType = contentTypeOf(file);
    result.plain = readFile(file);
    result.brotli = encodedForm(file, ".br");
    result.gzip = encodedForm(file, ".gz");
    result.tag = '"' + sha256Hex(result.plain).substr(0, 32) + '"';
    result.isImmutable = path.starts_with(hashedFolder);
    return result;
}

} // namespace

WebFiles::WebFiles(const std::filesystem::path& folder)
{
    std::uintmax_t bytes = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        bytes += entry.is_regular_file() ? entry.file_size() : 0;
        if (bytes > mostBytes) {
            throw std::runtime_error("the folder of the page is larger than 64 MiB");
        }
        if (!entry.is_regular_file() || isEncoded(entry.path())) {
            continue;
        }
        const std::string path = '/' + entry.path().lexically_relative(folder).generic_string();
        files_.emplace(path, read(entry.path(), path));
    }
    const auto index = files_.extract("/index.html");
    if (index.empty()) {
        throw std::runtime_error("the folder of the page has no index.html");
    }
    files_.emplace("/", std::move(index.mapped()));
}

const WebFile* WebFiles::find(std::string_view path) const
{
    const auto found = files_.find(path);
    return found == files_.end() ? nullptr : &found->second;
}

} // namespace kelvo::web
