// The configuration manager: items kept in one file.
#include "hostimpl/TConfigStore.h"

#include "framework/ConfigFile.h"
#include "framework/HostLog.h"

namespace {

constexpr int consoleLog = 0;          // the only log that there is
constexpr int defaultUserLogLevel = 8; // entries of this level and below are wanted

// Stands in until there is a log file.
class TMessageLog final : public UserLogAccessor
{
public:
    void Write(int, int, int, const QString& code, const QString& message) override
    {
        qCInfo(lcHost, "User log: %s %s", qUtf8Printable(code), qUtf8Printable(message));
    }
};

} // namespace

ConfigManager& ConfigManager::Instance()
{
    return hostimpl::TConfigStore::Process();
}

ConfigManager::~ConfigManager() = default;

namespace hostimpl {

TConfigStore::TConfigStore() : m_userLog(std::make_shared<TMessageLog>()) {}

TConfigStore::~TConfigStore() = default;

TConfigStore& TConfigStore::Process()
{
    static TConfigStore& store = *new TConfigStore; // outlives every thread that uses it
    return store;
}

QString TConfigStore::Open(const QString& path)
{
    const QMutexLocker fileLock(&m_fileMutex);
    m_path = path;
    m_isUnsaved = false;
    m_persisted.clear();
    QString problem = Load(path);
    if (!problem.isEmpty()) {
        qCWarning(lcHost, "%s", qUtf8Printable(problem));
    }
    const QMutexLocker lock(&m_mutex);
    m_items.clear();
    for (auto item = m_persisted.begin(); item != m_persisted.end(); ++item) {
        m_items.insert(item.key(), item.value());
    }
    return problem;
}

// A file that cannot be read, as opposed to one that cannot be understood, is not ours to replace.
QString TConfigStore::Load(const QString& path)
{
    QString errorText;
    switch (ReadConfigFile(path, m_persisted, errorText)) {
    case EConfigRead::eRead:
    case EConfigRead::eMissing:
        return {};
    case EConfigRead::eUnreadable:
        m_path.clear();
        return QStringLiteral("The configuration %1 cannot be read (%2). Changes of it will not "
                              "outlast this run.")
            .arg(path, errorText);
    case EConfigRead::eInvalid:
        break;
    }
    const QString aside = PutConfigFileAside(path);
    if (aside.isEmpty()) {
        m_path.clear();
        return QStringLiteral("The configuration %1 is not valid (%2) and cannot be put aside. "
                              "Changes of it will not outlast this run.")
            .arg(path, errorText);
    }
    return QStringLiteral("The configuration %1 is not valid (%2). It is kept as %3, and the "
                          "console starts without it.")
        .arg(path, errorText, aside);
}

void TConfigStore::SetUserLogAccessor(const UserLogAccessorPtr& accessor)
{
    const QMutexLocker lock(&m_mutex);
    m_userLog = accessor ? accessor : std::make_shared<TMessageLog>();
}

QVariant TConfigStore::GetItem(int itemKey) const
{
    const QMutexLocker lock(&m_mutex);
    return m_items.value(itemKey);
}

void TConfigStore::SetItem(int itemKey, const QVariant& value, bool persist)
{
    const QMutexLocker fileLock(&m_fileMutex);
    {
        const QMutexLocker lock(&m_mutex);
        if (value.isValid()) {
            m_items.insert(itemKey, value);
        } else {
            m_items.remove(itemKey);
        }
    }
    if (!persist) {
        return;
    }
    if (!m_isUnsaved && IsSameItem(m_persisted.value(itemKey), value)) {
        return;
    }
    if (value.isValid()) {
        m_persisted.insert(itemKey, value);
    } else {
        m_persisted.remove(itemKey);
    }
    WriteThrough();
}

void TConfigStore::WriteThrough()
{
    if (m_path.isEmpty()) {
        return;
    }
    QString errorText;
    m_isUnsaved = !WriteConfigFile(m_path, m_persisted, errorText);
    if (m_isUnsaved) {
        qCWarning(lcHost, "The configuration %s cannot be written: %s", qUtf8Printable(m_path),
                  qUtf8Printable(errorText));
    }
}

bool TConfigStore::IsUserLogEnabled(int, int target, int, int level) const
{
    const QVariant wanted = GetItem(eUserLogLevelItem);
    return target == consoleLog &&
           level <= (wanted.isValid() ? wanted.toInt() : defaultUserLogLevel);
}

UserLogAccessorPtr TConfigStore::GetUserLogAccessor()
{
    const QMutexLocker lock(&m_mutex);
    return m_userLog;
}

} // namespace hostimpl
