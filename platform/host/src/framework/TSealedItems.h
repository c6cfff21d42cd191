// The sealed items of the configuration file.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace hostimpl {

// Stores the sealed form of items and seals items that changed. A sealed form that cannot be
// decrypted is kept until its item changes, because a restored key file can decrypt it later.
//
// From one thread at a time. Errors: texts name items by number and never hold a value.
class TSealedItems final
{
public:
    // Stores a file's sealed items and puts their decrypted values into `items`. Returns the
    // problems, or an empty text.
    QString Open(const QString& keyPath, const QMap<int, QByteArray>& sealed,
                 QMap<int, QVariant>& items);

    // Drops an item's sealed form, because the item has a new value.
    void Forget(int itemKey) { m_sealed.remove(itemKey); }

    // Seals each item of SEALED_ITEMS that has no sealed form yet. Creates the key if it is
    // missing. Returns the problem, or an empty text. A later call retries.
    QString Seal(const QMap<int, QVariant>& items);

    const QMap<int, QByteArray>& Sealed() const { return m_sealed; }

private:
    QString m_keyPath;
    QMap<int, QByteArray> m_sealed;
};

} // namespace hostimpl
