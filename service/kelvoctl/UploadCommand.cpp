// put: sends files into inboxes, and resumes after a cut connection.
#include "service/base/Digest.h"
#include "service/base/Encoding.h"
#include "service/kelvoctl/Backoff.h"
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"
#include "service/kelvoctl/UploadSource.h"

#include <iostream>
#include <random>

namespace kelvoctl {
namespace {

using nlohmann::json;

constexpr int kAttempts = 8;
constexpr long kMaxRetryAfterSeconds = 60;
constexpr const char* kContentType = "Content-Type: application/offset+octet-stream";
constexpr const char* kTus = "Tus-Resumable: 1.0.0";

struct PutOptions
{
    std::vector<std::string> files;
    std::vector<std::string> targets; // OWNER/PROJECT
    std::string name;
    std::string note;
};

std::string nonce()
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::random_device random;
    std::string text;
    for (int i = 0; i < 32; ++i) {
        text += digits[random() % digits.size()];
    }
    return text;
}

// Returns the id of OWNER/PROJECT in the account. Creates the caller's own inbox if it is missing.
int inboxId(CommandContext& context, const json& account, const std::string& target)
{
    const std::size_t slash = target.rfind('/'); // project names have no slash
    const std::string owner = target.substr(0, slash);
    const std::string wanted = slash == std::string::npos ? "" : target.substr(slash + 1);
    for (const json& project : account.at("projects")) {
        if (project.at("name") != wanted) {
            continue;
        }
        for (const json& inbox : project.at("resources")) {
            if (inbox.at("owner").at("name") == owner) {
                return inbox.at("id").get<int>();
            }
        }
        if (account.at("user").at("name") == owner) {
            const std::string path = "/projects/" + percentEncoded(wanted) + "/user-inbox";
            return context.client().call("POST", path).at("id").get<int>();
        }
    }
    throw Refused(0, "Not found",
                  "No inbox has the name " + printable(target) + " (OWNER/PROJECT).");
}

// The upload of one file. Its state is the last Location and offset from the service. Without a
// Location the POST is repeated with the same key, which returns the Location.
class Upload
{
public:
    Upload(CommandContext& context, const std::string& path, const std::string& metadata)
        : m_client(context.client()),
          m_path(path),
          m_source(path),
          m_metadata("Upload-Metadata: " + metadata),
          m_key("Idempotency-Key: " + nonce())
    {}

    json run()
    {
        Response response = step();
        while (response.header("kelvo-file-ids").empty()) {
            response = step();
        }
        verify(response);
        return result(response);
    }

private:
    // Sends one request, or waits after a failed request.
    Response step()
    {
        try {
            Response response = m_client.send(next());
            if (response.status == 503 && mayRepeat(response)) {
                return {};
            }
            if (response.status == 409 && m_sentBody && m_backoff.wait()) {
                m_offsetKnown = false; // some bytes did arrive: get the offset
                return {};
            }
            if (response.status < 200 || response.status >= 300) {
                throwRefused(response);
            }
            note(response);
            return response;
        } catch (const Unreachable& failure) {
            // GET /account succeeded before, so the link is bad and the address is right.
            if (!failure.isRetryable() || !m_backoff.wait()) {
                throw;
            }
            m_offsetKnown = false;
            return {};
        }
    }

    bool mayRepeat(const Response& response)
    {
        const std::string after = response.header("retry-after");
        const bool number = !after.empty() && after.size() < 6 &&
                            after.find_first_not_of("0123456789") == std::string::npos;
        const long seconds = number ? std::stol(after) : 0;
        m_offsetKnown = false;
        return seconds <= kMaxRetryAfterSeconds && m_backoff.wait(std::chrono::seconds(seconds));
    }

    Request next()
    {
        Request request;
        request.headers = {kTus};
        m_sentBody = false;
        if (m_location.empty()) {
            request.method = "POST";
            request.path = "/uploads";
            request.headers.insert(
                request.headers.end(),
                {m_metadata, m_key, "Upload-Length: " + std::to_string(m_source.fileSizeBytes())});
            if (std::exchange(m_first, false) && m_source.fileSizeBytes() > 0) {
                sendFrom(request, 0);
            }
        } else if (!m_offsetKnown) {
            request.method = "HEAD";
            request.path = m_location;
        } else {
            request.method = "PATCH";
            request.path = m_location;
            request.headers.push_back("Upload-Offset: " + std::to_string(m_offset));
            sendFrom(request, m_offset);
        }
        return request;
    }

    void sendFrom(Request& request, std::uint64_t offset)
    {
        m_sentBody = true;
        m_source.startAt(offset);
        request.headers.emplace_back(kContentType);
        request.content = &m_source;
    }

