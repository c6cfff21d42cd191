// Which configuration items are kept sealed, and how one is sealed.
#pragma once

#include "framework/TSecretKey.h"

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

namespace hostimpl {

// The items that the configuration's file must not tell.
constexpr int SEALED_ITEMS[] = {
    24290, // the operator's password
};

constexpr bool IsSealedItem(int itemKey)
{
    for (const int item : SEALED_ITEMS) {
        if (item == itemKey) {
            return true;
        }
    }
    return false;
}

// nonce | XChaCha20-Poly1305 of the value's padded stream, bound to the item's key. Each time
// another, for the nonce is random.
QByteArray SealItem(const TSecretKey& key, int itemKey, const QVariant& value);

// What was sealed; invalid if it is torn, another item's or sealed under another key.
QVariant UnsealItem(const TSecretKey& key, int itemKey, const QByteArray& sealed);

} // namespace hostimpl
