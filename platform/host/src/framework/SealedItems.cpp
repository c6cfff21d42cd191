#include "framework/SealedItems.h"

#include <QtCore/QDataStream>

#include <cstring>
#include <utility>

#include <sodium.h>

namespace {

constexpr int NONCE_BYTES = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr int TAG_BYTES = crypto_aead_xchacha20poly1305_ietf_ABYTES;
// Lengths are rounded up to a multiple, so that the file does not show the password's length.
constexpr int BLOCK_BYTES = 128;
constexpr unsigned char PADDING_MARK = 0x80;

static_assert(hostimpl::TSecretKey::SIZE_BYTES == crypto_aead_xchacha20poly1305_ietf_KEYBYTES);

unsigned char* Octets(QByteArray& bytes)
{
    return reinterpret_cast<unsigned char*>(bytes.data());
}

const unsigned char* Octets(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

unsigned long long Size(const QByteArray& bytes)
{
    return static_cast<unsigned long long>(bytes.size());
}

void Wipe(QByteArray& bytes)
{
    sodium_memzero(bytes.data(), static_cast<std::size_t>(bytes.size()));
}

// The item's number is authenticated too, so that the sealed values of two items cannot be swapped
// in the file.
QByteArray Context(int itemKey)
{
    return "console configuration item " + QByteArray::number(itemKey);
}

void Pad(QByteArray& bytes)
{
    const int length = bytes.size();
    const int padded = (length / BLOCK_BYTES + 1) * BLOCK_BYTES;
    QByteArray result(padded, '\0');
    std::memcpy(result.data(), bytes.constData(), static_cast<std::size_t>(length));
    result[length] = static_cast<char>(PADDING_MARK);
    Wipe(bytes);
    bytes.swap(result);
}

QByteArray ToPlain(const QVariant& value)
{
    QByteArray plain;
    QDataStream stream(&plain, QIODevice::WriteOnly);
    stream.setVersion(hostimpl::CONFIG_STREAM_VERSION);
    stream << value;
    return plain;
}

// QDataStream stops at the value's end; therefore the padding need not be removed.
QVariant FromPlain(const QByteArray& plain)
{
    QDataStream stream(plain);
    stream.setVersion(hostimpl::CONFIG_STREAM_VERSION);
    QVariant value;
    stream >> value;
    return stream.status() == QDataStream::Ok ? value : QVariant();
}

} // namespace

namespace hostimpl {

QByteArray SealItem(const TSecretKey& key, int itemKey, const QVariant& value)
{
    QByteArray plain = ToPlain(value);
    Pad(plain);
    const QByteArray context = Context(itemKey);
    QByteArray sealed(NONCE_BYTES + plain.size() + TAG_BYTES, '\0');
    unsigned char* const nonce = Octets(sealed);
    randombytes_buf(nonce, NONCE_BYTES);
    crypto_aead_xchacha20poly1305_ietf_encrypt(
        nonce + NONCE_BYTES, nullptr, Octets(std::as_const(plain)), Size(plain), Octets(context),
        Size(context), nullptr, nonce, key.Bytes());
    Wipe(plain);
    return sealed;
}

QVariant UnsealItem(const TSecretKey& key, int itemKey, const QByteArray& sealed)
{
    if (sealed.size() < NONCE_BYTES + TAG_BYTES) {
        return {};
    }
    const QByteArray context = Context(itemKey);
    const unsigned char* const nonce = Octets(sealed);
    QByteArray plain(sealed.size() - NONCE_BYTES - TAG_BYTES, '\0');
    const bool isOurs =
        crypto_aead_xchacha20poly1305_ietf_decrypt(
            Octets(plain), nullptr, nullptr, nonce + NONCE_BYTES, Size(sealed) - NONCE_BYTES,
            Octets(context), Size(context), nonce, key.Bytes()) == 0;
    QVariant value = isOurs ? FromPlain(plain) : QVariant();
    Wipe(plain);
    return value;
}

} // namespace hostimpl
