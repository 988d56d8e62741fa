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
    QCommandLineOption misbehave{
        "misbehave",
        "Do something differently; may be repeated: refuse-volatile-keys, vanish-after=N or "
        "vanish-after-executing=N (leave on the command after N), corrupt=COMMAND:BYTE (in the "
        "answer to a command, counted from 1; negative bytes from the end), delay=MILLISECONDS, "
        "get-response (61 xx), wrong-length (6C xx), answer=COMMAND:ANSWER in hexadecimal (several "
        "answers to one command are given in turn).",
        "what"};
};

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

int serve(Card& card, const ReaderAddress& address)
{
    Connection connection(card);
    if (const auto started = connection.start(address, std::chrono::seconds(10)); !started)
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
    parser.addOptions({options.image, options.type, options.listTypes, options.uid, options.port,
                       options.host, options.misbehave});
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

    const auto cardWanted = cardOptions(parser, options);
    if (!cardWanted)
        return fail(kWrongUsage, cardWanted.error());
    bool isPort = false;
    const quint16 port = parser.value(options.port).toUShort(&isPort);
    if (!isPort || port == 0)
        return fail(kWrongUsage, "--port wants a number from 1 to 65535");
    Misbehaviour misbehaviour;
    for (const QString& text : parser.values(options.misbehave))
        if (!parseMisbehaviour(text, misbehaviour))
            return fail(kWrongUsage, "no such misbehaviour: " + text);

    const auto card = Card::create(*cardWanted);
    if (!card)
        return fail(kFailed, card.error());
    (*card)->setMisbehaviour(misbehaviour);
    return serve(**card, {.host = parser.value(options.host), .port = port});
}
