#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace korvex::test {

/// A PC/SC daemon of the test's own with a virtual reader of two slots, which this process finds by
/// the ordinary calls. One at a time: not every system can keep two apart.
class PcscDaemon
{
public:
    /// Waits until the readers are there, for ten seconds at most.
    PcscDaemon();
    ~PcscDaemon();
    PcscDaemon(const PcscDaemon&) = delete;
    PcscDaemon& operator=(const PcscDaemon&) = delete;

    /// Why there is no daemon, for QSKIP(); empty when there is one.
    QString unavailable() const { return m_unavailable; }
    /// The port of loopback where a slot, 0 or 1, waits for a card.
    quint16 port(int slot = 0) const { return static_cast<quint16>(m_port + slot); }
    /// What the slot is called in the list of readers.
    static QString readerName(int slot = 0) { return QString("Virtual PCD 00 0%1").arg(slot); }

    /// Ends it at once, as a crash would.
    void kill();

private:
    bool start();
    QString log() const;

    QProcess m_process;
    QString m_logPath;
    quint16 m_port;
    QString m_unavailable;
};

} // namespace korvex::test
