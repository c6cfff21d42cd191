#include "framework/TSealedItems.h"

#include "framework/SealedItems.h"

#include <QtCore/QFile>
#include <QtCore/QStringList>

namespace {

bool HasUnsealed(const QMap<int, QVariant>& items, const QMap<int, QByteArray>& sealed)
{
    for (const int item : hostimpl::SEALED_ITEMS) {
        if (items.contains(item) && !sealed.contains(item)) {
            return true;
        }
    }
    return false;
}

} // namespace

namespace hostimpl {

QString TSealedItems::Open(const QString& keyPath, const QMap<int, QByteArray>& sealed,
                           QMap<int, QVariant>& items)
{
    m_keyPath = keyPath;
    m_sealed = sealed;
    if (m_sealed.isEmpty()) {
        return {};
    }
    TSecretKey key;
    QString remark;
    const bool hasKey = key.Load(m_keyPath, remark) == EKeyFile::eLoaded;
    QStringList problems;
    if (!remark.isEmpty()) {
        problems << remark;
    }
    for (auto entry = m_sealed.begin(); entry != m_sealed.end(); ++entry) {
        const QVariant value = hasKey ? UnsealItem(key, entry.key(), entry.value()) : QVariant();
        if (value.isValid()) {
            items.insert(entry.key(), value);
        } else {
            problems << QStringLiteral("The sealed item %1 of the configuration cannot be "
                                       "decrypted. The item is empty until it is entered again.")
                            .arg(entry.key());
        }
    }
    return problems.join(QLatin1Char(' '));
}

QString TSealedItems::Seal(const QMap<int, QVariant>& items)
{
    if (!HasUnsealed(items, m_sealed)) {
        return {};
    }
    TSecretKey key;
    QString remark;
    const EKeyFile state = key.Load(m_keyPath, remark);
    bool hasKey = state == EKeyFile::eLoaded;
    if (state == EKeyFile::eMissing || state == EKeyFile::eInvalid) {
        if (state == EKeyFile::eInvalid) {
            QFile::remove(m_keyPath);
        }
        QString errorText;
        hasKey = key.Create(m_keyPath, errorText);
        remark = QStringLiteral("The key %1 cannot be created: %2.").arg(m_keyPath, errorText);
        // The other items were sealed with the old key, which is lost.
        for (auto item = items.begin(); hasKey && item != items.end(); ++item) {
            Forget(item.key());
        }
    }
    if (!hasKey) {
        return remark + QStringLiteral(" The sealed items will be lost when the console ends.");
    }
    for (const int item : SEALED_ITEMS) {
        if (items.contains(item) && !m_sealed.contains(item)) {
            m_sealed.insert(item, SealItem(key, item, items.value(item)));
        }
    }
    return {};
}

} // namespace hostimpl
