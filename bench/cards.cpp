// The slot store: how many commands each operation sends, and the time of one command through the
// PC/SC daemon, against the same bytes by plain PC/SC calls.

#include "comparison.h"
#include "core/log.h"
#include "rfid/card_manager_factory.h"
#include "rfid/sdk/reader.h"
#include "support/posix/pcsc_daemon.h"
#include "temporary_root.h"
#include "virtual_card/connection.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <unistd.h>
#include <winscard.h>

using namespace korvex;
using namespace korvex::rfid;

namespace {

constexpr double kTarget = 1.05;
constexpr std::chrono::seconds kTimeout{10};
const QByteArray kCommand = QByteArrayLiteral("\xFF\xCA\0\0\0"); // asks for the identifier

struct Row
{
    const char* operation;
    const char* why;
    std::function<bool(CardManager&)> run;
};

const Row kRows[] = {
    {"find free slot, first", "load transport key, authenticate",
     [](CardManager& m) { return m.findFreeSlot().value_or(0) == 1; }},
    {"write slot", "3 data blocks, identifier for the key, trailer",
     [](CardManager& m) { return m.writeSlot(1, QByteArray(38, 'x')).has_value(); }},
    {"authenticate slot", "identifier, load card key, authenticate",
     [](CardManager& m) { return m.authenticateSlot(1); }},
    {"read slots, one of 15 used", "per slot as authenticate slot, and 3 blocks of the one",
     [](CardManager& m) { return m.readSlots().size() == 1; }},
    {"list free slots, 14 of 15", "per slot load transport key, authenticate",
     [](CardManager& m) { return m.freeSlots().size() == 14; }},
    {"find free slot, second", "the same for the first and for the second slot",
     [](CardManager& m) { return m.findFreeSlot().value_or(0) == 2; }},
    {"authenticate slot", "as above", [](CardManager& m) { return m.authenticateSlot(1); }},
    {"release slot", "3 data blocks, trailer", [](CardManager& m) { return m.releaseSlot(1); }},
    {"card present", "identifier", [](CardManager& m) { return m.cardPresent(); }},
};

void printCommands(virtual_card::Card& card, CardManager& manager)
{
    std::fprintf(stderr, "\n%-28s %9s  %s\n", "Slot store, Mifare Classic 1K", "commands", "which");
    for (const Row& row : kRows) {
        const std::size_t before = card.commands().size();
        if (!row.run(manager))
            qFatal("%s fails", row.operation);
        std::fprintf(stderr, "%-28s %9zu  %s\n", row.operation, card.commands().size() - before,
                     row.why);
    }
}

/// The card on the reader, used by plain PC/SC calls.
class BareCard
{
public:
    explicit BareCard(const QByteArray& reader)
    {
        SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &m_context);
        if (SCardConnect(m_context, reader.constData(), SCARD_SHARE_SHARED, SCARD_PROTOCOL_ANY,
                         &m_card, &m_protocol) != SCARD_S_SUCCESS)
            qFatal("the card cannot be opened by the bare calls");
    }
    ~BareCard()
    {
        SCardDisconnect(m_card, SCARD_LEAVE_CARD);
        SCardReleaseContext(m_context);
    }
    BareCard(const BareCard&) = delete;
    BareCard& operator=(const BareCard&) = delete;

    void exchange() const
    {
        unsigned char answer[256];
        DWORD size = sizeof(answer);
        SCardBeginTransaction(m_card);
        const LONG result =
            SCardTransmit(m_card, m_protocol == SCARD_PROTOCOL_T0 ? SCARD_PCI_T0 : SCARD_PCI_T1,
                          reinterpret_cast<const BYTE*>(kCommand.constData()),
                          static_cast<DWORD>(kCommand.size()), nullptr, answer, &size);
        SCardEndTransaction(m_card, SCARD_LEAVE_CARD);
        if (result != SCARD_S_SUCCESS || size != 6)
            qFatal("a bare exchange fails");
    }

private:
    SCARDCONTEXT m_context = 0;
    SCARDHANDLE m_card = 0;
    DWORD m_protocol = 0;
};

/// The time of one call, by the wall clock, since both sides wait for the daemon.
template <typename Function>
double microseconds(Function exchange)
{
    const double begin = bench::sharedNow();
    exchange();
    return (bench::sharedNow() - begin) * 1e3;
}

/// Alternates single calls and takes the median of many: the scheduling of the daemon's threads
/// changes a call by more than the sides differ.
template <typename Ours, typename Bare>
bench::Comparison compareExchanges(Ours ours, Bare bare)
{
    constexpr int kPairs = 30;
    constexpr int kCalls = 101;
    bench::Comparison result{.subject = "one command, in a transaction", .unit = "us"};
    for (int pair = 0; pair < kPairs; ++pair) {
        std::vector<double> oursTimes;
        std::vector<double> bareTimes;
        for (int call = 0; call < kCalls; ++call) {
            oursTimes.push_back(microseconds(ours));
            bareTimes.push_back(microseconds(bare));
        }
        result.ours.push_back(bench::median(oursTimes));
        result.baseline.push_back(bench::median(bareTimes));
    }
    return result;
}

std::unique_ptr<virtual_card::Card> layDown(const char* uid)
{
    return *virtual_card::Card::create(
        {.type = *virtual_card::cardType("classic-1k"), .uid = QByteArray::fromHex(uid)});
}

sdk::Reader awaitedReader()
{
    for (const QDeadlineTimer deadline(kTimeout); !deadline.hasExpired(); QThread::msleep(10))
        if (auto reader = sdk::findActiveReader())
            return *reader;
    qFatal("no card is found");
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const bench::TemporaryRoot root;
    ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    test::PcscDaemon daemon;
    if (!daemon.unavailable().isEmpty())
        qFatal("%s", qPrintable(daemon.unavailable()));

    const auto card = layDown("04A1B2C3");
    virtual_card::Connection onReader(*card);
    if (!onReader.start({.port = daemon.port()}, kTimeout))
        qFatal("the card cannot be laid down");
    const QString name = test::PcscDaemon::readerName();
    {
        const auto reader = awaitedReader();
        printCommands(*card, **makeCardManager(reader.card()));
    }

    // Both sides share one card on one reader, because the daemon's readers differ in speed.
    const auto context = sdk::__::Context::establish();
    const auto shared = context ? sdk::openCard(context, name, false) : nullptr;
    if (!shared)
        qFatal("the card cannot be opened");
    const BareCard bare(name.toUtf8());
    const auto ours = [&] {
        if (shared->readUid().size() != 4)
            qFatal("an exchange fails");
    };
    bench::printHeading("the same command by the bare PC/SC calls");
    return bench::report(compareExchanges(ours, [&] { bare.exchange(); }), kTarget) ? 0 : 1;
}
