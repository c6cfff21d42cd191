#include "service/ContentsPlace.h"

#include <stdexcept>
#include <string_view>

namespace kelvo {

namespace fs = std::filesystem;

namespace {

/** Without links, and without a slash at the end. */
fs::path plain(const fs::path& folder)
{
    const fs::path real = fs::weakly_canonical(folder);
    return real.has_filename() ? real : real.parent_path();
}

} // namespace

ContentsPlace ContentsPlace::parse(const std::string& text)
{
    constexpr std::string_view fileScheme = "file:";
    ContentsPlace place;
    if (text.starts_with("s3:")) {
        place.bucket = objects::BucketAddress::parse(text);
        return place;
    }
    place.folder = text.starts_with(fileScheme) ? text.substr(fileScheme.size()) : "";
    if (place.folder.empty()) {
        throw std::invalid_argument("give file:DIR or s3://BUCKET?endpoint=https://HOST");
    }
    return place;
}

std::string ContentsPlace::name(const fs::path& dataFolder) const
{
    if (bucket) {
        return "s3://" + bucket->bucket;
    }
    const bool isDataFolder = folder.empty() || plain(folder) == plain(dataFolder);
    return isDataFolder ? "" : "file:" + plain(folder).string();
}

} // namespace kelvo
