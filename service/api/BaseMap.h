// The map below the fields and consoles of the office's page: a file, or tiles of another server.
#pragma once

#include "service/base/Files.h"
#include "service/http/TaggedContent.h"

#include <filesystem>
#include <memory>
#include <string>

namespace kelvo::api {

/** The options of the service. At most one of `file` and `tiles` may be set. */
struct BaseMapOptions
{
    std::filesystem::path file; // a PMTiles file of version 3
    std::string tiles;          // an address with {z}, {x} and {y}
    int maxZoom = 19;           // of `tiles`
    std::string attribution;
};

/** Without file and tiles, the page has no base map. */
struct BaseMap
{
    std::shared_ptr<const FileDescriptor> file;
    http::TaggedContent content; // of the file
    std::string tiles;
    int minZoom = 0;
    int maxZoom = 0;
    std::string attribution;
};

/**
 * Opens the file. It must not be changed while the service runs: replace it by another file, and
 * restart. Blocks. Throws std::runtime_error if the options or the file are not valid.
 */
BaseMap openBaseMap(const BaseMapOptions& options);

/** The origin of the tiles' server, for the content security policy; empty without tiles. */
std::string originOf(const BaseMap& map);

} // namespace kelvo::api
