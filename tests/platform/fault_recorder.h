#pragma once

#include "platform/fault_report.h"

#include <QStringList>
#include <utility>

namespace korvex::test {

/// Hears of the faults that this thread reports while it lives.
class FaultRecorder
{
public:
    FaultRecorder()
    {
        platform::setFaultHandler([this](const QString& text) { m_texts.append(text); });
        take();
    }
    ~FaultRecorder() { platform::setFaultHandler({}); }

    /// The texts heard since the last call.
    QStringList take() { return std::exchange(m_texts, {}); }

private:
    QStringList m_texts;
};

} // namespace korvex::test
