#include "platform/smart_cards.h"

#include "pcsc_names.h"

#include <algorithm>
#include <array>
#include <string>

namespace korvex::platform::pcsc {

namespace {

constexpr DWORD kBothProtocols = SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1;
constexpr int kMaximumAtr = 33;
constexpr int kMaximumAnswer = 256;

/// The handles are integers of the same width, signed on one system and unsigned on the other.
SCARDCONTEXT native(Context context)
{
    return static_cast<SCARDCONTEXT>(context);
}

SCARDHANDLE cardOf(const Connection& connection)
{
    return static_cast<SCARDHANDLE>(connection.card);
}

const SCARD_IO_REQUEST* controlInformation(quint32 protocol)
{
    switch (protocol) {
    case SCARD_PROTOCOL_T0:
        return SCARD_PCI_T0;
    case SCARD_PROTOCOL_T1:
        return SCARD_PCI_T1;
    default:
        return nullptr;
    }
}

} // namespace

std::optional<Context> establishContext()
{
    SCARDCONTEXT context{};
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS)
        return std::nullopt;
    return static_cast<Context>(context);
}

void releaseContext(Context context)
{
    SCardReleaseContext(native(context));
}

QStringList listReaders(Context context)
{
    NameUnit* names = nullptr;
    DWORD length = SCARD_AUTOALLOCATE;
    if (listReadersCall(native(context), nullptr, reinterpret_cast<NameUnit*>(&names), &length) !=
            SCARD_S_SUCCESS ||
        names == nullptr)
        return {};
    QStringList readers;
    // The names follow each other, each with a terminating zero. An empty name ends the list.
    for (const NameUnit* name = names; *name != 0;
         name += std::char_traits<NameUnit>::length(name) + 1)
        readers.append(nameOf(name));
    SCardFreeMemory(native(context), names);
    return readers;
}

std::optional<ReaderState> readerState(Context context, const QString& reader)
{
    const auto name = nativeName(reader);
    NativeReaderState state{};
    state.szReader = pointerTo(name);
    state.dwCurrentState = SCARD_STATE_UNAWARE;
    if (statusChangeCall(native(context), 0, &state, 1) != SCARD_S_SUCCESS)
        return std::nullopt;
    const bool hasCard = (state.dwEventState & SCARD_STATE_PRESENT) != 0 &&
                         (state.dwEventState & SCARD_STATE_MUTE) == 0;
    const auto length = std::min<DWORD>(state.cbAtr, sizeof(state.rgbAtr));
    return ReaderState{
        hasCard, QByteArray(reinterpret_cast<const char*>(state.rgbAtr), static_cast<int>(length))};
}

std::optional<Connection> connect(Context context, const QString& reader, bool exclusive)
{
    const auto name = nativeName(reader);
    SCARDHANDLE card{};
    DWORD protocol = 0;
    if (connectCall(native(context), pointerTo(name),
                    exclusive ? SCARD_SHARE_EXCLUSIVE : SCARD_SHARE_SHARED, kBothProtocols, &card,
                    &protocol) != SCARD_S_SUCCESS)
        return std::nullopt;
    return Connection{static_cast<quintptr>(card), static_cast<quint32>(protocol)};
}

void disconnect(const Connection& connection)
{
    SCardDisconnect(cardOf(connection), SCARD_LEAVE_CARD);
}

std::optional<QByteArray> atr(const Connection& connection)
{
    std::array<BYTE, kMaximumAtr> bytes{};
    auto length = static_cast<DWORD>(bytes.size());
    DWORD nameLength = 0;
    DWORD state = 0;
    DWORD protocol = 0;
    if (statusCall(cardOf(connection), nullptr, &nameLength, &state, &protocol, bytes.data(),
                   &length) != SCARD_S_SUCCESS ||
        length == 0)
        return std::nullopt;
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(length));
}

bool beginTransaction(const Connection& connection)
{
    return SCardBeginTransaction(cardOf(connection)) == SCARD_S_SUCCESS;
}

void endTransaction(const Connection& connection)
{
    SCardEndTransaction(cardOf(connection), SCARD_LEAVE_CARD);
}

std::optional<QByteArray> transmit(const Connection& connection, const QByteArray& command)
{
    QByteArray answer(kMaximumAnswer, '\0');
    auto length = static_cast<DWORD>(answer.size());
    if (SCardTransmit(cardOf(connection), controlInformation(connection.protocol),
                      reinterpret_cast<const BYTE*>(command.constData()),
                      static_cast<DWORD>(command.size()), nullptr,
                      reinterpret_cast<BYTE*>(answer.data()), &length) != SCARD_S_SUCCESS)
        return std::nullopt;
    answer.truncate(static_cast<int>(length));
    return answer;
}

} // namespace korvex::platform::pcsc
