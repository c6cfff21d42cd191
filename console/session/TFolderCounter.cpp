#include "console/session/TFolderCounter.h"

#include "console/session/Categories.h"
#include "host/TSystemSettings.h"
#include "hostimpl/Folders.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>
#include <QtCore/QStorageInfo>

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace {

constexpr std::chrono::seconds endWait{1};

std::optional<int> CountEntries(const QString& folder, const QStringList& names,
                                QDir::Filters filters, const std::atomic<bool>& isStopped)
{
    const QFileInfo info(folder);
    if (!info.isDir() || !info.isReadable()) {
        return std::nullopt;
    }
    int count = 0;
    QDirIterator entries(folder, names, filters);
    while (entries.hasNext() && !isStopped) {
        entries.next();
        ++count;
    }
    return count;
}

} // namespace

namespace console {

TFolderFigures CountFolders(const std::atomic<bool>& isStopped)
{
    const TSystemSettingsProxy settings;
    TFolderFigures figures;
    for (std::size_t project = 0; project < categories.size(); ++project) {
        const TCategory& category = categories.at(project);
        TFolderFigures::TCount& count = figures.categories.at(project);
        if (category.download != nullptr) {
            count.downloaded = CountEntries(
                (settings.*category.download)(), {},
                QDir::Files | QDir::AllDirs | QDir::NoSymLinks | QDir::NoDotAndDotDot, isStopped);
        }
        if (category.upload != nullptr) {
            count.toSend = CountEntries((settings.*category.upload)(),
                                        {QLatin1Char('*') + TSystemSettings::ZIPExtension},
                                        QDir::Files | QDir::NoSymLinks, isStopped);
        }
    }
    const QStorageInfo storage(hostimpl::DataFolder());
    if (storage.isValid()) {
        figures.freeBytes = storage.bytesAvailable();
    }
    return figures;
}

struct TFolderCounter::TShared
{
    TCount count;
    std::atomic<bool> isStopped{false};
    std::mutex mutex; // guards what follows
    std::condition_variable changed;
    bool isWanted = false;
    bool hasEnded = false;
    std::optional<TFolderFigures> result;

    void Run()
    {
        std::unique_lock lock(mutex);
        while (!isStopped) {
            if (!isWanted) {
                changed.wait(lock);
                continue;
            }
            isWanted = false;
            lock.unlock();
            TFolderFigures figures = count(isStopped);
            lock.lock();
            result = figures;
        }
        hasEnded = true;
        changed.notify_all();
    }
};

// The thread owns a share of what it uses, because it may outlive the counter.
TFolderCounter::TFolderCounter(TCount count) : m_shared(std::make_shared<TShared>())
{
    m_shared->count = std::move(count);
    try {
        std::thread([shared = m_shared] { shared->Run(); }).detach();
    } catch (const std::system_error&) { // without a thread there are no figures
        m_shared->hasEnded = true;
    }
}

TFolderCounter::~TFolderCounter()
{
    m_shared->isStopped = true;
    std::unique_lock lock(m_shared->mutex);
    m_shared->changed.notify_all();
    m_shared->changed.wait_for(lock, endWait, [this] { return m_shared->hasEnded; });
}

std::optional<TFolderFigures> TFolderCounter::Look(TClock::time_point now)
{
    const std::lock_guard lock(m_shared->mutex);
    if (m_shared->result) {
        m_figures = *std::exchange(m_shared->result, std::nullopt);
        m_countedAt = now;
        m_isCounting = false;
    }
    if (!m_isCounting && (m_isChanged || !m_countedAt || now - *m_countedAt >= period)) {
        m_isChanged = false;
        m_isCounting = true;
        m_begun = now;
        m_shared->isWanted = true;
        m_shared->changed.notify_all();
    }
    const bool isSilent = m_isCounting && now - m_begun >= countLimit;
    return m_countedAt && !isSilent ? std::optional(m_figures) : std::nullopt;
}

} // namespace console
