#include "worker/ReferenceIndex.h"

#include <algorithm>

TReferenceIndex::TReferenceIndex(const KelvoFileInfoList& reference)
{
    const int count = std::min(reference.fileNames.size(), reference.fileIds.size());
    m_idsByName.reserve(count);
    for (int i = 0; i < count; ++i) {
        const QString& name = reference.fileNames.at(i);
        if (!m_idsByName.contains(name)) {
            m_idsByName.insert(name, reference.fileIds.at(i));
        }
    }
}

std::optional<long> TReferenceIndex::FindId(const QString& name) const
{
    const auto found = m_idsByName.constFind(name);
    if (found == m_idsByName.constEnd()) {
        return std::nullopt;
    }
    return found.value();
}
