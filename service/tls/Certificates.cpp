#include "service/tls/Certificates.h"

#include <boost/asio/ip/address.hpp>

#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace kelvo::tls {

namespace {

void require(bool worked, const char* what)
{
    if (!worked) {
        throw std::runtime_error(what);
    }
}

using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;

bool isAddress(const std::string& name)
{
    boost::system::error_code error;
    boost::asio::ip::make_address(name, error);
    return !error;
}

/** The text of an address of 4 or 16 bytes. */
std::string addressText(const std::string& bytes)
{
    namespace ip = boost::asio::ip;
    ip::address_v4::bytes_type v4{};
    ip::address_v6::bytes_type v6{};
    if (bytes.size() == v4.size()) {
        std::copy(bytes.begin(), bytes.end(), v4.begin());
        return ip::address_v4(v4).to_string();
    }
    require(bytes.size() == v6.size(), "not an address");
    std::copy(bytes.begin(), bytes.end(), v6.begin());
    return ip::address_v6(v6).to_string();
}

std::string textOf(BIO& bio)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(&bio, &data);
    return {data, static_cast<std::size_t>(size)};
}

/** time_t is not used: it has 32 bits on some machines. */
void setTime(ASN1_TIME* field, std::int64_t timeS)
{
    require(ASN1_TIME_adj(field, 0, static_cast<int>(timeS / dayS),
                          static_cast<long>(timeS % dayS)) != nullptr,
            "cannot set a time");
}

std::int64_t secondsOf(const ASN1_TIME* time)
{
    const std::unique_ptr<ASN1_TIME, decltype(&ASN1_TIME_free)> epoch(ASN1_TIME_set(nullptr, 0),
                                                                      &ASN1_TIME_free);
    int days = 0;
    int seconds = 0;
    require(ASN1_TIME_diff(&days, &seconds, epoch.get(), time) == 1, "cannot read a time");
    return days * dayS + seconds;
}

Certificate blankCertificate(EVP_PKEY& key, const char* commonName, const Validity& validity)
{
    Certificate certificate(X509_new());
    require(certificate != nullptr, "cannot make a certificate");
    X509_set_version(certificate.get(), X509_VERSION_3);
    std::array<unsigned char, 16> serial{};
    require(RAND_bytes(serial.data(), serial.size()) == 1, "no random serial number");
    serial[0] &= 0x7F; // a serial number is positive
    const std::unique_ptr<BIGNUM, decltype(&BN_free)> number(
        BN_bin2bn(serial.data(), serial.size(), nullptr), &BN_free);
    BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate.get()));
    setTime(X509_getm_notBefore(certificate.get()), validity.notBeforeS);
    setTime(X509_getm_notAfter(certificate.get()), validity.notAfterS);
    X509_NAME* subject = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(subject, "O", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("Kelvo"), -1, -1, 0);
    X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(commonName), -1, -1, 0);
    require(X509_set_pubkey(certificate.get(), &key) == 1, "cannot set the public key");
    return certificate;
}

void addExtension(X509& certificate, X509& issuer, int nid, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, &issuer, &certificate, nullptr, nullptr, 0);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()), &X509_EXTENSION_free);
    require(extension && X509_add_ext(&certificate, extension.get(), -1) == 1,
            "cannot add a certificate extension");
}

std::string alternativeNames(const std::vector<std::string>& names)
{
    std::string list;
    for (const std::string& name : names) {
        list += list.empty() ? "" : ",";
        list += (isAddress(name) ? "IP:" : "DNS:") + name;
    }
    return list;
}

} // namespace

Key makeKey()
{
    Key key(EVP_EC_gen("P-256"));
    require(key != nullptr, "cannot make a key");
    return key;
}

