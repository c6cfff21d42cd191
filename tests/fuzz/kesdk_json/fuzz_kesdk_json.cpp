// The SDK's readers of the service's documents on any bytes. They do not crash, and they accept
// only valid ids, sizes and header fields. The first byte chooses the reader.
#include "client/ApiJson.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

using namespace kesdk::impl;

// Ends the program, so that the fuzzer keeps the input.
void Demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

// A text that the SDK sends in a request's head must not end its line.
void DemandField(std::string_view text)
{
    Demand(std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; }),
           "a field is printable");
}

void DemandId(std::int64_t id)
{
    Demand(id > 0 && id <= INT32_MAX, "an id fits into 32 bits");
}

void Check(const FileRecord& file)
{
    DemandId(file.id);
    DemandId(file.containerId);
    DemandField(file.etag);
    Demand(file.sizeBytes >= 0, "a size is not negative");
}

void Check(const InboxRecord& inbox)
{
    DemandId(inbox.id);
    for (const FileRecord& file : inbox.entries)
        Check(file);
}

void Check(const ProjectRecord& project)
{
    DemandId(project.id);
    for (const InboxRecord& inbox : project.inboxes)
        Check(inbox);
}

void Read(unsigned reader, std::string_view text)
{
    if (reader == 0) {
        if (const auto login = ParseLogin(text))
            DemandField(login->token);
    } else if (reader == 1) {
        if (const auto account = ParseAccount(text)) {
            DemandField(account->cursor);
            for (const ProjectRecord& project : account->projects)
                Check(project);
        }
    } else if (reader == 2) {
        if (const auto project = ParseProjectResources(text))
            Check(*project);
    } else if (reader == 3) {
        if (const auto resource = ParseResource(text))
            std::visit([](const auto& record) { Check(record); }, *resource);
    } else if (reader == 4) {
        if (const auto files = ParseUploadedFiles(text))
            std::for_each(files->begin(), files->end(),
                          [](const FileRecord& file) { Check(file); });
    } else {
        ParseProblem(text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr unsigned kReaders = 6;
    if (size > 0)
        Read((data[0] - unsigned{'0'}) % kReaders,
             {reinterpret_cast<const char*>(data) + 1, size - 1});
    return 0;
}
