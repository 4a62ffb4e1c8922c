#include "support/test_ca.h"

#include "support/temp_dir.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace quillon::test {
namespace {

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct CertificateDeleter {
    void operator()(X509* certificate) const { X509_free(certificate); }
};
struct BioDeleter {
    void operator()(BIO* bio) const { BIO_free(bio); }
};
using Key = std::unique_ptr<EVP_PKEY, KeyDeleter>;
using Certificate = std::unique_ptr<X509, CertificateDeleter>;

void require(bool ok, const char* what) {
    if (!ok) {
        throw std::runtime_error(std::string("test certificates: ") + what);
    }
}

Key newKey() {
    // P-256 keys take microseconds to make, unlike RSA.
    Key key(EVP_EC_gen("P-256"));
    require(key != nullptr, "key generation failed");
    return key;
}

void addExtension(X509* certificate, X509* issuer, int nid, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
    require(extension != nullptr, "bad extension");
    const int added = X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
    require(added == 1, "cannot add extension");
}

// A certificate for `key` named `commonName`, signed by `issuerKey` (the issuer itself when
// `issuer` is null, i.e. self-signed).
Certificate newCertificate(EVP_PKEY* key, const char* commonName, long serial, X509* issuer,
                           EVP_PKEY* issuerKey) {
    Certificate certificate(X509_new());
    require(certificate != nullptr, "out of memory");
    X509* self = certificate.get();
    require(X509_set_version(self, 2) == 1, "version");
    require(ASN1_INTEGER_set(X509_get_serialNumber(self), serial) == 1, "serial");
    require(X509_gmtime_adj(X509_getm_notBefore(self), -3600) != nullptr, "start date");
    require(X509_gmtime_adj(X509_getm_notAfter(self), 7L * 86400) != nullptr, "end date");
    require(X509_set_pubkey(self, key) == 1, "public key");
    X509_NAME* name = X509_get_subject_name(self);
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                       reinterpret_cast<const unsigned char*>(commonName), -1, -1,
                                       0) == 1,
            "name");
    X509* signer = issuer != nullptr ? issuer : self;
    require(X509_set_issuer_name(self, X509_get_subject_name(signer)) == 1, "issuer");
    addExtension(self, signer, NID_subject_key_identifier, "hash");
    if (issuer == nullptr) {
        addExtension(self, signer, NID_basic_constraints, "critical,CA:TRUE");
        addExtension(self, signer, NID_key_usage, "critical,keyCertSign,cRLSign");
    } else {
        addExtension(self, signer, NID_authority_key_identifier, "keyid:always");
        addExtension(self, signer, NID_basic_constraints, "critical,CA:FALSE");
        addExtension(self, signer, NID_key_usage, "critical,digitalSignature");
        addExtension(self, signer, NID_ext_key_usage, "serverAuth");
        const std::string names = std::string("DNS:localhost,IP:127.0.0.1,DNS:") + otherTestHost;
        addExtension(self, signer, NID_subject_alt_name, names.c_str());
    }
    require(X509_sign(self, issuerKey, EVP_sha256()) > 0, "signing failed");
    return certificate;
}

std::unique_ptr<BIO, BioDeleter> openForWriting(const std::filesystem::path& path) {
    std::unique_ptr<BIO, BioDeleter> bio(BIO_new_file(path.c_str(), "w"));
    require(bio != nullptr, "cannot write a file");
    return bio;
}

struct Generated {
    TempDir folder;
    TestCertificates files;

    Generated() {
        const Key caKey = newKey();
        const Certificate ca =
            newCertificate(caKey.get(), "Quillon Test CA", 1, nullptr, caKey.get());
        const Key serverKey = newKey();
        const Certificate server =
            newCertificate(serverKey.get(), "localhost", 2, ca.get(), caKey.get());

        files.caFile = folder.path() / "ca.pem";
        files.certificateFile = folder.path() / "server.pem";
        files.keyFile = folder.path() / "server-key.pem";
        require(PEM_write_bio_X509(openForWriting(files.caFile).get(), ca.get()) == 1, "ca");
        require(PEM_write_bio_X509(openForWriting(files.certificateFile).get(), server.get()) == 1,
                "certificate");
        require(PEM_write_bio_PrivateKey(openForWriting(files.keyFile).get(), serverKey.get(),
                                         nullptr, nullptr, 0, nullptr, nullptr) == 1,
                "key");
    }
};

} // namespace

const TestCertificates& testCertificates() {
    static const Generated generated;
    return generated.files;
}

} // namespace quillon::test
