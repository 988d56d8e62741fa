#include "memory.h"

#include "access_conditions.h"

#include <QFile>
#include <QRandomGenerator>
#include <QSaveFile>

namespace korvex::virtual_card {

namespace {

constexpr int kShortUid = 4;
constexpr int kLongUid = 7;

// After the UID come the card's answers during selection (SAK and ATQA). The ATQA says how long the
// UID is, and so where the ATQA itself is.
const QByteArray kShortAtqa = QByteArray::fromHex("0400");
const QByteArray kLongAtqa = QByteArray::fromHex("4400");
constexpr int kLongAtqaAt = kLongUid + 1;
constexpr char kSak = 0x08;

QByteArray manufacturerBlock(const QByteArray& uid)
{
    QByteArray block = uid;
    if (uid.size() == kShortUid)
        block += static_cast<char>(uid[0] ^ uid[1] ^ uid[2] ^ uid[3]);
    block += kSak + (uid.size() == kShortUid ? kShortAtqa : kLongAtqa);
    return block.leftJustified(kBlockSize, 0x11);
}

QByteArray factoryImage(int sectors, const QByteArray& uid)
{
    const QByteArray key(kKeySize, '\xff');
    const QByteArray trailer = key + QByteArray::fromHex("ff078069") + key;
    const QByteArray sector = QByteArray((kBlocksPerSector - 1) * kBlockSize, 0) + trailer;
    return sector.repeated(sectors).replace(0, kBlockSize, manufacturerBlock(uid));
}

bool store(const QString& path, const QByteArray& image)
{
    if (path.isEmpty())
        return true;
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(image) == image.size() && file.commit();
}

std::expected<QByteArray, QString> load(const QString& path, int size)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(path + ": " + file.errorString());
    const QByteArray image = file.read(size + 1);
    if (image.size() != size)
        return std::unexpected(path + QString(": not %1 bytes, so no card of this type").arg(size));
    return image;
}

} // namespace

bool isUid(const QByteArray& bytes)
{
    return bytes.size() == kShortUid || bytes.size() == kLongUid;
}

QByteArray randomUid()
{
    QByteArray uid(kShortUid, 0);
    for (char& byte : uid)
        byte = static_cast<char>(QRandomGenerator::system()->bounded(256));
    // xF marks a fixed number that is not unique: ISO 14443-3, 6.5.4.
    uid[0] = static_cast<char>(uid[0] | 0x0f);
    if (uid[0] == '\xff')
        uid[0] = '\x2f';
    return uid;
}

std::expected<Memory, QString> Memory::open(const QString& path, int sectors, const QByteArray& uid)
{
    if (!path.isEmpty() && QFile::exists(path)) {
        const auto image = load(path, sectors * kBlocksPerSector * kBlockSize);
        if (!image)
            return std::unexpected(image.error());
        const Memory memory(path, *image);
        if (!uid.isEmpty() && uid != memory.uid())
            return std::unexpected(path + ": the card has the UID " +
                                   QString::fromLatin1(memory.uid().toHex()));
        return memory;
    }

    const QByteArray image = factoryImage(sectors, uid.isEmpty() ? randomUid() : uid);
    if (!store(path, image))
        return std::unexpected(path + ": cannot be written");
    return Memory(path, image);
}

QByteArray Memory::uid() const
{
    const bool isLong = m_image.mid(kLongAtqaAt, kLongAtqa.size()) == kLongAtqa;
    return m_image.left(isLong ? kLongUid : kShortUid);
}

int Memory::blocks() const
{
    return m_image.size() / kBlockSize;
}

QByteArray Memory::block(int number) const
{
    return m_image.mid(number * kBlockSize, kBlockSize);
}

bool Memory::write(int number, const QByteArray& content)
{
    QByteArray changed = m_image;
    changed.replace(number * kBlockSize, kBlockSize, content);
    if (!store(m_path, changed))
        return false;
    m_image = changed;
    return true;
}

} // namespace korvex::virtual_card
