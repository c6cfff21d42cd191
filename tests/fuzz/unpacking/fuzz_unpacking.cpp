// Unpacks any bytes as an archive. The unpacking changes nothing outside the archive's folder. A
// refused archive leaves the folder unchanged. No temporary file stays. The text archiveRoot in the
// bytes is replaced by the parent of all folders, so that an archive can contain an absolute path.
#include "fuzz/WorkingFolder.h"
#include "hostimpl/Unpacking.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using TImage = std::map<std::string, std::string>; // path below a folder; kind and content

constexpr std::string_view archiveRoot = "/dev/shm/ku-XXXXXX";
constexpr std::string_view diskRoot = "/tmp/kunzip-XXXXXX"; // if there is no /dev/shm
constexpr std::string_view archiveFolder = "archive";       // of the archive's name, "archive.zip"
static_assert(archiveRoot.size() == diskRoot.size(), "they replace each other");

// Small limits, so that the fuzzer reaches them quickly and with little memory.
hostimpl::TUnpackLimits SmallLimits()
{
    hostimpl::TUnpackLimits limits;
    limits.entries = 20;
    limits.totalBytes = 64 * 1024;
    limits.ratio = 20;
    limits.ratioFloorBytes = 4 * 1024;
    limits.nameBytes = 40;
    limits.pathBytes = 80;
    limits.depth = 6;
    return limits;
}

void Demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

std::string ReadFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const fs::path& path, std::string_view bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    Demand(file.flush().good(), "the fuzzer's own files can be written");
}

std::string KindAndContent(const fs::directory_entry& entry)
{
    switch (entry.symlink_status().type()) {
    case fs::file_type::directory:
        return "folder";
    case fs::file_type::regular:
        return "file " + ReadFile(entry.path());
    case fs::file_type::symlink:
        return "link " + fs::read_symlink(entry.path()).string();
    default:
        return "other";
    }
}

// The content of a folder, without the content of `leftOut`.
TImage ImageOf(const fs::path& folder, const fs::path& leftOut = {})
{
    TImage image;
    for (auto entry = fs::recursive_directory_iterator(folder);
         entry != fs::recursive_directory_iterator(); ++entry) {
        image[entry->path().lexically_relative(folder).string()] = KindAndContent(*entry);
        if (entry->path() == leftOut) {
            entry.disable_recursion_pending();
        }
    }
    return image;
}

// The folders of all runs: the archive, files that must not change, and the destination several
// folders down. The destination and the archive's former folder have a file, a folder, and a link
// to a folder outside.
class TPlayground
{
public:
    TPlayground()
    {
        std::string root(fs::is_directory("/dev/shm") ? archiveRoot : diskRoot);
        Demand(::mkdtemp(root.data()) != nullptr, "a temporary folder can be created");
        m_root = root;
        m_destination = m_root / "outer" / "inner" / "here";
        fs::create_directories(m_root / "elsewhere");
        WriteFile(m_root / "elsewhere" / "kept", "elsewhere");
        fs::create_directories(m_destination);
        WriteFile(m_root / "outer" / "kept", "outer");
        WriteFile(Archive(), {});
        Fill();
        m_filled = ImageOf(m_destination);
        m_outside = ImageOf(m_root, m_destination);
    }
    ~TPlayground()
    {
        std::error_code ignored;
        fs::remove_all(m_root, ignored);
    }
    TPlayground(const TPlayground&) = delete;
    TPlayground& operator=(const TPlayground&) = delete;

    void PutArchive(std::string bytes)
    {
        for (std::size_t at = bytes.find(archiveRoot); at != std::string::npos;
             at = bytes.find(archiveRoot, at + 1)) {
            bytes.replace(at, archiveRoot.size(), m_root.string());
        }
        WriteFile(Archive(), bytes);
        m_outside[Archive().filename().string()] = "file " + bytes;
    }

    bool Unpack() const
    {
        const TWorkingFolder inside(m_root / "elsewhere");
        QString errorText;
        const bool isUnpacked = hostimpl::Unzip(QString::fromStdString(Archive().string()),
                                                QString::fromStdString(m_destination.string()),
                                                SmallLimits(), errorText);
        Demand(isUnpacked == errorText.isEmpty(), "a refusal has a reason, a success has none");
        Demand(ImageOf(m_root, m_destination) == m_outside, "nothing changes outside the folder");
        return isUnpacked;
    }

    TImage Image() const { return ImageOf(m_destination); }
    const TImage& Filled() const { return m_filled; }

    void Restore(const TImage& image)
    {
        if (image != m_filled) {
            for (const auto& entry : fs::directory_iterator(m_destination)) {
                fs::remove_all(entry.path());
            }
            Fill();
        }
    }

private:
    fs::path Archive() const { return m_root / "archive.zip"; }

    void Fill() const
    {
        for (const fs::path& folder : {m_destination, m_destination / archiveFolder}) {
            fs::create_directories(folder / "folder");
            WriteFile(folder / "file", "former");
            WriteFile(folder / "folder" / "file", "former, below");
            fs::create_symlink(m_root / "elsewhere", folder / "link");
        }
    }

    fs::path m_root;
    fs::path m_destination;
    TImage m_filled;
    TImage m_outside;
};

bool HasControlCharacter(const std::string& text)
{
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 || code == 0x7f) {
            return true;
        }
    }
    return false;
}

bool IsInArchiveFolder(const std::string& path)
{
    return path.compare(0, archiveFolder.size() + 1, std::string(archiveFolder) + '/') == 0;
}

void DemandWithinLimits(const TImage& unpacked)
{
    const hostimpl::TUnpackLimits limits = SmallLimits();
    std::int64_t files = 0;
    std::int64_t bytes = 0;
    for (const auto& [path, what] : unpacked) {
        if (!IsInArchiveFolder(path)) {
            continue;
        }
        const bool isFile = what.compare(0, 5, "file ") == 0;
        const auto pathBytes = static_cast<std::int64_t>(path.size() - archiveFolder.size() - 1);
        Demand(isFile || what == "folder", "only files and folders are unpacked");
        Demand(!HasControlCharacter(path), "names are printable");
        Demand(pathBytes <= limits.pathBytes, "paths are bounded");
        files += isFile ? 1 : 0;
        bytes += isFile ? static_cast<std::int64_t>(what.size()) - 5 : 0;
    }
    Demand(files <= limits.entries && bytes <= limits.totalBytes, "the limits hold");
}

TImage BesideArchiveFolder(TImage image)
{
    for (auto entry = image.begin(); entry != image.end();) {
        entry = IsInArchiveFolder(entry->first) ? image.erase(entry) : std::next(entry);
    }
    return image;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static TPlayground playground;
    playground.PutArchive({reinterpret_cast<const char*>(data), size});
    const bool isUnpacked = playground.Unpack();
    const TImage image = playground.Image();
    if (isUnpacked) {
        DemandWithinLimits(image);
        Demand(BesideArchiveFolder(image) == BesideArchiveFolder(playground.Filled()),
               "nothing changes beside the archive's folder");
        Demand(playground.Unpack(), "an unpacked archive can be unpacked again over its files");
        Demand(playground.Image() == image, "unpacking again changes nothing");
    } else {
        Demand(image == playground.Filled(), "a refusal leaves the folder as it was");
    }
    playground.Restore(image);
    return 0;
}
