#pragma once

#include "access_conditions.h"
#include "memory.h"

#include <QByteArray>
#include <QHash>
#include <optional>

namespace korvex::virtual_card {

/// A reader with a storage card on it: takes the commands of PC/SC part 3, 3.2.2.1, does to the
/// card what they ask for, and answers as readers do. Its keys outlive the card's power.
class Reader
{
public:
    /// Without a memory the card has no more than its UID.
    Reader(const QByteArray& uid, std::optional<Memory> memory)
        : m_uid(uid)
        , m_memory(std::move(memory))
    {}

    QByteArray answer(const QByteArray& command);
    /// The card loses its power, and with it what it was authenticated for.
    void cutPower() { m_session.reset(); }

    void refuseVolatileKeys(bool refuse) { m_refusesVolatileKeys = refuse; }
    const QByteArray& uid() const { return m_uid; }
    QByteArray image() const { return m_memory ? m_memory->image() : QByteArray(); }

private:
    struct Session
    {
        int sector;
        Key key;
    };

    QByteArray getData(const QByteArray& command) const;
    QByteArray loadKey(const QByteArray& command);
    QByteArray authenticate(const QByteArray& command);
    QByteArray readBlock(const QByteArray& command);
    QByteArray updateBlock(const QByteArray& command);

    QByteArray trailerOf(int sector) const;
    /// The access conditions of a block; nothing when the current authentication gives no access.
    std::optional<AccessConditions> conditionsFor(int block) const;
    std::optional<QByteArray> readable(int block) const;
    std::optional<QByteArray> writable(int block, const QByteArray& content) const;
    QByteArray refused();

    QByteArray m_uid;
    std::optional<Memory> m_memory;
    bool m_refusesVolatileKeys = false;
    QHash<int, QByteArray> m_keys;
    std::optional<Session> m_session;
};

} // namespace korvex::virtual_card
