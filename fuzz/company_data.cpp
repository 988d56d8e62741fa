#include "api/company_data.h"

#include "input.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <sanitizer/lsan_interface.h>

namespace {

QJsonObject parse(const QByteArray& text)
{
    // Qt 5.15 leaks a few bytes when a name occurs twice and its value is an object or array.
    const __lsan::ScopedDisabler ignoreLeaks;
    return QJsonDocument::fromJson(text).object();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace korvex;
    for (const auto& member : parseCompanyData(parse(fuzz::bytesOf(data, size))))
        fuzz::require(member.second.size() <= 4096);
    return 0;
}
