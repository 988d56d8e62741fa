#include "connection.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>

using namespace korvex::virtual_card;

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

std::atomic<bool> endRequested = false;
static_assert(std::atomic<bool>::is_always_lock_free, "written by a signal handler");

int fail(int code, const QString& reason)
{
    std::fputs(qPrintable("korvex-virtual-card: " + reason + '\n'), stderr);
    return code;
}

int listTypes()
{
    for (const CardType& type : cardTypes())
        std::printf("%-12s  %s  %s\n", qPrintable(type.name),
                    type.sectors > 0 ? "with memory " : "only its UID",
                    type.atr.toHex(' ').toUpper().constData());
    return 0;
}

struct Options
{
    QCommandLineOption image{"image", "The card's memory; created when it does not exist.", "file"};
    QCommandLineOption type{"type", "Kind of card, see --list-types.", "name", "classic-1k"};
    QCommandLineOption listTypes{"list-types", "List the kinds of card with their ATRs."};
    QCommandLineOption uid{"uid", "UID of a new card, 4 or 7 bytes (random).", "hex"};
    QCommandLineOption port{"port", "Port of the reader's slot.", "number", "35963"};
    QCommandLineOption host{"host", "IPv4 address of the reader.", "address", "127.0.0.1"};
    QCommandLineOption wait{"wait", "Seconds to wait for the reader.", "number", "10"};
    QCommandLineOption refuseVolatileKeys{"refuse-volatile-keys",
                                          "Answer LOAD KEYS into volatile memory with 6A 81."};
    QCommandLineOption vanishAfter{"vanish-after",
                                   "Leave the reader on the command after that many.", "number"};
    QCommandLineOption vanishAfterExecuting{"vanish-after-executing",
                                            "Execute that last command before leaving."};
    QCommandLineOption corrupt{"corrupt",
                               "Flip the bits of a byte in the answer to a command, counted from "
                               "1; a negative byte counts from the end.",
                               "command:byte"};
    QCommandLineOption delay{"delay", "Milliseconds before each answer.", "number", "0"};
    QCommandLineOption form{"form", "Answer data by 61 xx (get-response) or 6C xx (wrong-length).",
                            "name"};
    QCommandLineOption answer{"answer",
                              "Answer this command with these bytes; may be repeated, and answers "
                              "to the same command are given in turn.",
                              "hex=hex"};

    QList<QCommandLineOption> all() const
    {
        return {image,       type,
                listTypes,   uid,
                port,        host,
                wait,        refuseVolatileKeys,
                vanishAfter, vanishAfterExecuting,
                corrupt,     delay,
                form,        answer};
    }
};

/// A number from 0 to `most`; the reason when the option's value is none.
std::expected<int, QString> number(const QCommandLineParser& parser,
                                   const QCommandLineOption& option, int most)
{
    bool isNumber = false;
    const int value = parser.value(option).toInt(&isNumber);
    if (!isNumber || value < 0 || value > most)
        return std::unexpected(
            QString("--%1 wants a number from 0 to %2").arg(option.names().constFirst()).arg(most));
    return value;
}

std::expected<Misbehaviour, QString> misbehaviour(const QCommandLineParser& parser,
                                                  const Options& options)
{
    constexpr int kMostCommands = 1'000'000;
    constexpr int kMostMilliseconds = 600'000;
    Misbehaviour result;
    result.refuseVolatileKeys = parser.isSet(options.refuseVolatileKeys);
    result.vanishAfterExecuting = parser.isSet(options.vanishAfterExecuting);
    if (parser.isSet(options.vanishAfter)) {
        const auto count = number(parser, options.vanishAfter, kMostCommands);
        if (!count)
            return std::unexpected(count.error());
        result.vanishAfter = *count;
    }
    const auto delay = number(parser, options.delay, kMostMilliseconds);
    if (!delay)
        return std::unexpected(delay.error());
    result.delay = std::chrono::milliseconds(*delay);
    if (parser.isSet(options.corrupt)) {
        result.corruption = parseCorruption(parser.value(options.corrupt));
        if (!result.corruption)
            return std::unexpected("--corrupt wants COMMAND:BYTE");
    }
    if (parser.isSet(options.form)) {
        const auto form = parseForm(parser.value(options.form));
        if (!form)
            return std::unexpected("--form wants get-response or wrong-length");
        result.form = *form;
    }
    for (const QString& text : parser.values(options.answer)) {
        const auto answer = parseAnswer(text);
        if (!answer)
            return std::unexpected("--answer wants COMMAND=ANSWER in hexadecimal");
        result.answers.push_back(*answer);
    }
    return result;
}

std::expected<CardOptions, QString> cardOptions(const QCommandLineParser& parser,
                                                const Options& options)
{
    const auto type = cardType(parser.value(options.type));
    if (!type)
        return std::unexpected("no such type: " + parser.value(options.type));
    if ((type->sectors > 0) != parser.isSet(options.image))
        return std::unexpected(type->sectors > 0 ? "--image is required"
                                                 : "this type has no --image");
    CardOptions result{.type = *type, .imagePath = parser.value(options.image)};
    if (parser.isSet(options.uid)) {
        const auto uid = parseHex(parser.value(options.uid));
        if (!uid)
            return std::unexpected("--uid wants hexadecimal digits, two per byte");
        result.uid = *uid;
    }
    return result;
}

int serve(Card& card, const ReaderAddress& address, std::chrono::seconds wait)
{
    Connection connection(card);
    if (const auto started = connection.start(address, wait); !started)
        return fail(kFailed, started.error());
    std::puts("on the reader");
    std::fflush(stdout);
    // A signal handler may do no more than set a flag.
    while (!endRequested && !connection.waitForEnd(std::chrono::milliseconds(50))) {
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    std::signal(SIGINT, [](int) { endRequested = true; });
    std::signal(SIGTERM, [](int) { endRequested = true; });

    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(KORVEX_VERSION);
    const Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "An emulated contactless card for the virtual reader of vsmartcard-vpcd.");
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    parser.addOptions(options.all());
    if (!parser.parse(QCoreApplication::arguments()))
        return fail(kWrongUsage, parser.errorText());
    if (parser.isSet(help))
        parser.showHelp();
    if (parser.isSet(version))
        parser.showVersion();
    if (parser.isSet(options.listTypes))
        return listTypes();
    if (!parser.positionalArguments().isEmpty())
        return fail(kWrongUsage,
                    "unexpected argument " + parser.positionalArguments().constFirst());

    const auto cardFound = cardOptions(parser, options);
    if (!cardFound)
        return fail(kWrongUsage, cardFound.error());
    const auto wrong = misbehaviour(parser, options);
    if (!wrong)
        return fail(kWrongUsage, wrong.error());
    const auto port = number(parser, options.port, 65535);
    const auto wait = number(parser, options.wait, 3600);
    if (!port || !wait)
        return fail(kWrongUsage, port ? wait.error() : port.error());

    const auto card = Card::create(*cardFound);
    if (!card)
        return fail(kFailed, card.error());
    (*card)->setMisbehaviour(*wrong);
    return serve(**card, {.host = parser.value(options.host), .port = static_cast<quint16>(*port)},
                 std::chrono::seconds(*wait));
}
