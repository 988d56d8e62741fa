#include "behaviour.h"

#include "contract.h"

#include <algorithm>
#include <array>
#include <utility>

namespace korvex::mfa_service {

namespace {

using Kind = Behaviour::Kind;

constexpr int kHugePadding = 64 << 20;

constexpr std::array<std::pair<const char*, Kind>, 16> kNames{{
    {"normal", Kind::Normal},
    {"wrong-signature", Kind::WrongSignature},
    {"missing-signature", Kind::MissingSignature},
    {"upper-case-signature", Kind::UpperCaseSignature},
    {"user-bypassed", Kind::UnsignedUserBypassedException},
    {"envelope-error", Kind::EnvelopeError},
    {"status-404", Kind::Status404},
    {"status-500", Kind::Status500},
    {"empty-result", Kind::EmptyResult},
    {"not-json", Kind::NotJson},
    {"json-array", Kind::JsonArray},
    {"cut-short", Kind::CutShort},
    {"endless-slow-body", Kind::EndlessSlowBody},
    {"redirect", Kind::Redirect},
    {"huge-body", Kind::HugeBody},
    {"hang", Kind::Hang},
}};

bool takesCode(Kind kind)
{
    return kind == Kind::EnvelopeError || kind == Kind::UnsignedUserBypassedException;
}

Answer unsignedBypass(const QByteArray& secretKey, int code)
{
    Answer answer = failure(secretKey, code, "The user is exempt", "UserBypassedException");
    answer.headers.remove(kSignatureHeader);
    return answer;
}

Answer withDelivery(Answer answer, Answer::Delivery delivery)
{
    answer.delivery = delivery;
    return answer;
}

Answer withSignature(Answer answer, const QByteArray& text)
{
    answer.headers.insert(kSignatureHeader, text);
    return answer;
}

/// The same answer, longer: white space changes neither a JSON text nor a page.
Answer hugeAnswer(const QByteArray& secretKey, Answer answer)
{
    answer.body += QByteArray(kHugePadding, ' ');
    return withSignature(answer, signature(secretKey, answer.body));
}

Answer misbehave(const Behaviour& behaviour, const QByteArray& secretKey, Answer normal)
{
    switch (behaviour.kind) {
    case Kind::Normal:
        break;
    case Kind::WrongSignature:
        return withSignature(normal, signature(secretKey, normal.body + ' '));
    case Kind::MissingSignature:
        normal.headers.remove(kSignatureHeader);
        break;
    case Kind::UpperCaseSignature:
        return withSignature(normal, signature(secretKey, normal.body).toUpper());
    case Kind::UnsignedUserBypassedException:
        return unsignedBypass(secretKey, behaviour.code);
    case Kind::EnvelopeError:
        return failure(secretKey, behaviour.code,
                       QStringLiteral("Refused with code %1").arg(behaviour.code),
                       "ScriptedException");
    case Kind::Status404:
        return {.status = 404, .body = "Not found\n"};
    case Kind::Status500:
        return {.status = 500, .body = "Internal error\n"};
    case Kind::EmptyResult:
        return success(secretKey, {});
    case Kind::NotJson:
        return signedAnswer(secretKey, 200, "this is not JSON");
    case Kind::JsonArray:
        return signedAnswer(secretKey, 200, "[1,2]");
    case Kind::CutShort:
        return withDelivery(normal, Answer::Delivery::CutShort);
    case Kind::EndlessSlowBody:
        return withDelivery(normal, Answer::Delivery::Slowly);
    case Kind::Redirect:
        return {.status = 302,
                .body = "Moved\n",
                .headers = {{"Location", behaviour.location.toUtf8()}}};
    case Kind::HugeBody:
        return hugeAnswer(secretKey, normal);
    case Kind::Hang:
        return withDelivery(normal, Answer::Delivery::Never);
    }
    return normal;
}

} // namespace

std::optional<Behaviour> parseBehaviour(const QString& text)
{
    const QString name = text.section(':', 0, 0);
    const auto* const found = std::find_if(kNames.begin(), kNames.end(), [&name](const auto& each) {
        return name == QLatin1String(each.first);
    });
    if (found == kNames.end())
        return std::nullopt;
    Behaviour behaviour{.kind = found->second};
    if (text.contains(':')) {
        bool isNumber = false;
        behaviour.code = text.section(':', 1).toInt(&isNumber);
        if (!isNumber || !takesCode(behaviour.kind))
            return std::nullopt;
    }
    return behaviour;
}

QStringList behaviourNames()
{
    QStringList names;
    for (const auto& [name, kind] : kNames)
        names << QLatin1String(name) + QLatin1String(takesCode(kind) ? "[:CODE]" : "");
    return names;
}

Script::Script(QByteArray secretKey)
    : m_secretKey(std::move(secretKey))
{}

void Script::setBehaviour(const QString& route, const Behaviour& behaviour)
{
    const std::lock_guard lock(m_mutex);
    m_behaviours.insert(route, behaviour);
}

void Script::setResult(const QString& route, const QJsonObject& result)
{
    const std::lock_guard lock(m_mutex);
    m_results.insert(route, result);
}

void Script::setPage(const QByteArray& html)
{
    const std::lock_guard lock(m_mutex);
    m_page = html;
}

Answer Script::replaceContent(const QString& route, const Answer& normal) const
{
    if (normal.status != 200)
        return normal;
    if (m_results.contains(route))
        return success(m_secretKey, m_results.value(route));
    if (route == QLatin1String("/signin") && !m_page.isEmpty()) {
        // Without the content policy of the built-in page: a page from a test has inline scripts.
        return {.contentType = "text/html; charset=utf-8", .body = m_page};
    }
    return normal;
}

Answer Script::apply(const QString& route, const Answer& normal)
{
    const std::lock_guard lock(m_mutex);
    const Answer answer = replaceContent(route, normal);
    const auto found = m_behaviours.find(route);
    if (found == m_behaviours.end() || found->times == 0)
        return answer;
    if (found->times)
        --*found->times;
    return misbehave(*found, m_secretKey, answer);
}

} // namespace korvex::mfa_service
