#pragma once

#include <QByteArray>
#include <optional>

namespace korvex {

/// Extracts the data from a card's answer.
class CardResponseParser
{
public:
    virtual ~CardResponseParser() = default;

    /// The data of an answer that reports success; nothing for any other answer.
    virtual std::optional<QByteArray> parse(const QByteArray& response) const = 0;
};

/// Answers with the status word of ISO/IEC 7816-4 at the end: only 90 00 is success.
class ISO7816Parser final : public CardResponseParser
{
public:
    std::optional<QByteArray> parse(const QByteArray& response) const override
    {
        if (!response.endsWith(QByteArray("\x90\x00", 2)))
            return std::nullopt;
        return response.chopped(2);
    }
};

} // namespace korvex
