// Entries of an inbox, and the worker's listing of them.
#pragma once

#include "tests/worker/TWorkerFixture.h"

#include <cstdint>

constexpr std::int64_t TWO_31 = 1LL << 31;
constexpr std::int64_t TWO_32 = 1LL << 32;

inline kesdk::api::EnterpriseResource Entry(std::int64_t id, const wchar_t* name,
                                            std::int32_t kind = kesdk::api::eFileResource)
{
    kesdk::api::EnterpriseResource entry;
    entry.id = id;
    entry.kind = kind;
    entry.name = name;
    return entry;
}

// The newest listing. A listing has to exist.
inline KelvoFileInfoList LastListing(const fakes::SignalLog& log)
{
    return log.Of(QStringLiteral("NewKelvoProjectFilesList"))
        .last()
        .arguments.at(1)
        .value<KelvoFileInfoList>();
}
