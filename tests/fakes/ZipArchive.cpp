// The ZIP format's three records, as far as stored files need them.
#include "tests/fakes/ZipArchive.h"

#include <cstddef>
#include <cstdint>

namespace fakes {

namespace {

constexpr std::uint32_t LOCAL_HEADER = 0x04034b50;
constexpr std::uint32_t CENTRAL_HEADER = 0x02014b50;
constexpr std::uint32_t END_RECORD = 0x06054b50;
constexpr std::uint16_t VERSION = 20;
constexpr std::uint16_t DATE = 0x5521; // 1 September 2022

std::uint32_t Crc32(const std::string& bytes)
{
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

void Append(std::string& bytes, std::uint32_t value, int count)
{
    for (int i = 0; i < count; ++i)
        bytes += static_cast<char>((value >> (8 * i)) & 0xFFU);
}

// The part that both headers of a file have in common.
void AppendFields(std::string& bytes, const std::string& path, const std::string& content)
{
    const auto size = static_cast<std::uint32_t>(content.size());
    Append(bytes, VERSION, 2);
    Append(bytes, 0, 2); // flags
    Append(bytes, 0, 2); // stored
    Append(bytes, 0, 2); // time
    Append(bytes, DATE, 2);
    Append(bytes, Crc32(content), 4);
    Append(bytes, size, 4);
    Append(bytes, size, 4);
    Append(bytes, static_cast<std::uint32_t>(path.size()), 2);
    Append(bytes, 0, 2); // extra field
}

} // namespace

std::string ZipOf(const std::vector<std::pair<std::string, std::string>>& files)
{
    std::string bytes;
    std::string directory;
    for (const auto& [path, content] : files) {
        const auto offset = static_cast<std::uint32_t>(bytes.size());
        Append(bytes, LOCAL_HEADER, 4);
        AppendFields(bytes, path, content);
        bytes += path + content;

        Append(directory, CENTRAL_HEADER, 4);
        Append(directory, VERSION, 2);
        AppendFields(directory, path, content);
        Append(directory, 0, 2); // comment
        Append(directory, 0, 2); // disk
        Append(directory, 0, 2); // internal attributes
        Append(directory, 0, 4); // external attributes
        Append(directory, offset, 4);
        directory += path;
    }
    const auto offset = static_cast<std::uint32_t>(bytes.size());
    bytes += directory;
    Append(bytes, END_RECORD, 4);
    Append(bytes, 0, 4); // disks
    Append(bytes, static_cast<std::uint32_t>(files.size()), 2);
    Append(bytes, static_cast<std::uint32_t>(files.size()), 2);
    Append(bytes, static_cast<std::uint32_t>(directory.size()), 4);
    Append(bytes, offset, 4);
    Append(bytes, 0, 2); // comment
    return bytes;
}

} // namespace fakes
