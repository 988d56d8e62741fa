#pragma once

#include "platform/fault_report.h"

#include <QStringList>
#include <mutex>

namespace korvex::test {

/// Hears of the faults that are reported while it lives.
class FaultRecorder
{
public:
    FaultRecorder()
    {
        platform::setFaultHandler([this](const QString& text) {
            const std::lock_guard lock(m_mutex);
            m_texts.append(text);
        });
        take();
    }
    ~FaultRecorder() { platform::setFaultHandler({}); }
    FaultRecorder(const FaultRecorder&) = delete;
    FaultRecorder& operator=(const FaultRecorder&) = delete;

    /// The texts heard since the last call.
    QStringList take()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_texts, {});
    }

private:
    std::mutex m_mutex;
    QStringList m_texts;
};

} // namespace korvex::test
