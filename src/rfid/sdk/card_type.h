#pragma once

#include <QString>
#include <QtGlobal>

namespace korvex::rfid::sdk {

/// Kinds of cards. The service knows them by these numbers, so the numbers stay as they are
/// although they do not follow levels and sizes.
enum class CardType : quint16 {
    MifareClassic1K = 0,
    MifareClassic2K = 1,
    MifareClassic4K = 2,
    MifareUltralight = 3,
    MifareUltralightC = 4,
    MifareMini = 5,
    MifarePlusSl0_1K = 6,
    MifarePlusSl0_2K = 7,
    MifarePlusSl0_4K = 8,
    MifarePlusSl1_2K = 9,
    MifarePlusSl2_2K = 10,
    MifarePlusSl1_4K = 11,
    MifarePlusSl2_4K = 12,
    MifarePlusSl3_1K = 13,
    MifarePlusSl3_2K = 14,
    MifarePlusSl3_4K = 15,
    DesFire = 16,
    TopazAndJewel = 17,
    FeliCa = 18,
    Jcop30 = 19,
    Unknown = 20,
};

/// The display name, "<Unknown>" for every number without one.
QString cardTypeName(CardType type);

} // namespace korvex::rfid::sdk
