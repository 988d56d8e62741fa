#include "core/secret.h"

#include <openssl/crypto.h>

namespace korvex {

void wipe(QByteArray& secret)
{
    OPENSSL_cleanse(secret.data(), static_cast<size_t>(secret.size()));
    secret.clear();
}

void wipe(QString& secret)
{
    OPENSSL_cleanse(secret.data(), static_cast<size_t>(secret.size()) * sizeof(QChar));
    secret.clear();
}

bool equalInConstantTime(const QByteArray& left, const QByteArray& right)
{
    return left.size() == right.size() && CRYPTO_memcmp(left.constData(), right.constData(),
                                                        static_cast<size_t>(left.size())) == 0;
}

} // namespace korvex
