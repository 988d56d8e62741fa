#pragma once

#include "answer.h"

#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <mutex>
#include <optional>

namespace korvex::mfa_service {

/// How the service answers on one route.
struct Behaviour
{
    enum class Kind {
        Normal,
        WrongSignature,
        MissingSignature,
        UpperCaseSignature,
        UnsignedUserBypassedException, ///< an unsigned refusal with `code`
        EnvelopeError,                 ///< a signed refusal with `code`
        Status404,
        Status500,
        EmptyResult, ///< status "OK", no result members
        NotJson,
        JsonArray,
        CutShort,
        EndlessSlowBody, ///< a byte every 100 ms until the client leaves or the service stops
        Redirect,        ///< to `location`
        HugeBody,        ///< the normal answer with 64 MiB of white space behind it, signed
        Hang,            ///< no answer until the service stops
    };

    Kind kind = Kind::Normal;
    int code = 45;
    QString location = QStringLiteral("/elsewhere"); ///< a path of this service, or an address
    std::optional<int> times{}; ///< for that many requests, then normal; always when empty
};

/// "NAME" or, for the kinds with a code, "NAME:CODE"; nothing for any other text.
std::optional<Behaviour> parseBehaviour(const QString& text);
/// The names that parseBehaviour() knows.
QStringList behaviourNames();

/// What a test or a person has asked the service to do differently, route by route. Thread-safe.
class Script
{
public:
    explicit Script(QByteArray secretKey);

    void setBehaviour(const QString& route, const Behaviour& behaviour);
    void setResult(const QString& route, const QJsonObject& result);
    void setPage(const QByteArray& html);

    /// The answer to send instead of the normal one.
    Answer apply(const QString& route, const Answer& normal);

private:
    Answer replaceContent(const QString& route, const Answer& normal) const;

    const QByteArray m_secretKey;
    std::mutex m_mutex; ///< guards what follows
    QHash<QString, Behaviour> m_behaviours;
    QHash<QString, QJsonObject> m_results;
    QByteArray m_page;
};

} // namespace korvex::mfa_service
