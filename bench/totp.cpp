// Checking a one-time code, against the HMACs that it takes, by plain calls of libcrypto.

#include "comparison.h"
#include "core/current_sign_in.h"
#include "core/settings.h"
#include "otp/attempt_limiter.h"
#include "otp/key_provider.h"
#include "otp/offline_secret.h"
#include "otp/recovery_code_controller.h"
#include "otp/totp_provider.h"
#include "temporary_root.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr double kTarget = 1.5;
constexpr quint64 kTime = 59;

const QByteArray kKey = QByteArrayLiteral("12345678901234567890"); // of RFC 6238
const QByteArray kSecret = QByteArrayLiteral("GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ");

/// The key in memory instead of storage.
class KnownKey : public korvex::otp::KeyProvider
{
public:
    KnownKey()
        : KeyProvider(nullptr)
    {}
    QByteArray key() const override { return QByteArray(kKey.constData(), kKey.size()); }
};

/// The HMACs of three steps, neither truncated nor formatted.
void threeHmacs()
{
    for (unsigned char step = 0; step < 3; ++step) {
        const std::array<unsigned char, 8> message{0, 0, 0, 0, 0, 0, 0, step};
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
        if (HMAC(EVP_sha1(), kKey.constData(), kKey.size(), message.data(), message.size(),
                 digest.data(), nullptr) == nullptr)
            qFatal("no HMAC");
    }
}

/// The time of one call, by the wall clock, since reading storage may wait; the median of many.
template <typename Function>
double microseconds(Function isAsExpected)
{
    std::vector<double> times;
    for (int i = 0; i < 1000; ++i) {
        const double begin = korvex::bench::sharedNow();
        if (!isAsExpected())
            qFatal("a code is not judged as it should be");
        times.push_back((korvex::bench::sharedNow() - begin) * 1e3);
    }
    return korvex::bench::median(times);
}

} // namespace

int main()
{
    using namespace korvex;
    using namespace korvex::bench;
    const TemporaryRoot root;
    ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);

    // Wrong for all three steps, which takes longest.
    const QString wrong = QStringLiteral("000000");
    const otp::TOTPProvider totp(std::make_shared<KnownKey>());
    const auto check = [&] {
        if (totp.verifyAt(wrong, kTime))
            qFatal("a wrong code is accepted");
    };
    printHeading("three HMAC-SHA1 straight on libcrypto");
    const bool met = report(compareCalls("verifyAt, key in memory", check, threeHmacs), kTarget);

    // The whole check of the screen, from the attempt limiter to the recovery code.
    beginSignIn({.user = QStringLiteral("root")});
    const RecoveryCodeController recovery;
    if (!mainKey().writeString(QStringLiteral("SecretKey"), QStringLiteral("bench-key")) ||
        !otp::storeOtpSecret(userRegistryData().get(), kSecret) || !recovery.regenCode())
        qFatal("the offline secret cannot be stored");
    otp::AttemptLimiter limiter;
    const auto wholeCheck = [&](const QString& code) {
        otp::TOTPProvider provider(std::make_shared<otp::KeyProvider>(userRegistryData()));
        const bool accepted =
            limiter.tryAttempt() && (provider.verifyAt(code, kTime) || recovery.verifyCode(code));
        limiter.reset();
        return accepted;
    };
    const double right = microseconds([&] { return wholeCheck(QStringLiteral("287082")); });
    const double other = microseconds([&] { return !wholeCheck(wrong); });
    std::fprintf(stderr,
                 "A whole check, with the reads from registry and data protection: "
                 "right code %.0f us, wrong code %.0f us\n",
                 right, other);
    return met ? 0 : 1;
}