    void note(const Response& response)
    {
        const std::string location = response.header("location");
        if (!location.empty()) {
            m_location = location;
        }
        const std::string text = response.header("upload-offset");
        const std::optional<std::uint64_t> offset = kelvo::parseNumber(text);
        if (!m_location.starts_with("/kelvo-api/v1/uploads/") || !offset) {
            throw Unreachable("The service did not return an offset.", false);
        }
        if (*offset > m_offset) {
            m_backoff.progressed();
        }
        m_offset = *offset;
        m_offsetKnown = true;
    }

    // A different digest means that the file changed while it was sent. Then the copy is wrong.
    void verify(const Response& response)
    {
        if (response.header("repr-digest") == kelvo::reprDigest(m_source.digest())) {
            return;
        }
        std::string ids = response.header("kelvo-file-ids") + ",";
        for (std::size_t comma = ids.find(','); comma != std::string::npos; comma = ids.find(',')) {
            m_client.call("DELETE", "/resources/" + ids.substr(0, comma));
            ids.erase(0, comma + 1);
        }
        throw LocalFailure(m_path + " changed while it was sent; the copy was removed.");
    }

    json result(const Response& response) const
    {
        json value = {{"ids", json::parse("[" + response.header("kelvo-file-ids") + "]")},
                      {"warnings", json::array()}};
        const std::string warnings = response.header("kelvo-warnings");
        for (std::size_t start = 0; start < warnings.size();) {
            const std::size_t end = std::min(warnings.find(", ", start), warnings.size());
            value["warnings"].push_back(
                kelvo::percentDecode(warnings.substr(start, end - start)).value_or(""));
            start = end + 2;
        }
        return value;
    }

    ApiClient& m_client;
    std::string m_path;
    UploadSource m_source;
    std::string m_metadata;
    std::string m_key;
    std::string m_location;
    std::uint64_t m_offset = 0;
    bool m_first = true;
    bool m_sentBody = false; // by the last request
    bool m_offsetKnown = false;
    Backoff m_backoff{kAttempts};
};

void putOne(CommandContext& context, const std::string& path, const std::string& name,
            const std::string& metadata)
{
    json result = Upload(context, path, "name " + kelvo::toBase64(name) + "," + metadata).run();
    result["name"] = name;
    if (context.json) {
        std::cout << oneLine(result) << std::endl;
        return;
    }
    for (const json& id : result.at("ids")) {
        std::cout << id << "  " << printable(name) << std::endl;
    }
    for (const json& warning : result.at("warnings")) {
        std::cerr << "kelvoctl: " << printable(warning.get<std::string>()) << std::endl;
    }
}

void put(CommandContext& context, const PutOptions& options)
{
    if (!options.name.empty() && options.files.size() != 1) {
        throw UsageError("--name needs exactly one file.");
    }
    std::vector<std::string> names;
    for (const std::string& path : options.files) {
        names.push_back(options.name.empty() ? std::filesystem::path(path).filename().string()
                                             : options.name);
        if (!isSafeFileName(names.back())) {
            throw UsageError("\"" + printable(names.back()) + "\" is not a file name.");
        }
        UploadSource readable(path); // a wrong path must fail before anything is sent
    }
    const json account = context.client().call("GET", "/account");
    std::string targets;
    for (const std::string& target : options.targets) {
        targets += (targets.empty() ? "" : ",") + std::to_string(inboxId(context, account, target));
    }
    const std::string metadata =
        "targets " + kelvo::toBase64(targets) +
        (options.note.empty() ? "" : ",note " + kelvo::toBase64(options.note));
    for (std::size_t i = 0; i < names.size(); ++i) {
        putOne(context, options.files[i], names[i], metadata);
    }
}

} // namespace

void addUploadCommand(CLI::App& line, CommandContext& context)
{
    const auto options = std::make_shared<PutOptions>();
    CLI::App* command = line.add_subcommand("put", "Send files into inboxes")->fallthrough();
    command->add_option("FILE", options->files, "Local files")->required();
    command
        ->add_option("--to", options->targets,
                     "Target inbox, such as \"olga/To Console\"; may be repeated")
        ->required()
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->type_name("OWNER/PROJECT");
    command->add_option("--name", options->name, "Name in the inbox (default: the local name)")
        ->type_name("NAME");
    command->add_option("--note", options->note, "Note to the files, at most 200 characters")
        ->type_name("TEXT");
    command->callback(
        [&context, options] { context.action = [&context, options] { put(context, *options); }; });
}

} // namespace kelvoctl
