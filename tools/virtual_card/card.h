#pragma once

#include "card_type.h"
#include "misbehaviour.h"
#include "reader.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <chrono>
#include <deque>
#include <expected>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace korvex::virtual_card {

struct CardOptions
{
    CardType type{};
    QString imagePath{}; ///< created when absent; empty: the card ends with this object
    QByteArray uid{};    ///< 4 or 7 bytes; empty: the image's, or random ones
};

/// An emulated contactless card and the part of a reader that talks to it: bytes in, bytes out.
/// It connects to nothing; Connection lays it on a reader. Every function may be called from any
/// thread.
class Card
{
public:
    /// The error is the reason, as a text for people.
    static std::expected<std::unique_ptr<Card>, QString> create(const CardOptions& options);

    /// The answer with its status word; nothing when the card has vanished.
    std::optional<QByteArray> transmit(const QByteArray& command);
    /// Off, on or reset: authentication is lost, the reader's keys stay.
    void cutPower();

    /// Replaces the whole of it, counts commands anew and brings a vanished card back.
    void setMisbehaviour(const Misbehaviour& misbehaviour);
    std::chrono::milliseconds delay() const;

    const QByteArray& atr() const { return m_atr; }
    QByteArray uid() const;
    /// The bytes of all blocks; empty for a card without memory.
    QByteArray image() const;
    /// The commands received so far, the latest 10000 of them, oldest first.
    std::vector<QByteArray> commands() const;

private:
    Card(const QByteArray& atr, const Reader& reader)
        : m_atr(atr)
        , m_reader(reader)
    {}

    std::nullopt_t vanish();
    std::optional<QByteArray> scriptedAnswer(const QByteArray& command);
    QByteArray inForm(const QByteArray& command, const QByteArray& answer);
    void corrupt(QByteArray& answer) const;

    const QByteArray m_atr;
    mutable std::mutex m_mutex; ///< guards what follows
    Reader m_reader;
    Misbehaviour m_misbehaviour;
    std::deque<QByteArray> m_commands;
    int m_count = 0; ///< since the misbehaviour was set
    bool m_vanished = false;
    QByteArray m_announced; ///< data that waits for GET RESPONSE
    QHash<QByteArray, std::size_t> m_turns;
};

} // namespace korvex::virtual_card
