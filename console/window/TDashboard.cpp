#include "console/window/TDashboard.h"

#include "console/session/Categories.h"
#include "host/ConfigManager.h"
#include "hostimpl/Listing.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

constexpr int userNameItem = 24289; // in the configuration

// In the words of the plug-in's screens.
bool IsChosen(int project, const QStringList& choices)
{
    const auto isShown = [&choices](const char* text) {
        return choices.contains(QCoreApplication::translate("TKelvoFileControlWidget", text));
    };
    const char* const name = console::categories.at(static_cast<std::size_t>(project)).name;
    return choices.isEmpty() || (isShown(name) && isShown("KELVO"));
}

} // namespace

namespace console {

TDashboard::TDashboard(ConfigManager& config, const QString& service, TFolderCounter::TCount count)
    : m_config(config), m_service(service), m_seen(config), m_folders(std::move(count))
{
    hostimpl::SetListing(m_files.Listing());
}

void TDashboard::OnHubEvent(const THubEvent& event)
{
    m_files.OnHubEvent(event);
    hostimpl::SetListing(m_files.Listing());
    m_folders.Refresh();
    if (event.signal == EHubSignal::eLoggedIn) {
        m_seen.SetOperator(m_config.GetItem(userNameItem).toString(), m_service);
    }
    CountFiles();
}

void TDashboard::OnNamesShown(const QStringList& names, const QStringList& choices,
                              const QSet<int>& hiddenRows)
{
    for (int project = 0; project < KELVO_PROJECT_COUNT; ++project) {
        const KelvoFileInfoList* const files = m_files.Files(project);
        if (files != nullptr && files->fileNames == names && IsChosen(project, choices)) {
            m_seen.SetSeen(project, *files, hiddenRows);
        }
    }
    CountFiles();
}

bool TDashboard::HasNewInListOf(int fileCount) const
{
    return std::any_of(m_state.service.cbegin(), m_state.service.cend(),
                       [fileCount](const auto& each) {
                           return each && each->isNew > 0 && each->files == fileCount;
                       });
}

// Looks up each file. The state is read four times a second, so it is kept.
void TDashboard::CountFiles()
{
    m_state.isLoggedIn = m_files.Listing() != hostimpl::EListing::eLoggedOut;
    for (int project = 0; project < KELVO_PROJECT_COUNT; ++project) {
        auto& count = m_state.service.at(static_cast<std::size_t>(project));
        count.reset();
        if (const KelvoFileInfoList* const files = m_files.Files(project)) {
            count = {files->fileNames.size(), m_seen.CountNew(project, *files)};
        }
    }
}

THomeState TDashboard::State(TFolderCounter::TClock::time_point now)
{
    THomeState state = m_state;
    state.folders = m_folders.Look(now);
    return state;
}

} // namespace console
