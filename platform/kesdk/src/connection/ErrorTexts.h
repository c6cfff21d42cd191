// The operator's texts for failures.
#pragma once

#include "base/Failure.h"
#include "kesdk/api/CErrorMsg.h"

#include <string>

namespace kesdk::impl {

// The record of a failure. `subject` is the unescaped name of the file or folder; it may be empty.
api::CErrorMsg Describe(const Failure& failure, const std::wstring& subject);

} // namespace kesdk::impl
