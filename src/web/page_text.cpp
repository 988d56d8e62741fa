#include "web/page_text.h"

namespace korvex {

namespace {

constexpr int kMaxLength = 1000;
constexpr int kMaxLines = 20;
constexpr int kLongestWord = 40;
constexpr QChar kZeroWidthSpace(0x200b);

} // namespace

QString pageText(const QString& text)
{
    QString shown;
    int lines = 1;
    int word = 0;
    for (const QChar c : text) {
        if (shown.size() >= kMaxLength || (c == QLatin1Char('\n') && ++lines > kMaxLines))
            return shown + QStringLiteral("...");
        if (c.isSpace()) {
            word = 0;
            shown += c == QLatin1Char('\n') ? c : QLatin1Char(' ');
        } else if (c.isPrint() || c.isSurrogate()) {
            if (++word > kLongestWord && !c.isLowSurrogate()) {
                shown += kZeroWidthSpace;
                word = 1;
            }
            shown += c;
        }
    }
    return shown;
}

} // namespace korvex
