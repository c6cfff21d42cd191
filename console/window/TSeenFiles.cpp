#include "console/window/TSeenFiles.h"

#include "host/ConfigManager.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

// The key in the configuration: a map from an operator's digest to a list of texts, one for each
// category, such as "12,15". The number must stay: it is on the disks of consoles.
constexpr int seenFilesItem = 209;

QSet<int> FromText(const QString& text)
{
    QSet<int> ids;
    const QStringList parts = text.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& part : parts) {
        ids.insert(part.toInt());
    }
    return ids;
}

QString ToText(const QSet<int>& ids)
{
    QStringList parts;
    for (const int id : ids) {
        parts << QString::number(id);
    }
    return parts.join(QLatin1Char(','));
}

} // namespace

namespace console {

void TSeenFiles::SetOperator(const QString& user, const QString& service)
{
    Save();
    const QByteArray name = (user + QLatin1Char('\n') + service).toUtf8();
    m_operator = QString::fromLatin1(
        QCryptographicHash::hash(name, QCryptographicHash::Sha256).toHex().left(16));
    const QStringList texts =
        m_config.GetItem(seenFilesItem).toMap().value(m_operator).toStringList();
    for (std::size_t project = 0; project < m_ids.size(); ++project) {
        m_ids.at(project) = FromText(texts.value(static_cast<int>(project)));
    }
}

int TSeenFiles::CountNew(int project, const KelvoFileInfoList& files) const
{
    const QSet<int>& seen = m_ids.at(static_cast<std::size_t>(project));
    return static_cast<int>(
        std::count_if(files.fileIds.cbegin(), files.fileIds.cend(),
                      [&seen](long id) { return !seen.contains(static_cast<int>(id)); }));
}

void TSeenFiles::SetSeen(int project, const KelvoFileInfoList& files, const QSet<int>& hiddenRows)
{
    if (CountNew(project, files) == 0) {
        return;
    }
    QSet<int>& seen = m_ids.at(static_cast<std::size_t>(project));
    QSet<int> now;
    for (int row = 0; row < files.fileIds.size(); ++row) {
        const int id = static_cast<int>(files.fileIds.at(row));
        if (!hiddenRows.contains(row) || seen.contains(id)) {
            now.insert(id);
        }
    }
    if (now != seen) {
        seen = now;
        m_isUnsaved = true;
    }
}

void TSeenFiles::Save()
{
    if (!std::exchange(m_isUnsaved, false)) {
        return;
    }
    QStringList texts;
    for (const QSet<int>& ids : m_ids) {
        texts << ToText(ids);
    }
    QVariantMap all = m_config.GetItem(seenFilesItem).toMap();
    all.insert(m_operator, texts);
    m_config.SetItem(seenFilesItem, all, true);
}

} // namespace console
