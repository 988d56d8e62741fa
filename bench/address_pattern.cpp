// The time that the address pattern takes for texts of 64 KiB that are almost an address. A service
// on the internet may answer with such texts.

#include "clocks.h"
#include "context/ip_address.h"

#include <QString>
#include <algorithm>
#include <cstdio>

int main()
{
    constexpr int kSize = 64 * 1024;
    constexpr double kTarget = 50; // milliseconds
    const QString blank(kSize, QLatin1Char(' '));
    const QString zone = QStringLiteral("fe80::1%").leftJustified(kSize / 3, QLatin1Char('x'));
    const QString texts[] = {
        blank,
        blank.left(kSize / 2) + QStringLiteral("1.2.3.4") + blank.left(kSize / 2) +
            QLatin1Char('x'),
        QStringLiteral("1.2.3.4") + blank + QLatin1Char('x'),
        zone + blank.left(kSize / 3) + QLatin1Char('\n') + zone,
        QString(kSize, QLatin1Char(':')),
        QString(kSize, QLatin1Char('1')),
        QStringLiteral("1:").repeated(kSize / 2),
        QStringLiteral("::ffff:1.2.3.").repeated(kSize / 13),
    };
    double slowest = 0;
    for (const QString& text : texts) {
        const double begin = korvex::bench::now(CLOCK_THREAD_CPUTIME_ID);
        if (korvex::isValidIpAddress(text))
            qFatal("accepted");
        slowest = std::max(slowest, korvex::bench::now(CLOCK_THREAD_CPUTIME_ID) - begin);
    }
    std::fprintf(stderr, "Address pattern, slowest of %zu hostile texts of 64 KiB: %.2f ms, %s\n",
                 std::size(texts), slowest, slowest < kTarget ? "met" : "MISSED");
    return slowest < kTarget ? 0 : 1;
}
