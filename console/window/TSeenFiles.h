// Remembers which of the service's files each operator has seen.
#pragma once

#include "console/session/HubEvent.h"

#include <QtCore/QSet>
#include <QtCore/QString>

#include <array>

class ConfigManager;

namespace console {

// The memory is an item of the configuration, one for all operators, and survives a restart. A name
// of an operator is stored as a digest only. Thread: main.
class TSeenFiles
{
public:
    explicit TSeenFiles(ConfigManager& config) : m_config(config) {}

    // Saves what the last operator has seen, and reads what this operator has seen. The same id on
    // another service is another file.
    void SetOperator(const QString& user, const QString& service);
    // How many of the files the operator has not seen.
    int CountNew(int project, const KelvoFileInfoList& files) const;
    // The operator has seen the files of the category, except those in `hiddenRows` of the list.
    // Forgets the files that are not in the list.
    void SetSeen(int project, const KelvoFileInfoList& files, const QSet<int>& hiddenRows = {});
    // Returns when the configuration has what was seen. Waits for the disk only after a change.
    void Save();

private:
    ConfigManager& m_config;
    bool m_isUnsaved = false;
    QString m_operator; // a digest; empty before SetOperator()
    std::array<QSet<int>, KELVO_PROJECT_COUNT> m_ids;
};

} // namespace console
