// What the operator reads when something failed.
#pragma once

#include "base/Failure.h"
#include "kesdk/api/CErrorMsg.h"

#include <string>

namespace kesdk::impl {

// The record for a failure. `subject` is the file or folder that it was about, unescaped; it may be
// empty.
api::CErrorMsg Describe(const Failure& failure, const std::wstring& subject);

} // namespace kesdk::impl
