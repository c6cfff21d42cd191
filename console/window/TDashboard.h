// Collects what the home page and the badge of the launcher show.
#pragma once

#include "console/session/TFolderCounter.h"
#include "console/window/HomeTexts.h"
#include "console/window/TSeenFiles.h"
#include "console/window/TServiceFiles.h"

class ConfigManager;

namespace console {

// From the hub's signals, the local folders, the status of the link and the position. It
// sends no request. Thread: main; only SaveSeen() and a login wait for the disk.
class TDashboard
{
public:
    // `service`: host[:port], or empty for the plug-in's default. `config` must outlive the object.
    TDashboard(ConfigManager& config, const QString& service,
               TFolderCounter::TCount count = CountFolders);

    void OnHubEvent(const THubEvent& event);
    // The screen shows this list of names to the operator now. `choices`: the values of the page's
    // rows. If a category has exactly these names in this order, its files are no longer new. The
    // files in `hiddenRows`, which a search hides, stay as new as they were.
    // On a page with rows, one row must show the category and one the service.
    void OnNamesShown(const QStringList& names, const QStringList& choices = {},
                      const QSet<int>& hiddenRows = {});
    // Whether a category with this number of files has new files. Only then OnNamesShown() can
    // change something.
    bool HasNewInListOf(int fileCount) const;
    // The number in all categories. The call is cheap.
    int NewFiles() const { return m_state.NewFiles(); }
    // Stores which files the operator has seen.
    void SaveSeen() { m_seen.Save(); }
    // The operator may change the local folders now: the next State() begins a count.
    void RefreshFolders() { m_folders.Refresh(); }
    // Begins a count of the local folders when it is due. Call it only while the figures are shown.
    THomeState State(TFolderCounter::TClock::time_point now);

private:
    void CountFiles();

    ConfigManager& m_config;
    const QString m_service;
    TServiceFiles m_files;
    TSeenFiles m_seen;
    TFolderCounter m_folders;
    THomeState m_state; // without folders, link and position
};

} // namespace console
