// Finds the ids of requested names in a listing.
#pragma once

#include "core/KelvoRecords.h"

#include <QtCore/QHash>

#include <optional>

// Built once a request, so that looking up many names stays linear in their number. Of a name that
// occurs twice the first entry counts. Exact, case-sensitive.
class TReferenceIndex
{
public:
    explicit TReferenceIndex(const KelvoFileInfoList& reference);

    // The id as the listing has it; nothing for a name that it does not have.
    std::optional<long> FindId(const QString& name) const;

private:
    QHash<QString, long> m_idsByName;
};
