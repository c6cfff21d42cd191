// One error record of the SDK.
#pragma once

#include <cstdint>
#include <string>

namespace kesdk::api {

// An error of one SDK call. A text may hold HTML markup; its variable parts are escaped. A text may
// be empty.
struct CErrorMsg
{
    std::wstring text1; // what happened, for the operator
    std::wstring text2; // what the operator can do about it
    std::wstring text3; // technical detail, for support

    std::int32_t code = 0;       // EErrorCode of the SDK's implementation; 0 = unspecified
    std::int32_t httpStatus = 0; // status of the service's answer; 0 = none was received
    std::int32_t severity = 0;   // 0 = error, 1 = may pass by itself
};

} // namespace kesdk::api
