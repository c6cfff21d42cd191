// Where the bytes of uploads and files are.
#pragma once

#include "service/objects/BucketAddress.h"

#include <filesystem>
#include <optional>
#include <string>

namespace kelvo {

/** A folder of this machine or a bucket of an object store. */
struct ContentsPlace
{
    std::filesystem::path folder; // without a bucket; empty: the data folder
    std::optional<objects::BucketAddress> bucket;

    /** Reads "file:DIR" or "s3://BUCKET?endpoint=…". Throws std::invalid_argument. */
    static ContentsPlace parse(const std::string& text);

    /** The name that the database keeps: "s3://BUCKET" or "file:/DIR"; empty: the data folder. */
    std::string name(const std::filesystem::path& dataFolder) const;
};

} // namespace kelvo
