#include "http/HttpMessage.h"

#include "base/Text.h"

namespace kesdk::impl {

const std::string* HttpResponse::Header(std::string_view name) const
{
    for (const HttpHeader& header : headers) {
        if (EqualNoCase(header.name, name))
            return &header.value;
    }
    return nullptr;
}

} // namespace kesdk::impl
