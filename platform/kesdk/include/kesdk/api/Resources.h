// Records of what the service holds: projects, inboxes, files, and the user they belong to.
#pragma once

#include <cstdint>
#include <list>
#include <string>

namespace kesdk::api {

enum EResourceKind : std::int32_t {
    eUnknownResource = 0,
    eProjectInboxResource = 1,
    eUserInboxResource = 2,
    eFileResource = 4,
};

struct EnterpriseProject
{
    std::wstring name; // matched exactly; never translated
    std::int64_t id = 0;
};

// A resource without what it contains.
struct EnterpriseResource
{
    std::int64_t id = 0;
    std::int32_t kind = eUnknownResource;
    std::wstring name; // as the service gives it: it need not be usable as a file name
    std::int64_t ownerUserId = 0;
    std::int64_t sizeBytes = 0; // files only
};

// A resource and its direct content, in the service's order. A default-constructed one (id 0, kind
// unknown, no name) is what a failed query returns.
struct EnterpriseResourceWithContent : EnterpriseResource
{
    std::list<EnterpriseResource> content;
};

struct CurrentUser
{
    std::int64_t id = 0; // 0 = nobody is logged in
    std::wstring name;
};

} // namespace kesdk::api
