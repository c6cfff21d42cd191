// The operator's text of any error record of the SDK. The text is never empty, holds no NUL, is the
// same each time, and loads no file that the markup names. The first byte is '0' for UTF-8 and '1'
// for any 32-bit characters. The rest is three texts, separated by 0xff.
#include "fuzz/WorkingFolder.h"
#include "support/TempFolder.h"
#include "worker/SdkBoundary.h"

#include <QtGui/QGuiApplication>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/inotify.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using TErrors = xal_list<kesdk::api::CErrorMsg>;

constexpr std::size_t longestInput = 4096;

void Demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

// A folder with a file that markup of the corpus names. Knows whether the file was read.
class TWatchedFolder
{
public:
    TWatchedFolder()
    {
        m_root.Write("a.css", "p { white-space: pre }");
        m_watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        Demand(::inotify_add_watch(m_watch, m_root.Path().c_str(), IN_OPEN) >= 0,
               "the folder can be watched");
    }
    ~TWatchedFolder() { ::close(m_watch); }
    TWatchedFolder(const TWatchedFolder&) = delete;
    TWatchedFolder& operator=(const TWatchedFolder&) = delete;

    const fs::path& Path() const { return m_root.Path(); }

    bool WasRead() const
    {
        std::array<char, 4096> events;
        return ::read(m_watch, events.data(), events.size()) > 0;
    }

private:
    const kelvo::test::TempFolder m_root;
    int m_watch = -1;
};

// Qt needs an application for the fonts of the markup. The application is never deleted, because
// fonts are in use until the program ends.
void NeedApplication()
{
    static int count = 1;
    static char name[] = "fuzz_error_text";
    static std::array<char*, 2> arguments = {name, nullptr};
    static const QGuiApplication* const application = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return new QGuiApplication(count, arguments.data());
    }();
    Demand(application != nullptr, "there is an application");
}

std::wstring TakeText(std::string_view& bytes, bool isUtf8)
{
    const std::size_t end = bytes.find('\xff');
    const std::string_view text = bytes.substr(0, end);
    bytes = end == std::string_view::npos ? std::string_view() : bytes.substr(end + 1);
    if (isUtf8) {
        return QString::fromUtf8(text.data(), static_cast<int>(text.size())).toStdWString();
    }
    std::wstring characters(text.size() / sizeof(wchar_t), L'\0');
    if (!characters.empty()) {
        std::memcpy(characters.data(), text.data(), characters.size() * sizeof(wchar_t));
    }
    return characters;
}

void CheckCopy(const QString& text, int bufferSize)
{
    std::vector<wchar_t> buffer(static_cast<std::size_t>(bufferSize), L'x');
    const int written = QStringToTCHAR(text, buffer.data(), bufferSize);
    Demand(written >= 0 && written < bufferSize, "a copy fits");
    Demand(buffer[static_cast<std::size_t>(written)] == L'\0', "a copy ends with a NUL");
    Demand(written <= text.size(), "a copy is no longer than the text");
}

} // namespace

// The font library keeps its memory until the program ends.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    NeedApplication();
    static const TWatchedFolder folder;
    const TWorkingFolder inside(folder.Path());
    if (size == 0 || size > longestInput) {
        return 0;
    }
    std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const bool isUtf8 = (data[0] & 1U) == 0;
    kesdk::api::CErrorMsg record;
    record.text1 = TakeText(bytes, isUtf8);
    record.text2 = TakeText(bytes, isUtf8);
    record.text3 = TakeText(bytes, isUtf8);
    TErrors errors;
    Demand(GetLastErrorMsg(errors).isNull(), "no record has no text");
    errors.push_back(record);
    const QString text = GetLastErrorMsg(errors);
    Demand(!text.isEmpty(), "a record has its text");
    Demand(!text.contains(QChar(0)), "a text holds no NUL");
    Demand(text == GetLastErrorMsg(errors), "a record gives the same text each time");
    Demand(!folder.WasRead(), "markup reads no files");
    for (const int bufferSize : {1, 2, 7, text.size(), text.size() + 1}) {
        CheckCopy(text, bufferSize);
    }
    return 0;
}
