// Records of the projects, inboxes and files on the service, and of the user.
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

// A resource without its content.
struct EnterpriseResource
{
    std::int64_t id = 0;
    std::int32_t kind = eUnknownResource;
    std::wstring name; // the service's name: check it before you use it as a file name
    std::int64_t ownerUserId = 0;
    std::int64_t sizeBytes = 0; // files only
};

// A resource and its direct content, in the service's order. A failed query returns a default-
// constructed record (id 0, kind unknown, no name).
struct EnterpriseResourceWithContent : EnterpriseResource
{
    std::list<EnterpriseResource> content;
};

struct CurrentUser
{
    std::int64_t id = 0; // 0 = no user is logged in
    std::wstring name;
};

} // namespace kesdk::api
