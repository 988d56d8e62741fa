#include "platform/data_protection.h"

#include "platform/fault_report.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/private_file.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <cerrno>
#include <expected>
#include <fcntl.h>
#include <memory>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sys/stat.h>
#include <unistd.h>

namespace korvex::platform {

namespace {

constexpr int kMaximumSize = 1024 * 1024;
constexpr int kKeySize = 32;

// A blob is the version, the nonce, the tag and the encrypted bytes.
constexpr char kVersion = 1;
constexpr int kNonceSize = 12;
constexpr int kTagSize = 16;
constexpr int kNonceAt = 1;
constexpr int kTagAt = kNonceAt + kNonceSize;
constexpr int kTextAt = kTagAt + kTagSize;

// Authenticated with every blob, so that a blob is not mistaken for one of another purpose.
constexpr std::array<unsigned char, 14> kPurpose{'k', 'o', 'r', 'v', 'e', 'x', ' ',
                                                 'd', 'a', 't', 'a', ' ', 'v', '1'};

struct Key
{
    Key() = default;
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() { OPENSSL_cleanse(bytes.data(), bytes.size()); }

    std::array<unsigned char, kKeySize> bytes{};
};

struct ContextDeleter
{
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter>;

unsigned char* bytesOf(QByteArray& data)
{
    return reinterpret_cast<unsigned char*>(data.data());
}

const unsigned char* bytesOf(const QByteArray& data)
{
    return reinterpret_cast<const unsigned char*>(data.constData());
}

QString keyPath()
{
    return QStringLiteral("%1/keys/%2.key").arg(rootFolder()).arg(::geteuid());
}

std::unexpected<QString> keyFault(const QString& path, const QString& cause)
{
    return std::unexpected(QStringLiteral("The key file '%1' cannot be used: %2").arg(path, cause));
}

/// Fills `key` from the file, which only its owner may have access to. False when it is missing.
std::expected<bool, QString> readKey(const QString& path, Key& key)
{
    const FileDescriptor file(::open(QFile::encodeName(path).constData(),
                                     O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (!file.isValid() && errno == ENOENT)
        return false;
    struct stat status{};
    if (!file.isValid() || ::fstat(file.get(), &status) != 0)
        return keyFault(path, qt_error_string(errno));
    if (!S_ISREG(status.st_mode) || status.st_size != kKeySize)
        return keyFault(path, QStringLiteral("it does not hold a key of 32 bytes"));
    if (status.st_uid != ::geteuid())
        return keyFault(path, QStringLiteral("it belongs to another user"));
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return keyFault(path, QStringLiteral("other users have access to it"));
    if (::read(file.get(), key.bytes.data(), key.bytes.size()) != kKeySize)
        return keyFault(path, QStringLiteral("it could not be read whole"));
    return true;
}

std::expected<void, QString> writeNewKey(const QString& path)
{
    Key key;
    if (RAND_priv_bytes(key.bytes.data(), kKeySize) != 1)
        return std::unexpected(QStringLiteral("no random bytes for it"));
    const FileDescriptor file(::open(QFile::encodeName(path).constData(), O_WRONLY | O_CLOEXEC));
    if (!file.isValid() || ::write(file.get(), key.bytes.data(), key.bytes.size()) != kKeySize ||
        ::fsync(file.get()) != 0)
        return std::unexpected(qt_error_string(errno));
    return {};
}

enum class MissingKey { Create, Fail };

/// Fills `key` with the key of the current user; false, with a fault reported, when there is none.
bool loadKey(Key& key, MissingKey missing)
{
    const QString path = keyPath();
    auto found = readKey(path, key);
    if (found && !*found && missing == MissingKey::Create) {
        // Read the file in any case: another process may have created it first.
        if (const auto made = publishPrivateFile(path, writeNewKey); made)
            found = readKey(path, key);
        else
            found = keyFault(path, made.error());
    }
    if (found && !*found)
        found = keyFault(path, qt_error_string(ENOENT));
    if (!found)
        reportFault(found.error());
    return found.has_value();
}

} // namespace

std::optional<QByteArray> protectData(const QByteArray& plain)
{
    if (plain.size() > kMaximumSize)
        return std::nullopt;
    Key key;
    if (!loadKey(key, MissingKey::Create))
        return std::nullopt;

    QByteArray blob(kTextAt + plain.size(), kVersion);
    unsigned char* const out = bytesOf(blob);
    int size = 0;
    const Context context(EVP_CIPHER_CTX_new());
    if (context == nullptr || RAND_bytes(out + kNonceAt, kNonceSize) != 1 ||
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(),
                           out + kNonceAt) != 1 ||
        EVP_EncryptUpdate(context.get(), nullptr, &size, kPurpose.data(), kPurpose.size()) != 1 ||
        EVP_EncryptUpdate(context.get(), out + kTextAt, &size, bytesOf(plain), plain.size()) != 1 ||
        EVP_EncryptFinal_ex(context.get(), out + kTextAt + size, &size) != 1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, kTagSize, out + kTagAt) != 1)
        return std::nullopt;
    return blob;
}

std::optional<QByteArray> unprotectData(const QByteArray& blob)
{
    if (blob.size() < kTextAt || blob.size() > kTextAt + kMaximumSize || blob.at(0) != kVersion)
        return std::nullopt;
    Key key;
    if (!loadKey(key, MissingKey::Fail))
        return std::nullopt;

    const unsigned char* const in = bytesOf(blob);
    std::array<unsigned char, kTagSize> tag{};
    std::copy_n(in + kTagAt, kTagSize, tag.begin());
    QByteArray plain(blob.size() - kTextAt, '\0');
    int size = 0;
    const Context context(EVP_CIPHER_CTX_new());
    if (context == nullptr ||
        EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.bytes.data(),
                           in + kNonceAt) != 1 ||
        EVP_DecryptUpdate(context.get(), nullptr, &size, kPurpose.data(), kPurpose.size()) != 1 ||
        EVP_DecryptUpdate(context.get(), bytesOf(plain), &size, in + kTextAt, plain.size()) != 1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, kTagSize, tag.data()) != 1 ||
        EVP_DecryptFinal_ex(context.get(), bytesOf(plain) + size, &size) != 1) {
        OPENSSL_cleanse(plain.data(), static_cast<std::size_t>(plain.size()));
        return std::nullopt;
    }
    return plain;
}

} // namespace korvex::platform
