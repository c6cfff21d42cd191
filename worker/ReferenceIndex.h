// Finds the ids of requested names in a listing.
#pragma once

#include "core/KelvoRecords.h"

#include <QtCore/QHash>

#include <optional>

// Built once for each request, so that the look-up of n names takes linear time. If a name occurs
// twice, the first entry counts. Names are compared exactly, with case.
class TReferenceIndex
{
public:
    explicit TReferenceIndex(const KelvoFileInfoList& reference);

    // The id of the name in the listing; nullopt if the listing does not have the name.
    std::optional<long> FindId(const QString& name) const;

private:
    QHash<QString, long> m_idsByName;
};
