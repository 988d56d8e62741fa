#include "reader.h"

namespace korvex::virtual_card {

namespace {

constexpr int kKeyPlaces = 32;
constexpr int kHeaderSize = 5; ///< with the length byte

QByteArray status(int word)
{
    QByteArray bytes(2, 0);
    bytes[0] = static_cast<char>(word >> 8);
    bytes[1] = static_cast<char>(word & 0xff);
    return bytes;
}

// The status words of PC/SC part 3, each below the command that it belongs to.
const QByteArray kSuccess = status(0x9000);
const QByteArray kEndOfData = status(0x6282);
const QByteArray kNoInformation = status(0x6300);
const QByteArray kMemoryFailure = status(0x6581);
const QByteArray kWrongLength = status(0x6700);
const QByteArray kSecurityStatus = status(0x6982);
const QByteArray kReaderKeyNotSupported = status(0x6983);
const QByteArray kKeyNotUsable = status(0x6984);
const QByteArray kSecuredNotSupported = status(0x6985);
const QByteArray kKeyTypeNotKnown = status(0x6986);
const QByteArray kKeyNumberNotValid = status(0x6988);
const QByteArray kKeyLength = status(0x6989);
const QByteArray kFunctionNotSupported = status(0x6a81);
const QByteArray kNoSuchBlock = status(0x6a82);
const QByteArray kUnknownInstruction = status(0x6d00);
const QByteArray kUnknownClass = status(0x6e00);

int byteOf(const QByteArray& bytes, int index)
{
    return static_cast<quint8>(bytes[index]);
}

int wordOf(const QByteArray& bytes, int index)
{
    return byteOf(bytes, index) << 8 | byteOf(bytes, index + 1);
}

bool hasData(const QByteArray& command, int size)
{
    return command.size() == kHeaderSize + size && byteOf(command, 4) == size;
}

} // namespace

QByteArray Reader::answer(const QByteArray& command)
{
    // Too short for a command of this kind; other cards have commands of one to three bytes.
    if (command.size() < 4)
        return kUnknownInstruction;
    if (byteOf(command, 0) != 0xff)
        return kUnknownClass;
    const int instruction = byteOf(command, 1);
    if (instruction == 0xca)
        return getData(command);
    if (instruction == 0x82)
        return loadKey(command);
    if (instruction != 0x86 && instruction != 0xb0 && instruction != 0xd6)
        return kUnknownInstruction;
    if (!m_memory)
        return kFunctionNotSupported;
    if (instruction == 0x86)
        return authenticate(command);
    return instruction == 0xb0 ? readBlock(command) : updateBlock(command);
}

QByteArray Reader::getData(const QByteArray& command) const
{
    if (wordOf(command, 2) != 0)
        return kFunctionNotSupported;
    if (command.size() != kHeaderSize)
        return kWrongLength;
    const int expected = byteOf(command, 4);
    if (expected != 0 && expected < m_uid.size())
        return status(0x6c00 | m_uid.size());
    return m_uid + (expected > m_uid.size() ? kEndOfData : kSuccess);
}

QByteArray Reader::loadKey(const QByteArray& command)
{
    const int structure = byteOf(command, 2);
    if (structure & 0x80)
        return kReaderKeyNotSupported;
    if (structure & 0x40)
        return kSecuredNotSupported;
    if ((structure & ~0x20) != 0)
        return kFunctionNotSupported;
    if (structure == 0 && m_refusesVolatileKeys)
        return kFunctionNotSupported;
    const int number = byteOf(command, 3);
    if (number >= kKeyPlaces)
        return kKeyNumberNotValid;
    if (!hasData(command, kKeySize))
        return kKeyLength;
    // One place per number for both kinds of memory: both last as long as the process.
    m_keys[number] = command.mid(kHeaderSize);
    return kSuccess;
}

QByteArray Reader::authenticate(const QByteArray& command)
{
    constexpr int kVersion = 1;
    if (wordOf(command, 2) != 0)
        return kFunctionNotSupported;
    if (!hasData(command, 5))
        return kWrongLength;
    const int block = wordOf(command, 6);
    const int type = byteOf(command, 8);
    const int number = byteOf(command, 9);
    if (byteOf(command, 5) != kVersion)
        return kFunctionNotSupported;
    if (type != static_cast<int>(Key::A) && type != static_cast<int>(Key::B))
        return kKeyTypeNotKnown;
    if (number >= kKeyPlaces)
        return kKeyNumberNotValid;
    if (!m_keys.contains(number))
        return kKeyNotUsable;
    if (block >= m_memory->blocks())
        return kNoSuchBlock;

    const int sector = block / kBlocksPerSector;
    const QByteArray trailer = trailerOf(sector);
    const auto key = static_cast<Key>(type);
    m_session.reset();
    if (m_keys[number] != (key == Key::A ? trailer.left(kKeySize) : trailer.right(kKeySize)) ||
        !AccessConditions::of(trailer))
        return kNoInformation;
    m_session = Session{sector, key};
    return kSuccess;
}

QByteArray Reader::readBlock(const QByteArray& command)
{
    if (command.size() != kHeaderSize)
        return kWrongLength;
    const int block = wordOf(command, 2);
    if (block >= m_memory->blocks())
        return kNoSuchBlock;
    if (const int expected = byteOf(command, 4); expected != 0 && expected != kBlockSize)
        return status(0x6c00 | kBlockSize);
    const auto content = readable(block);
    return content ? *content + kSuccess : refused();
}

QByteArray Reader::updateBlock(const QByteArray& command)
{
    if (!hasData(command, kBlockSize))
        return kWrongLength;
    const int block = wordOf(command, 2);
    if (block >= m_memory->blocks())
        return kNoSuchBlock;
    const auto content = writable(block, command.mid(kHeaderSize));
    if (!content)
        return refused();
    return m_memory->write(block, *content) ? kSuccess : kMemoryFailure;
}

QByteArray Reader::trailerOf(int sector) const
{
    return m_memory->block(sector * kBlocksPerSector + kBlocksPerSector - 1);
}

std::optional<AccessConditions> Reader::conditionsFor(int block) const
{
    const int sector = block / kBlocksPerSector;
    if (!m_session || m_session->sector != sector)
        return std::nullopt;
    const auto conditions = AccessConditions::of(trailerOf(sector));
    // Where key B can be read it is data: authentication with it gives no access.
    if (conditions && m_session->key == Key::B && conditions->trailer().readKeyB != By::Never)
        return std::nullopt;
    return conditions;
}

std::optional<QByteArray> Reader::readable(int block) const
{
    const auto conditions = conditionsFor(block);
    if (!conditions)
        return std::nullopt;
    QByteArray content = m_memory->block(block);
    const int place = block % kBlocksPerSector;
    if (place < kBlocksPerSector - 1) {
        if (!allows(conditions->data(place).read, m_session->key))
            return std::nullopt;
        return content;
    }
    const TrailerRights& rights = conditions->trailer();
    if (!allows(rights.readBits, m_session->key))
        return std::nullopt;
    const QByteArray hidden(kKeySize, 0);
    content.replace(0, kKeySize, hidden);
    if (!allows(rights.readKeyB, m_session->key))
        content.replace(kBlockSize - kKeySize, kKeySize, hidden);
    return content;
}

std::optional<QByteArray> Reader::writable(int block, const QByteArray& content) const
{
    const auto conditions = conditionsFor(block);
    if (!conditions || block == 0)
        return std::nullopt;
    const int place = block % kBlocksPerSector;
    if (place < kBlocksPerSector - 1) {
        if (!allows(conditions->data(place).write, m_session->key))
            return std::nullopt;
        return content;
    }
    // A trailer is written as a whole; the parts that must not change stay as they are.
    struct Part
    {
        By who;
        int offset;
        int size;
    };
    const TrailerRights& rights = conditions->trailer();
    QByteArray result = m_memory->block(block);
    bool writesAny = false;
    for (const Part& part : {Part{rights.writeKeyA, 0, kKeySize},
                             Part{rights.writeBits, kKeySize, kBlockSize - 2 * kKeySize},
                             Part{rights.writeKeyB, kBlockSize - kKeySize, kKeySize}}) {
        if (!allows(part.who, m_session->key))
            continue;
        result.replace(part.offset, part.size, content.mid(part.offset, part.size));
        writesAny = true;
    }
    return writesAny ? std::optional{result} : std::nullopt;
}

QByteArray Reader::refused()
{
    // A card that refuses leaves the selected state, and its authentication with it.
    m_session.reset();
    return kSecurityStatus;
}

} // namespace korvex::virtual_card
