// The errors of the object store. Their texts name no credentials.
#pragma once

#include "service/base/Unavailable.h"

#include <stdexcept>
#include <string>

namespace kelvo::objects {

/** No object has this key. */
class ObjectMissing : public std::runtime_error
{
public:
    ObjectMissing() : std::runtime_error("the object store has no such object") {}
};

/**
 * The object store refuses the request, or its certificate is not trusted. A retry fails too until
 * somebody corrects the settings, the credentials or the clock.
 */
class RequestRefused : public Unavailable
{
public:
    explicit RequestRefused(const std::string& why)
        : Unavailable("the object store refused a request: " + why)
    {}
};

/**
 * The object store did not answer as it should after several attempts. Later attempts may succeed.
 * A PUT or DELETE may have happened.
 */
class StoreUnavailable : public Unavailable
{
public:
    explicit StoreUnavailable(const std::string& why)
        : Unavailable("the object store is not available: " + why)
    {}
};

} // namespace kelvo::objects
