#include "offline_mode/custom_tools.h"

namespace korvex::offline_mode {

QString CustomTools::codeDigits(const QString& text)
{
    QString digits;
    for (const QChar character : text) {
        if (digits.size() == kCodeLength)
            break;
        if (character >= QLatin1Char('0') && character <= QLatin1Char('9'))
            digits += character;
    }
    return digits;
}

} // namespace korvex::offline_mode
