#pragma once

#include <QByteArray>
#include <QString>
#include <expected>

namespace korvex::virtual_card {

/// Whether the number of bytes is that of a UID, 4 or 7.
bool isUid(const QByteArray& bytes);
/// A UID of 4 random bytes, from the range of numbers that are not unique.
QByteArray randomUid();

/// The blocks of a card, kept in a file so that the card outlives the program. The file holds the
/// bytes of all blocks in order and nothing else.
class Memory
{
public:
    /// Opens the image, or creates it as a card leaves the factory when there is none. An existing
    /// image has to have the UID `uid`, unless that is empty. An empty path keeps the card in the
    /// memory of this process. The error is the reason, as a text for people.
    static std::expected<Memory, QString> open(const QString& path, int sectors,
                                               const QByteArray& uid);

    QByteArray uid() const;
    int blocks() const;
    QByteArray block(int number) const;
    const QByteArray& image() const { return m_image; }

    /// Replaces a block, in the file as well. On failure changes nothing and returns false.
    bool write(int number, const QByteArray& content);

private:
    Memory(const QString& path, const QByteArray& image)
        : m_path(path)
        , m_image(image)
    {}

    QString m_path;
    QByteArray m_image;
};

} // namespace korvex::virtual_card
