// The worker's listings of the downloadable files on the service.
#include "kesdk/api/IEnterpriseConnection.h"
#include "worker/ConsoleLong.h"
#include "worker/ServiceProjects.h"
#include "worker/TKelvoThreadObject.h"

#include <QtCore/QSet>

#include <cwchar>

namespace {

// The largest inbox id that a change report can hold on the console.
constexpr qint64 MAX_REPORTED_ID = 0xFFFFFFFF;

// Only the first occurrence counts: a name that also contains the suffix earlier does not match.
// This is required: do not replace it by an ends-with test.
bool FirstOccurrenceIsAtTheEnd(const wchar_t* name, const wchar_t* suffix)
{
    const wchar_t* found = std::wcsstr(name, suffix);
    return found != nullptr && std::wcslen(found) == std::wcslen(suffix);
}

} // namespace

void TKelvoThreadObject::RefreshToConsoleFileList(EKelvoProjects project, bool useGivenInboxId,
                                                  long inboxId)
{
    if (!useGivenInboxId) {
        const auto [found, id] = GetToConsoleProjectUserInboxId(project);
        if (!found) {
            return; // the screens keep their previous list
        }
        inboxId = NarrowToConsoleLong(id);
    }
    // A failed query gives an empty content, and so an empty listing.
    const TResource inbox = m_connection->GetResourceWithContent(WidenConsoleLong(inboxId));

    KelvoFileInfoList listing;
    QSet<qint64> taken;
    for (const kesdk::api::EnterpriseResource& entry : inbox.content) {
        if (entry.kind != kesdk::api::eFileResource ||
            !IsFileNameDownloadable(entry.name.c_str()) || taken.contains(entry.id)) {
            continue;
        }
        taken.insert(entry.id);
        listing.fileIds.append(NarrowToConsoleLong(entry.id));
        listing.fileNames.append(QString::fromStdWString(entry.name));
        listing.fileNames.last().squeeze(); // Qt reserved four times the length
    }
    Q_EMIT NewKelvoProjectFilesList(project, listing);
}

bool TKelvoThreadObject::IsFileNameDownloadable(const wchar_t* fileName) const
{
    return FirstOccurrenceIsAtTheEnd(fileName, m_zipExtension.get()) ||
           FirstOccurrenceIsAtTheEnd(fileName, m_zip2Extension.get());
}

void TKelvoThreadObject::OnFileModifiedInUserInbox(long, unsigned long userInboxId)
{
    if (m_connection == nullptr) {
        return;
    }
    for (const EKelvoProjects project : LISTED_PROJECTS) {
        const auto [found, id] = GetToConsoleProjectUserInboxId(project);
        if (found && id <= MAX_REPORTED_ID && static_cast<quint64>(id) == userInboxId) {
            RefreshToConsoleFileList(project, true, NarrowToConsoleLong(id));
            return;
        }
    }
}

void TKelvoThreadObject::OnFileModifiedInProjectInbox(long, unsigned long projectInboxId)
{
    if (m_connection == nullptr) {
        return;
    }
    for (const EKelvoProjects project : LISTED_PROJECTS) {
        const auto [found, id] = GetProjectInboxId(project);
        // Compares 32 bits: a change report's id has no more on the console.
        if (found && static_cast<quint32>(id) == projectInboxId) {
            RefreshToConsoleFileList(project, false, 0);
            return;
        }
    }
}
