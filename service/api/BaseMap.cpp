#include "service/api/BaseMap.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::api {

namespace {

constexpr std::string_view scheme = "https://";
// The head of a PMTiles file.
constexpr std::string_view fileBegin("PMTiles\3", 8); // the name and the version
constexpr std::size_t headBytes = 127;
constexpr std::size_t tileTypeAt = 99;
constexpr std::size_t minZoomAt = 100;
constexpr std::size_t maxZoomAt = 101;
/** The tiles that browsers draw: PNG, JPEG, WebP and AVIF. */
constexpr char firstImageType = 2;
constexpr char lastImageType = 5;
constexpr int mostZoom = 30; // of a PMTiles file

bool isHostCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '-' || c == ':';
}

/** Empty if the address is not valid. The origin goes into a header, so it is checked strictly. */
std::string_view originOf(std::string_view address)
{
    if (!address.starts_with(scheme)) {
        return {};
    }
    const std::size_t end = std::min(address.find('/', scheme.size()), address.size());
    const std::string_view host = address.substr(scheme.size(), end - scheme.size());
    const bool isHost = !host.empty() && std::all_of(host.begin(), host.end(), isHostCharacter);
    return isHost ? address.substr(0, end) : std::string_view();
}

void requireTiles(std::string_view address)
{
    const auto has = [address](std::string_view part) {
        return address.find(part) != std::string_view::npos;
    };
    if (originOf(address).empty() || !has("{z}") || !has("{x}") || !has("{y}")) {
        throw std::runtime_error("the address of the tiles must be https://HOST/… with {z}, {x} "
                                 "and {y}");
    }
}

void openInto(BaseMap& map, const std::filesystem::path& path)
{
    auto file = std::make_shared<const FileDescriptor>(openFile(path, O_RDONLY));
    struct stat status
    {};
    std::string head(headBytes, '\0');
    if (::fstat(file->get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        ::pread(file->get(), head.data(), headBytes, 0) != static_cast<ssize_t>(headBytes) ||
        !head.starts_with(fileBegin)) {
        throw std::runtime_error("the file of the map is not a PMTiles file of version 3");
    }
    if (head[tileTypeAt] < firstImageType || head[tileTypeAt] > lastImageType) {
        throw std::runtime_error(
            "the tiles of the map's file are not PNG, JPEG, WebP or AVIF images;"
            " the page cannot draw vector tiles (MVT, MLT)");
    }
    map.minZoom = head[minZoomAt];
    map.maxZoom = head[maxZoomAt];
    if (map.minZoom < 0 || map.minZoom > map.maxZoom || map.maxZoom > mostZoom) {
        throw std::runtime_error("the zooms in the head of the map's file are not valid");
    }
    map.content = {static_cast<std::uint64_t>(status.st_size),
                   '"' + std::to_string(status.st_size) + '-' + std::to_string(status.st_mtime) +
                       '"'};
    map.file = std::move(file);
}

} // namespace

BaseMap openBaseMap(const BaseMapOptions& options)
{
    BaseMap map;
    map.tiles = options.tiles;
    map.attribution = options.attribution;
    if (!options.tiles.empty()) {
        requireTiles(options.tiles);
        map.maxZoom = options.maxZoom;
    }
    if (!options.file.empty()) {
        openInto(map, options.file);
    }
    return map;
}

std::string originOf(const BaseMap& map)
{
    return std::string(originOf(std::string_view(map.tiles)));
}

} // namespace kelvo::api
