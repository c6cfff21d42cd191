#include "hostimpl/TConfigStore.h"

#include "files/Posix.h"
#include "framework/BlankedCopies.h"
#include "framework/ConfigFile.h"
#include "framework/DealerLog.h"
#include "framework/HostLog.h"
#include "framework/SealedItems.h"
#include "framework/TSealedItems.h"

#include <QtCore/QStringList>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace {

constexpr int DEFAULT_USER_LOG_LEVEL = 8; // the user log takes entries of this level and below

QString KeyPath(const QString& path)
{
    return path + QStringLiteral(".key");
}

// Used until a log file is set.
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

TConfigStore::TConfigStore()
    : m_sealed(std::make_unique<TSealedItems>()), m_userLog(std::make_shared<TMessageLog>())
{}

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
    m_fileError = 0;
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

// An unreadable file is never replaced. An invalid file is put aside and replaced.
QString TConfigStore::Load(const QString& path)
{
    TConfigItems items;
    QString errorText;
    errno = 0;
    const EConfigRead result = ReadConfigFile(path, items, errorText);
    if (result == EConfigRead::eUnreadable) {
        m_path.clear();
        m_fileError = errno == 0 ? EIO : errno;
        *m_sealed = {};
        return QStringLiteral("The configuration %1 cannot be read (%2). Changes will be lost when "
                              "the console ends.")
            .arg(path, errorText);
    }
    QStringList problems;
    if (result == EConfigRead::eInvalid) {
        problems << PutAside(path, errorText);
    }
    m_persisted = items.values;
    problems << OpenSealed(path, items.sealed) << BlankCopies(path);
    problems.removeAll(QString());
    return problems.join(QLatin1Char(' '));
}

QString TConfigStore::PutAside(const QString& path, const QString& errorText)
{
    errno = 0;
    const QString aside = PutConfigFileAside(path);
    if (aside.isEmpty()) {
        m_path.clear();
        m_fileError = errno == 0 ? EIO : errno;
        return QStringLiteral("The configuration %1 is not valid (%2) and cannot be renamed. "
                              "Changes will be lost when the console ends.")
            .arg(path, errorText);
    }
    return QStringLiteral("The configuration %1 is not valid (%2). The file was renamed to %3, and "
                          "the console starts with an empty configuration.")
        .arg(path, errorText, aside);
}

// An older console without sealing has written the items as plain text. They are sealed at once. If
// there is no key, the file stays as it is.
QString TConfigStore::OpenSealed(const QString& path, const QMap<int, QByteArray>& sealed)
{
    const QMap<int, QVariant> plain = m_persisted;
    QString problem = m_sealed->Open(KeyPath(path), sealed, m_persisted);
    const bool hasOld = std::any_of(std::begin(SEALED_ITEMS), std::end(SEALED_ITEMS),
                                    [&plain](int item) { return plain.contains(item); });
    if (!hasOld) {
        return problem;
    }
    QString sealProblem = m_sealed->Seal(m_persisted);
    if (sealProblem.isEmpty()) {
        sealProblem = WriteThrough();
    }
    m_isUnsaved = m_isUnsaved || !sealProblem.isEmpty();
    return problem.isEmpty() ? sealProblem : problem + QLatin1Char(' ') + sealProblem;
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
    m_sealed->Forget(itemKey);
    const bool wasReportedBefore = m_isUnsaved;
    const QString problem = WriteThrough();
    if (!problem.isEmpty()) {
        qCWarning(lcHost, "%s", qUtf8Printable(problem));
        if (!wasReportedBefore) {
            ReportToDealer(*this, problem);
        }
    }
}

int TConfigStore::Flush()
{
    const QMutexLocker fileLock(&m_fileMutex);
    if (m_fileError != 0) {
        WriteThrough();
    }
    return m_fileError;
}

int TConfigStore::FlushAll()
{
    const QMutexLocker fileLock(&m_fileMutex);
    if (m_isUnsaved || m_fileError != 0) {
        WriteThrough();
    }
    return m_fileError == 0 && m_isUnsaved ? ENOKEY : m_fileError;
}

// An item that cannot be sealed is left out; the other items are written.
QString TConfigStore::WriteThrough()
{
    if (m_path.isEmpty()) {
        return {};
    }
    QStringList problems(m_sealed->Seal(m_persisted));
    TConfigItems items{m_persisted, m_sealed->Sealed()};
    for (const int item : SEALED_ITEMS) {
        items.values.remove(item);
    }
    for (auto item = items.sealed.begin(); item != items.sealed.end(); ++item) {
        items.values.remove(item.key());
    }
    m_fileError = WriteConfigFile(m_path, items);
    if (m_fileError != 0) {
        problems << QStringLiteral("The configuration %1 cannot be written: %2")
                        .arg(m_path, SystemError(m_fileError));
    }
    problems.removeAll(QString());
    m_isUnsaved = !problems.isEmpty();
    return problems.join(QLatin1Char(' '));
}

bool TConfigStore::IsUserLogEnabled(int, int target, int, int level) const
{
    const QVariant wanted = GetItem(eUserLogLevelItem);
    return target == CONSOLE_LOG &&
           level <= (wanted.isValid() ? wanted.toInt() : DEFAULT_USER_LOG_LEVEL);
}

UserLogAccessorPtr TConfigStore::GetUserLogAccessor()
{
    const QMutexLocker lock(&m_mutex);
    return m_userLog;
}

} // namespace hostimpl
