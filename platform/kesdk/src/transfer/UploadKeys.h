// The idempotency keys of uploads.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

namespace kesdk::impl {

// Gives the same key for the same state of the same file to the same targets, so that an upload
// whose answer was lost is asked for and not sent twice, even after a restart of the console: no
// journal can be lost, because the key is computed. Once an upload has come to its end the next one
// of the same file gets another key.
class UploadKeys
{
public:
    std::string KeyOf(const std::string& identity) const;
    // Whether an upload with the present key may have begun, as far as this object knows.
    bool MayHaveBegun(const std::string& identity) const;

    void Begun(const std::string& identity);
    // The present key has served.
    void Spent(const std::string& identity);

private:
    std::unordered_map<std::string, int> m_spent; // how many keys of an identity have served
    std::unordered_set<std::string> m_begun;
};

} // namespace kesdk::impl
