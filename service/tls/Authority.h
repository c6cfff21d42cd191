// The service's own certificate authority in its data folder.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kelvo::tls {

struct CertificateFiles
{
    std::filesystem::path certificate; // PEM; the server's certificate comes first
    std::filesystem::path key;         // PEM
};

/**
 * Makes sure that `dataFolder` holds an authority (ca.pem for clients, its key in tls/ with mode
 * 0600) and a server certificate for `names`. Renews the server certificate if it ends within 30
 * days or lacks a name. Blocks. Errors: std::runtime_error or std::system_error.
 */
CertificateFiles ensureCertificates(const std::filesystem::path& dataFolder,
                                    const std::vector<std::string>& names);

} // namespace kelvo::tls
