// get: fetches a file and verifies it. After a failure there is no file with its name.
#include "service/base/Digest.h"
#include "service/kelvoctl/Backoff.h"
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/LocalFiles.h"
#include "service/kelvoctl/Names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <limits>

namespace kelvoctl {
namespace {

using nlohmann::json;

constexpr int kAttempts = 8;
constexpr std::string_view kPartSuffix = ".part";

struct GetOptions
{
    int id = 0;
    std::string output;
};

struct Target
{
    std::filesystem::path path;
    bool isFile = true; // a new or regular file; otherwise a device or a pipe
};

// A name from the service must neither be a path nor replace a file.
Target destination(const GetOptions& options, const std::string& name)
{
    std::filesystem::path path = options.output;
    const std::optional<kelvo::FileStatus> there = localFileStatus(path);
    const bool isFolder = there && S_ISDIR(there->mode);
    if (!path.empty() && !isFolder) {
        return {path, !there || S_ISREG(there->mode)};
    }
    if (!isSafeFileName(name)) {
        throw Refused(0, "Unsafe name",
                      "\"" + printable(name) +
                          "\" is not a safe file name: choose a name with -o.");
    }
    path /= name;
    if (std::filesystem::exists(std::filesystem::symlink_status(path))) {
        throw UsageError(path.string() + " exists already: choose a name with -o.");
    }
    return {path};
}

// The output has only the content then.
bool isOutput(const Target& target)
{
    const std::optional<kelvo::FileStatus> there = localFileStatus(target.path);
    const kelvo::FileStatus output = kelvo::statusOf(STDOUT_FILENO);
    return there && there->device == output.device && there->node == output.node;
}

// The file that is replaced: a symlink stays, and the file behind it may be missing.
std::filesystem::path behindLinks(std::filesystem::path path)
{
    while (std::filesystem::is_symlink(path)) { // the links are no circle: its status was read
        path = path.parent_path() / std::filesystem::read_symlink(path);
    }
    return path;
}

// NAME.part; if the file system has no room for the suffix, a digest instead of NAME.
std::filesystem::path partOf(const std::filesystem::path& target)
{
    const std::string name = target.filename().string();
    const bool hasRoom = name.size() + kPartSuffix.size() <= NAME_MAX;
    const std::string stem = hasRoom ? name : kelvo::sha256Hex(name);
    return target.parent_path() / (stem + std::string(kPartSuffix));
}

// Receives the content as NAME.part, or writes it straight to a device or a pipe. Resumes after a
// cut; If-Match makes sure that all parts are of one content.
class Download
{
public:
    Download(CommandContext& context, const json& file, const Target& target)
        : m_client(context.client()),
          m_file(file),
          m_sizeBytes(file.at("size").get<std::uint64_t>()),
          m_isFile(target.isFile),
          m_target(m_isFile ? behindLinks(target.path) : target.path),
          m_part(m_isFile ? partOf(m_target) : m_target),
          m_output(openLocalFile(
              m_part, m_isFile ? O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW : O_WRONLY, 0666))
    {}

    void run()
    {
        try {
            Backoff backoff(kAttempts);
            while (m_received < m_sizeBytes) {
                fetch(backoff);
            }
            if (m_sha256.finishHex() != m_file.at("sha256").get<std::string>()) {
                throw Unreachable(
                    "The received bytes do not have the digest that the service gave.", false);
            }
            if (m_isFile) {
                commitLocalFile(m_output, m_part, m_target);
            }
        } catch (...) {
            std::error_code ignored;
            if (m_isFile) {
                std::filesystem::remove(m_part, ignored);
            }
            throw;
        }
    }

private:
    void fetch(Backoff& backoff)
    {
        Request request;
        request.method = "GET";
        request.path = "/resources/" + m_file.at("id").dump() + "/content";
        request.headers = {"If-Match: " + m_file.at("etag").get<std::string>()};
        const std::uint64_t start = m_received;
        if (start > 0) {
            request.headers.push_back("Range: bytes=" + std::to_string(start) + "-");
        }
        request.onContent = [&](long status, const Headers&, std::string_view bytes) {
            if (status != (start > 0 ? 206 : 200)) {
                throw Unreachable("The service does not resume at the requested offset.", false);
            }
            take(bytes);
            return true;
        };
        try {
            m_client.expect(request);
        } catch (const Unreachable& failure) {
            if (m_received > start) {
                backoff.progressed();
            }
            if (!failure.isRetryable() || !backoff.wait()) {
                throw;
            }
            return;
        }
        if (m_received < m_sizeBytes) {
            throw Unreachable("The service sent fewer bytes than the size of the file.", false);
        }
    }

    void take(std::string_view bytes)
    {
        m_received += bytes.size();
        if (m_received > m_sizeBytes) {
            throw Unreachable("The service sent more bytes than the size of the file.", false);
        }
        m_sha256.add(bytes.data(), bytes.size());
        writeLocalFile(m_output, bytes, m_part);
    }

    ApiClient& m_client;
    const json& m_file;
    std::uint64_t m_sizeBytes;
    bool m_isFile;
    std::filesystem::path m_target;
    std::filesystem::path m_part; // of a device or a pipe: m_target
    kelvo::FileDescriptor m_output;
    std::uint64_t m_received = 0;
    kelvo::Sha256 m_sha256;
};

void get(CommandContext& context, const GetOptions& options)
{
    const json file = context.client().call("GET", "/resources/" + std::to_string(options.id));
    if (file.at("kind") != "file") {
        throw Refused(0, "Not a file", "The id belongs to a project or an inbox.");
    }
    const Target target = destination(options, file.at("name").get<std::string>());
    Download(context, file, target).run();
    json result = file;
    result["saved_as"] = target.path.string();
    if (target.isFile || (context.json && !isOutput(target))) {
        context.print(result, printable(target.path.string()));
    }
}

} // namespace

void addDownloadCommand(CLI::App& line, CommandContext& context)
{
    const auto options = std::make_shared<GetOptions>();
    CLI::App* command = line.add_subcommand("get", "Download a file")->fallthrough();
    command->add_option("ID", options->id, "Id of the file, as printed by ls")
        ->required()
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
    command
        ->add_option(
            "-o,--output", options->output,
            "Local path; an existing file is replaced, a device or a pipe is written to (default: "
            "the file's name in this folder)")
        ->type_name("FILE");
    command->callback(
        [&context, options] { context.action = [&context, options] { get(context, *options); }; });
}

} // namespace kelvoctl
