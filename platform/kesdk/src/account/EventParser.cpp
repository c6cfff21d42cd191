#include "account/EventParser.h"

#include "base/Text.h"

namespace kesdk::impl {

namespace {

constexpr std::size_t kMostBytes = std::size_t{1024} * 1024;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

} // namespace

bool EventParser::Feed(const char* bytes, std::size_t sizeBytes)
{
    for (std::size_t i = 0; i < sizeBytes; ++i) {
        if (!TakeByte(bytes[i]))
            return false;
    }
    return true;
}

// A line ends with CR, LF or both.
bool EventParser::TakeByte(char byte)
{
    const bool isSecondHalf = byte == '\n' && m_isAfterCarriageReturn;
    m_isAfterCarriageReturn = byte == '\r';
    if (isSecondHalf)
        return true;
    if (byte == '\r' || byte == '\n') {
        TakeLine();
        m_line.clear();
    } else {
        m_line += byte;
    }
    return m_line.size() <= kMostBytes && m_data.size() <= kMostBytes;
}

void EventParser::TakeLine()
{
    std::string_view line = m_line;
    if (std::exchange(m_isFirstLine, false) &&
        line.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        line.remove_prefix(kByteOrderMark.size());
    if (line.empty()) {
        Dispatch();
        return;
    }
    const std::size_t colon = line.find(':');
    if (colon == 0)
        return; // a comment
    std::string_view value = colon == std::string_view::npos ? "" : line.substr(colon + 1);
    if (!value.empty() && value.front() == ' ')
        value.remove_prefix(1);
    TakeField(line.substr(0, colon), value);
}

void EventParser::TakeField(std::string_view field, std::string_view value)
{
    if (field == "event") {
        m_name = value;
    } else if (field == "data") {
        if (std::exchange(m_hasData, true))
            m_data += '\n';
        m_data += value;
    } else if (field == "id" && IsFieldText(value)) {
        m_lastId = value;
    }
}

void EventParser::Dispatch()
{
    if (std::exchange(m_hasData, false))
        m_handler({m_lastId, m_name, m_data});
    m_name.clear();
    m_data.clear();
}

} // namespace kesdk::impl
