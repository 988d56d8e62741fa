// The company's branding as an answer of the service holds it.

#include "api/company_data.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sanitizer/lsan_interface.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const auto text =
        QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), static_cast<int>(size));
    QJsonDocument document;
    {
        // Qt 5.15 loses a few bytes when a name comes twice and stands for an object or array.
        const __lsan::ScopedDisabler ignoreLeaks;
        document = QJsonDocument::fromJson(text);
    }
    const auto data = korvex::parseCompanyData(document.object());
    if (!data && data.error().isEmpty())
        std::abort();
    if (!data)
        return 0;
    for (const auto& [setting, value] : *data)
        if (value.size() > 4096 || (setting == korvex::Setting::CompanyLogo && value.isEmpty()))
            std::abort();
    return 0;
}
