#include "card.h"

namespace korvex::virtual_card {

namespace {

constexpr std::size_t kMaxCommands = 10'000;
const QByteArray kSuccess = QByteArray::fromHex("9000");

} // namespace

std::expected<std::unique_ptr<Card>, QString> Card::create(const CardOptions& options)
{
    if (!options.uid.isEmpty() && !isUid(options.uid))
        return std::unexpected("a UID has 4 or 7 bytes");
    const int sectors = options.type.sectors;
    if (sectors == 0) {
        const QByteArray uid = options.uid.isEmpty() ? randomUid() : options.uid;
        return std::unique_ptr<Card>(new Card(options.type.atr, Reader(uid, std::nullopt)));
    }
    const auto memory = Memory::open(options.imagePath, sectors, options.uid);
    if (!memory)
        return std::unexpected(memory.error());
    return std::unique_ptr<Card>(new Card(options.type.atr, Reader(memory->uid(), *memory)));
}

std::optional<QByteArray> Card::transmit(const QByteArray& command)
{
    const std::lock_guard lock(m_mutex);
    m_commands.push_back(command);
    if (m_commands.size() > kMaxCommands)
        m_commands.pop_front();
    if (m_vanished)
        return std::nullopt;

    ++m_count;
    const bool isLast = m_misbehaviour.vanishAfter && m_count > *m_misbehaviour.vanishAfter;
    if (isLast && !m_misbehaviour.vanishAfterExecuting)
        return vanish();
    const auto scripted = scriptedAnswer(command);
    QByteArray answer = scripted ? *scripted : inForm(command, m_reader.answer(command));
    if (isLast)
        return vanish();
    corrupt(answer);
    return answer;
}

std::nullopt_t Card::vanish()
{
    m_vanished = true;
    m_reader.cutPower();
    return std::nullopt;
}

std::optional<QByteArray> Card::scriptedAnswer(const QByteArray& command)
{
    std::vector<QByteArray> answers;
    for (const Misbehaviour::Answer& each : m_misbehaviour.answers)
        if (each.command == command)
            answers.push_back(each.answer);
    if (answers.empty())
        return std::nullopt;
    return answers[m_turns[command]++ % answers.size()];
}

QByteArray Card::inForm(const QByteArray& command, const QByteArray& answer)
{
    const bool asksForAnnounced = command.size() == 5 && command[1] == '\xc0';
    if (const QByteArray announced = std::exchange(m_announced, {});
        asksForAnnounced && !announced.isEmpty())
        return announced + kSuccess;

    const QByteArray data = answer.chopped(kSuccess.size());
    if (m_misbehaviour.form == Misbehaviour::Form::Plain || data.isEmpty())
        return answer;
    const auto size = static_cast<char>(data.size());
    if (m_misbehaviour.form == Misbehaviour::Form::GetResponse) {
        m_announced = data;
        return QByteArray(1, 0x61) + size;
    }
    return command.back() == size ? answer : QByteArray(1, 0x6c) + size;
}

void Card::corrupt(QByteArray& answer) const
{
    const auto& corruption = m_misbehaviour.corruption;
    if (!corruption || corruption->command != m_count)
        return;
    const int index = corruption->byte < 0 ? answer.size() + corruption->byte : corruption->byte;
    if (index >= 0 && index < answer.size())
        answer[index] = static_cast<char>(~answer[index]);
}

void Card::cutPower()
{
    const std::lock_guard lock(m_mutex);
    m_reader.cutPower();
}

void Card::setMisbehaviour(const Misbehaviour& misbehaviour)
{
    const std::lock_guard lock(m_mutex);
    m_misbehaviour = misbehaviour;
    m_reader.refuseVolatileKeys(misbehaviour.refuseVolatileKeys);
    m_count = 0;
    m_vanished = false;
    m_announced.clear();
    m_turns.clear();
}

std::chrono::milliseconds Card::delay() const
{
    const std::lock_guard lock(m_mutex);
    return m_misbehaviour.delay;
}

QByteArray Card::uid() const
{
    const std::lock_guard lock(m_mutex);
    return m_reader.uid();
}

QByteArray Card::image() const
{
    const std::lock_guard lock(m_mutex);
    return m_reader.image();
}

std::vector<QByteArray> Card::commands() const
{
    const std::lock_guard lock(m_mutex);
    return {m_commands.begin(), m_commands.end()};
}

} // namespace korvex::virtual_card
