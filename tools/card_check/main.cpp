#include "rfid/card_manager_factory.h"
#include "rfid/sdk/card.h"
#include "rfid/sdk/reader.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>
#include <memory>

using namespace korvex;
using namespace korvex::rfid;

namespace {

void print(const QString& line)
{
    std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

int fail(const QString& reason)
{
    std::fputs(qPrintable(QStringLiteral("korvex-card-check: ") + reason + QLatin1Char('\n')),
               stderr);
    return 1;
}

QString listed(const QVector<quint8>& numbers)
{
    QStringList texts;
    for (const quint8 number : numbers)
        texts.append(QString::number(number));
    return texts.isEmpty() ? QStringLiteral("none") : texts.join(QLatin1Char(' '));
}

/// Writes a record into the first free slot, reads it back and gives the slot back.
int tryRecord(CardManager& manager, const QByteArray& payload)
{
    const auto slot = manager.findFreeSlot();
    if (!slot)
        return fail(slot.error().message);
    if (const auto written = manager.writeSlot(*slot, payload); !written)
        return fail(written.error().message);
    print(QStringLiteral("written and protected: slot %1").arg(*slot));

    bool isBack = false;
    for (const Slot& found : manager.readSlots())
        isBack = isBack || (found.number == *slot && found.payload == payload);
    if (!isBack)
        return fail(QStringLiteral("slot %1 does not read back").arg(*slot));
    print(QStringLiteral("read back: %1").arg(QString::fromUtf8(payload)));

    if (!manager.authenticateSlot(*slot) || !manager.releaseSlot(*slot))
        return fail(QStringLiteral("slot %1 cannot be released").arg(*slot));
    print(QStringLiteral("released: slot %1, free slots: %2")
              .arg(QString::number(*slot), listed(manager.freeSlots())));
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(KORVEX_VERSION));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows the readers, the card on the first that has one, and its slots."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption tryOut(
        QStringLiteral("try"),
        QStringLiteral("Writes this text into a free slot, reads it back and releases the slot."),
        QStringLiteral("text"));
    parser.addOption(tryOut);
    parser.process(application);

    const auto readers = sdk::listReaders();
    for (const sdk::Reader& reader : readers)
        print(QStringLiteral("reader: ") + reader.name());
    const auto reader = sdk::findActiveReader();
    if (!reader)
        return fail(reader.error().message);
    const auto uid = sdk::uidText(*reader->card());
    if (!uid)
        return fail(uid.error().message);
    print(QStringLiteral("card on '%1': %2, UID %3")
              .arg(reader->name(), reader->card()->displayName(), *uid));
    const auto manager = makeCardManager(reader->card());
    if (!manager)
        return fail(manager.error().message);
    print(QStringLiteral("free slots: %1 (%2 bytes each)")
              .arg(listed((*manager)->freeSlots()), QString::number((*manager)->slotSize())));
    return parser.isSet(tryOut) ? tryRecord(**manager, parser.value(tryOut).toUtf8()) : 0;
}
