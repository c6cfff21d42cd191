// The idempotency keys of uploads.
#include "transfer/UploadKeys.h"

#include "base/DigestText.h"

namespace kesdk::impl {

std::string UploadKeys::KeyOf(const std::string& identity) const
{
    const auto spent = m_spent.find(identity);
    const std::string text =
        identity + '\n' + std::to_string(spent == m_spent.end() ? 0 : spent->second);
    Sha256 hash;
    hash.Update(text.data(), text.size());
    return ToHex(hash.Finish());
}

bool UploadKeys::MayHaveBegun(const std::string& identity) const
{
    return m_begun.count(identity) > 0;
}

void UploadKeys::Begun(const std::string& identity)
{
    m_begun.insert(identity);
}

void UploadKeys::Spent(const std::string& identity)
{
    ++m_spent[identity];
    m_begun.erase(identity);
}

} // namespace kesdk::impl
