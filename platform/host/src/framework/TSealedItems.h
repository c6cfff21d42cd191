// The sealed part of the configuration's file.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace hostimpl {

// Keeps what the file holds of sealed items, and seals those that changed. What does not open is
// kept as it is until its item is changed, because its key may come back.
//
// From one thread at a time. Errors: texts name items by number and never hold a value.
class TSealedItems final
{
public:
    // Takes over what a file holds and puts the values that open into `items`. Returns what went
    // wrong, or an empty text.
    QString Open(const QString& keyPath, const QMap<int, QByteArray>& sealed,
                 QMap<int, QVariant>& items);

    // What was sealed of an item is not its value any more.
    void Forget(int itemKey) { m_sealed.remove(itemKey); }

    // Seals those of `items` that have to be and are not, with a new key if there is none. Returns
    // what went wrong, or an empty text; a later call tries again.
    QString Seal(const QMap<int, QVariant>& items);

    const QMap<int, QByteArray>& Sealed() const { return m_sealed; }

private:
    QString m_keyPath;
    QMap<int, QByteArray> m_sealed;
};

} // namespace hostimpl
