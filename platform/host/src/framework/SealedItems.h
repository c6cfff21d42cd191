// The table of sealed configuration items, and the sealing (encryption) of an item.
#pragma once

#include "framework/TSecretKey.h"

#include <QtCore/QByteArray>
#include <QtCore/QDataStream>
#include <QtCore/QVariant>

namespace hostimpl {

// The format of values in the configuration file.
constexpr QDataStream::Version CONFIG_STREAM_VERSION = QDataStream::Qt_5_15;

// The items that the configuration file holds only in sealed form.
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

// Returns nonce | XChaCha20-Poly1305 of the value's padded stream, authenticated together with
// `itemKey`. The nonce is random; therefore each call returns a different result.
QByteArray SealItem(const TSecretKey& key, int itemKey, const QVariant& value);

// Returns the value. The value is invalid if `sealed` is damaged, belongs to another item, or was
// sealed with another key.
QVariant UnsealItem(const TSecretKey& key, int itemKey, const QByteArray& sealed);

} // namespace hostimpl
