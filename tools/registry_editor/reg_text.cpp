#include "reg_text.h"

#include <QStringList>
#include <QTextCodec>
#include <QtEndian>
#include <algorithm>
#include <cctype>

namespace korvex::registry_editor {

using platform::RegistryData;
using platform::RegistryValue;

namespace {

const QString kSignature = QStringLiteral("Windows Registry Editor Version 5.00");
constexpr int kLineLength = 76;
constexpr const char kUtf16Mark[] = "\xff\xfe";

template <typename T>
using Parsed = std::expected<T, QString>;

// Writing

QString quoted(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

/// Bytes as "01,02,...", behind `start`, in lines of the usual length.
QString hexLines(const QString& start, const QByteArray& bytes)
{
    QString text;
    QString line = start;
    for (int index = 0; index < bytes.size(); ++index) {
        line +=
            QStringLiteral("%1").arg(static_cast<uchar>(bytes.at(index)), 2, 16, QLatin1Char('0'));
        if (index + 1 == bytes.size())
            break;
        line += QLatin1Char(',');
        if (line.size() > kLineLength) {
            text += line + QLatin1String("\\\r\n");
            line = QStringLiteral("  ");
        }
    }
    return text + line;
}

template <typename T>
QByteArray littleEndian(T number)
{
    QByteArray bytes(sizeof(T), '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

bool hasControlCharacter(const QString& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return character.unicode() < 0x20; });
}

QString valueLine(const RegistryValue& value)
{
    const QString start =
        (value.name.isEmpty() ? QStringLiteral("@") : quoted(value.name)) + QLatin1Char('=');
    if (const auto* const number = std::get_if<quint32>(&value.data))
        return start + QStringLiteral("dword:%1").arg(*number, 8, 16, QLatin1Char('0'));
    if (const auto* const number = std::get_if<quint64>(&value.data))
        return hexLines(start + QLatin1String("hex(b):"), littleEndian(*number));
    const QString& text = std::get<QString>(value.data);
    if (!hasControlCharacter(text))
        return start + quoted(text);
    // A quoted string cannot contain a line break, so write the string's bytes with the terminating
    // NUL.
    QByteArray bytes;
    for (const QChar character : text)
        bytes += littleEndian(character.unicode());
    return hexLines(start + QLatin1String("hex(1):"), bytes + littleEndian(quint16{0}));
}

// Reading

/// The text of the file; nothing when it is in neither of the two encodings.
std::optional<QString> decoded(const QByteArray& content)
{
    const bool isUtf16 = content.startsWith(kUtf16Mark);
    if (isUtf16 && content.size() % 2 != 0)
        return std::nullopt;
    QTextCodec* const codec = QTextCodec::codecForName(isUtf16 ? "UTF-16LE" : "UTF-8");
    const int mark = isUtf16 ? 2 : content.startsWith("\xef\xbb\xbf") ? 3 : 0;
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    QString text = codec->toUnicode(content.constData() + mark, content.size() - mark, &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        return std::nullopt;
    return text;
}

/// Without the comment that may follow, and without the blanks around it.
QString withoutComment(const QString& text)
{
    return text.section(QLatin1Char(';'), 0, 0).trimmed();
}

bool isOnlyComment(const QString& text)
{
    return withoutComment(text).isEmpty();
}

class Parser
{
public:
    explicit Parser(const QString& text)
        : m_lines(text.split(QLatin1Char('\n')))
    {
        for (QString& line : m_lines)
            line = line.trimmed();
    }

    Parsed<std::vector<RegChange>> parse()
    {
        if (m_lines.first() != kSignature)
            return std::unexpected(
                QStringLiteral("line 1: it does not begin with '%1'").arg(kSignature));
        for (m_line = 1; m_line < m_lines.size(); ++m_line) {
            // A hexadecimal value ends on a later line; an error names its first line.
            const int first = m_line + 1;
            const QString& line = m_lines.at(m_line);
            if (isOnlyComment(line))
                continue;
            const auto parsed =
                line.startsWith(QLatin1Char('[')) ? parseKeyLine(line) : parseValueLine(line);
            if (!parsed)
                return std::unexpected(
                    QStringLiteral("line %1: %2").arg(first).arg(parsed.error()));
        }
        return std::move(m_changes);
    }

private:
    Parsed<void> parseKeyLine(const QString& line)
    {
        const int end = line.lastIndexOf(QLatin1Char(']'));
        if (end < 0 || !isOnlyComment(line.mid(end + 1)))
            return std::unexpected(QStringLiteral("the key has no end"));
        const bool isDeletion = line.at(1) == QLatin1Char('-');
        const int start = isDeletion ? 2 : 1;
        const auto key = machineKeyPath(line.mid(start, end - start));
        if (!key)
            return std::unexpected(QStringLiteral("the key is not a key below HKEY_LOCAL_MACHINE"));
        if (isDeletion && !key->contains(QLatin1Char('\\')))
            return std::unexpected(QStringLiteral("HKEY_LOCAL_MACHINE cannot be deleted"));
        if (isDeletion)
            m_changes.emplace_back(DeleteKey{*key});
        else
            m_changes.emplace_back(CreateKey{*key});
        m_key = isDeletion ? QString() : *key;
        return {};
    }

    Parsed<void> parseValueLine(const QString& line)
    {
        if (m_key.isEmpty())
            return std::unexpected(QStringLiteral("the value belongs to no key"));
        QString rest = line;
        QString name;
        if (rest.startsWith(QLatin1Char('@'))) {
            rest.remove(0, 1);
        } else {
            auto taken = takeQuoted(rest);
            if (!taken)
                return std::unexpected(taken.error());
            name = *taken;
        }
        rest = rest.trimmed();
        if (!rest.startsWith(QLatin1Char('=')))
            return std::unexpected(QStringLiteral("there is no '=' behind the name"));
        rest = rest.mid(1).trimmed();
        if (withoutComment(rest) == QLatin1String("-")) {
            m_changes.emplace_back(DeleteValue{m_key, name});
            return {};
        }
        auto data = parseData(rest);
        if (!data)
            return std::unexpected(data.error());
        m_changes.emplace_back(SetValue{m_key, {name, *std::move(data)}});
        return {};
    }

    /// Takes a text in quotes off the front of `rest`.
    static Parsed<QString> takeQuoted(QString& rest)
    {
        if (!rest.startsWith(QLatin1Char('"')))
            return std::unexpected(QStringLiteral("there is no value here"));
        QString text;
        for (int index = 1; index < rest.size(); ++index) {
            QChar character = rest.at(index);
            if (character == QLatin1Char('"')) {
                rest.remove(0, index + 1);
                return text;
            }
            if (character == QLatin1Char('\\') && ++index < rest.size()) {
                character = rest.at(index);
                if (character != QLatin1Char('\\') && character != QLatin1Char('"'))
                    return std::unexpected(
                        QStringLiteral("'\\%1' stands for nothing").arg(character));
            }
            text += character;
        }
        return std::unexpected(QStringLiteral("the closing quotation mark is missing"));
    }

    Parsed<RegistryData> parseData(QString text)
    {
        if (text.startsWith(QLatin1Char('"'))) {
            auto string = takeQuoted(text);
            if (string && !isOnlyComment(text))
                return std::unexpected(QStringLiteral("there is more behind the value"));
            return string ? Parsed<RegistryData>(*string) : std::unexpected(string.error());
        }
        const int colon = text.indexOf(QLatin1Char(':'));
        const QString type = text.left(colon).trimmed().toLower();
        if (colon < 0 || (type != QLatin1String("dword") && !type.startsWith(QLatin1String("hex"))))
            return std::unexpected(QStringLiteral("the value is of no known form"));
        if (type == QLatin1String("dword"))
            return parseDword(withoutComment(text.mid(colon + 1)));
        return parseHex(type, text.mid(colon + 1));
    }

    static Parsed<RegistryData> parseDword(const QString& digits)
    {
        bool isNumber = false;
        const quint32 number = digits.toUInt(&isNumber, 16);
        const bool isPlain = digits.size() <= 8 && !digits.contains(QLatin1Char('x')) &&
                             !digits.startsWith(QLatin1Char('+'));
        if (!isNumber || !isPlain)
            return std::unexpected(
                QStringLiteral("a dword is a number of up to 8 hexadecimal digits"));
        return number;
    }

    Parsed<RegistryData> parseHex(const QString& type, const QString& start)
    {
        const auto bytes = parseBytes(start);
        if (!bytes)
            return std::unexpected(bytes.error());
        if (type == QLatin1String("hex(1)") && bytes->size() % 2 == 0)
            return textOf(*bytes);
        if (type == QLatin1String("hex(4)") && bytes->size() == 4)
            return qFromLittleEndian<quint32>(bytes->constData());
        if (type == QLatin1String("hex(b)") && bytes->size() == 8)
            return qFromLittleEndian<quint64>(bytes->constData());
        static const QStringList supported{QStringLiteral("hex(1)"), QStringLiteral("hex(4)"),
                                           QStringLiteral("hex(b)")};
        if (supported.contains(type))
            return std::unexpected(QStringLiteral("%1 bytes are not a value of the type %2")
                                       .arg(bytes->size())
                                       .arg(type));
        return std::unexpected(QStringLiteral("the type %1 is not supported: only strings, dword "
                                              "and hex(b) are")
                                   .arg(type));
    }

    /// The bytes "01,02,..." from `start` on, over as many lines as they take.
    Parsed<QByteArray> parseBytes(const QString& start)
    {
        QString text = withoutComment(start);
        while (text.endsWith(QLatin1Char('\\'))) {
            if (++m_line == m_lines.size())
                return std::unexpected(QStringLiteral("the last line of the value is missing"));
            text.chop(1);
            const QString next = withoutComment(m_lines.at(m_line));
            // A line that is only a comment does not end the value.
            text += next.isEmpty() ? QStringLiteral("\\") : next;
        }
        QByteArray bytes;
        const QStringList parts = text.isEmpty() ? QStringList() : text.split(QLatin1Char(','));
        for (const QString& part : parts) {
            const QByteArray digits = part.trimmed().toLatin1();
            const QByteArray byte = QByteArray::fromHex("0" + digits);
            const bool isByte = digits.size() >= 1 && digits.size() <= 2 &&
                                std::all_of(digits.begin(), digits.end(), [](char digit) {
                                    return std::isxdigit(uchar(digit)) != 0;
                                });
            if (!isByte)
                return std::unexpected(
                    QStringLiteral("'%1' is not a byte of two hexadecimal digits").arg(part));
            bytes += byte.back();
        }
        return bytes;
    }

    /// A string without the NUL that ends it.
    static QString textOf(const QByteArray& bytes)
    {
        QString text(bytes.size() / 2, QChar(0));
        qFromLittleEndian<quint16>(bytes.constData(), text.size(), text.data());
        const int end = text.indexOf(QChar(0));
        return end < 0 ? text : text.left(end);
    }

    QStringList m_lines;
    int m_line = 0;
    QString m_key;
    std::vector<RegChange> m_changes;
};

} // namespace

std::optional<QString> machineKeyPath(const QString& name)
{
    const QString root = name.section(QLatin1Char('\\'), 0, 0);
    if (root.compare(QLatin1String("HKLM"), Qt::CaseInsensitive) != 0 &&
        root.compare(QLatin1String("HKEY_LOCAL_MACHINE"), Qt::CaseInsensitive) != 0)
        return std::nullopt;
    return platform::storedKeyPath(QLatin1String("HKEY_LOCAL_MACHINE") + name.mid(root.size()));
}

bool isName(const QString& text)
{
    return !hasControlCharacter(text);
}

QByteArray toRegText(const std::vector<KeyContent>& keys)
{
    QString text = kSignature + QLatin1String("\r\n\r\n");
    for (const KeyContent& key : keys) {
        text += QLatin1Char('[') + key.path + QLatin1String("]\r\n");
        for (const RegistryValue& value : key.values)
            text += valueLine(value) + QLatin1String("\r\n");
        text += QLatin1String("\r\n");
    }
    QByteArray content = kUtf16Mark;
    for (const QChar character : text)
        content += littleEndian(character.unicode());
    return content;
}

std::expected<std::vector<RegChange>, QString> parseRegText(const QByteArray& content)
{
    const auto text = decoded(content);
    if (!text)
        return std::unexpected(QStringLiteral("it is not text in UTF-16 or UTF-8"));
    return Parser(*text).parse();
}

} // namespace korvex::registry_editor
