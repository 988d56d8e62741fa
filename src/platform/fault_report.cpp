#include "platform/fault_report.h"

#include <QString>
#include <QStringList>
#include <mutex>
#include <utility>

namespace korvex::platform {

namespace {

constexpr int kMaxKept = 16;

struct FaultState
{
    std::mutex mutex;
    std::function<void(const QString&)> handler;
    QStringList kept;
    QString last;
};

FaultState& state()
{
    static FaultState instance;
    return instance;
}

} // namespace

void reportFault(const QString& text)
{
    std::function<void(const QString&)> handler;
    {
        const std::lock_guard lock(state().mutex);
        if (text == state().last)
            return;
        state().last = text;
        handler = state().handler;
        if (!handler && state().kept.size() < kMaxKept)
            state().kept.append(text);
    }
    if (handler)
        handler(text);
}

void setFaultHandler(const std::function<void(const QString&)>& handler)
{
    QStringList kept;
    {
        const std::lock_guard lock(state().mutex);
        state().handler = handler;
        if (!handler)
            return;
        kept.swap(state().kept);
    }
    for (const QString& text : std::as_const(kept))
        handler(text);
}

} // namespace korvex::platform
