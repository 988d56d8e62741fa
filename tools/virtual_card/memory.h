#pragma once

#include <QByteArray>
#include <QString>
#include <expected>

namespace korvex::virtual_card {

/// Whether there are as many bytes as a UID has, 4 or 7.
bool isUid(const QByteArray& bytes);
/// A UID of 4 random bytes that no rule reserves for something else.
QByteArray randomUid();

/// The blocks of a card, kept in a file so that the card survives its reader. The file holds the
/// bytes of all blocks in order and nothing else.
class Memory
{
public:
    /// Opens the image, or creates it as a card leaves the factory when there is none. An
    /// empty `uid` is any; another one has to be the image's when that exists. An empty path keeps
    /// the card in the memory of this process. On failure the reason, for people.
    static std::expected<Memory, QString> open(const QString& path, int sectors,
                                               const QByteArray& uid);

    QByteArray uid() const;
    int blocks() const;
    QByteArray block(int number) const;
    const QByteArray& image() const { return m_image; }

    /// Replaces a block, in the file as well; false, and nothing changed, when that cannot be done.
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
