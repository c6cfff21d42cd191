#include "service/http/ForwardedAddress.h"

#include "service/base/Encoding.h"

#include <algorithm>

#include <boost/asio/ip/address.hpp>
#include <boost/beast/core/string.hpp>

#include <optional>
#include <string_view>
#include <vector>

namespace kelvo::http {

namespace {

/** The lines of a field in their order, joined by commas. */
std::string joined(const RequestHead& head, std::string_view name)
{
    std::string all;
    const auto lines = head.fields.equal_range(boost::beast::string_view(name.data(), name.size()));
    for (auto line = lines.first; line != lines.second; ++line) {
        all += all.empty() ? "" : ",";
        all.append(line->value().data(), line->value().size());
    }
    return all;
}

/** Splits at separators, or at separators outside quotes. Then every quote must end. */
std::vector<std::string_view> split(std::string_view text, char separator, bool hasQuotes)
{
    std::vector<std::string_view> parts;
    bool isQuoted = false;
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i == text.size() || (text[i] == separator && !isQuoted)) {
            parts.push_back(trimmed(text.substr(begin, i - begin)));
            begin = i + 1;
        } else if (text[i] == '"' && hasQuotes) {
            isQuoted = !isQuoted;
        }
    }
    return parts;
}

/** The `for` parameter of one element of Forwarded; empty if it has none. */
std::string_view forParameter(std::string_view element)
{
    for (std::string_view pair : split(element, ';', true)) {
        if (pair.size() > 4 && boost::beast::iequals(pair.substr(0, 4), "for=")) {
            return pair.substr(4);
        }
    }
    return {};
}

bool isPortOrNothing(std::string_view text)
{
    return text.empty() || (text.starts_with(':') && parseNumber(text.substr(1)).has_value());
}

/** Reads 192.0.2.1, 192.0.2.1:80, 2001:db8::1, [2001:db8::1]:80, with or without quotes. */
std::optional<std::string> addressOf(std::string_view node)
{
    if (node.size() >= 2 && node.front() == '"' && node.back() == '"') {
        node = node.substr(1, node.size() - 2);
    }
    const bool isBracketed = node.starts_with('[');
    std::size_t end = node.size();
    if (isBracketed) {
        end = std::min(node.find(']'), node.size());
    } else if (node.find(':') == node.rfind(':')) {
        end = std::min(node.find(':'), node.size());
    }
    const std::size_t after = isBracketed ? std::min(end + 1, node.size()) : end;
    if (!isPortOrNothing(node.substr(after))) {
        return std::nullopt;
    }
    const std::size_t start = isBracketed ? 1 : 0;
    boost::system::error_code failed;
    const auto address =
        boost::asio::ip::make_address(std::string(node.substr(start, end - start)), failed);
    return failed ? std::nullopt : std::optional(address.to_string());
}

/** The proxy sets one of the two fields. If both are there, the client may have sent the other. */
bool isAmbiguous(const RequestHead& head)
{
    const std::string standard = joined(head, "Forwarded");
    return (!standard.empty() && !head.header("X-Forwarded-For").empty()) ||
           std::count(standard.begin(), standard.end(), '"') % 2 != 0;
}

} // namespace

std::string clientAddress(const RequestHead& head, const std::string& peer,
                          const AddressList& trusted)
{
    if (!trusted.contains(peer) || isAmbiguous(head)) {
        return peer;
    }
    const bool isStandard = !head.header("Forwarded").empty();
    const std::string all = joined(head, isStandard ? "Forwarded" : "X-Forwarded-For");
    std::vector<std::string_view> senders = split(all, ',', isStandard);
    std::string client = peer;
    for (; trusted.contains(client) && !senders.empty(); senders.pop_back()) {
        const std::string_view sender = senders.back();
        const auto address = addressOf(isStandard ? forParameter(sender) : sender);
        if (!address) {
            break;
        }
        client = *address;
    }
    return client;
}

} // namespace kelvo::http