Certificate makeAuthority(EVP_PKEY& key, const Validity& validity)
{
    Certificate authority = blankCertificate(key, "Kelvo service authority", validity);
    X509_set_issuer_name(authority.get(), X509_get_subject_name(authority.get()));
    addExtension(*authority, *authority, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    addExtension(*authority, *authority, NID_key_usage, "critical,keyCertSign,cRLSign");
    addExtension(*authority, *authority, NID_subject_key_identifier, "hash");
    require(X509_sign(authority.get(), &key, EVP_sha256()) > 0, "cannot sign");
    return authority;
}

Certificate makeServerCertificate(EVP_PKEY& key, const std::vector<std::string>& names,
                                  X509& authority, EVP_PKEY& authorityKey, const Validity& validity)
{
    Certificate certificate = blankCertificate(key, "Kelvo service", validity);
    X509_set_issuer_name(certificate.get(), X509_get_subject_name(&authority));
    addExtension(*certificate, authority, NID_basic_constraints, "critical,CA:FALSE");
    addExtension(*certificate, authority, NID_key_usage, "critical,digitalSignature");
    addExtension(*certificate, authority, NID_ext_key_usage, "serverAuth");
    addExtension(*certificate, authority, NID_subject_key_identifier, "hash");
    addExtension(*certificate, authority, NID_authority_key_identifier, "keyid:always");
    addExtension(*certificate, authority, NID_subject_alt_name, alternativeNames(names));
    require(X509_sign(certificate.get(), &authorityKey, EVP_sha256()) > 0, "cannot sign");
    return certificate;
}

std::string toPem(X509& certificate)
{
    const Bio bio(BIO_new(BIO_s_mem()), &BIO_free);
    require(PEM_write_bio_X509(bio.get(), &certificate) == 1, "cannot write a certificate");
    return textOf(*bio);
}

std::string toPem(EVP_PKEY& key)
{
    const Bio bio(BIO_new(BIO_s_mem()), &BIO_free);
    require(PEM_write_bio_PKCS8PrivateKey(bio.get(), &key, nullptr, nullptr, 0, nullptr, nullptr) ==
                1,
            "cannot write a key");
    return textOf(*bio);
}

Certificate certificateFromPem(std::string_view pem)
{
    const Bio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), &BIO_free);
    Certificate certificate(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
    require(certificate != nullptr, "not a certificate");
    return certificate;
}

std::vector<Certificate> certificatesFromPem(std::string_view pem)
{
    const Bio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), &BIO_free);
    std::vector<Certificate> all;
    while (X509* next = PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr)) {
        all.emplace_back(next);
    }
    ERR_clear_error(); // of the end of the text
    require(!all.empty(), "not a certificate");
    return all;
}

Key keyFromPem(std::string_view pem)
{
    const Bio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), &BIO_free);
    Key key(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
    require(key != nullptr, "not a private key");
    return key;
}

Validity validityOf(const X509& certificate)
{
    return {secondsOf(X509_get0_notBefore(&certificate)),
            secondsOf(X509_get0_notAfter(&certificate))};
}

std::vector<std::string> namesOf(const X509& certificate)
{
    const std::unique_ptr<GENERAL_NAMES, decltype(&GENERAL_NAMES_free)> found(
        static_cast<GENERAL_NAMES*>(
            X509_get_ext_d2i(&certificate, NID_subject_alt_name, nullptr, nullptr)),
        &GENERAL_NAMES_free);
    std::vector<std::string> names;
    for (int i = 0; i < sk_GENERAL_NAME_num(found.get()); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(found.get(), i);
        if (name->type != GEN_DNS && name->type != GEN_IPADD) {
            continue;
        }
        const ASN1_STRING* text = name->d.ia5;
        const std::string bytes(reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
                                static_cast<std::size_t>(ASN1_STRING_length(text)));
        names.push_back(name->type == GEN_DNS ? bytes : addressText(bytes));
    }
    return names;
}

bool covers(X509& certificate, const std::vector<std::string>& names, X509& authority)
{
    const Key signer(X509_get_pubkey(&authority));
    return X509_verify(&certificate, signer.get()) == 1 &&
           std::all_of(names.begin(), names.end(), [&certificate](const std::string& name) {
               return isAddress(name) ? X509_check_ip_asc(&certificate, name.c_str(), 0) == 1
                                      : X509_check_host(&certificate, name.c_str(), name.size(), 0,
                                                        nullptr) == 1;
           });
}

} // namespace kelvo::tls
