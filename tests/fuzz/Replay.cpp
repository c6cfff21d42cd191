// Replaces the fuzzer: runs a target on every file of the given folders, whole, cut at each length,
// and with each byte damaged.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Replay(std::vector<std::uint8_t> bytes)
{
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        LLVMFuzzerTestOneInput(bytes.data(), length);
    }
    for (std::uint8_t& byte : bytes) {
        for (const unsigned damage : {0x01u, 0x80u, 0xffu}) {
            byte = static_cast<std::uint8_t>(byte ^ damage);
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            byte = static_cast<std::uint8_t>(byte ^ damage);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    int files = 0;
    for (int argument = 1; argument < argc; ++argument) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[argument])) {
            std::ifstream file(entry.path(), std::ios::binary);
            Replay({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
            ++files;
        }
    }
    std::printf("%d files\n", files);
    return files > 0 ? 0 : 1;
}
