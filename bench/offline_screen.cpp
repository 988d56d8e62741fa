// The offline screen, from the call of the library (with a service that refuses the connection) to
// its first frame, against a program that shows a bare QML window of the same size. The two run in
// turn on an X display of their own, on which the bench looks for the frame.
//
// Usage: bench_offline_screen [PAIRS]

#include "comparison.h"
#include "core/account_sid.h"
#include "core/logon_input.h"
#include "core/settings.h"
#include "core/user_registry_data.h"
#include "otp/offline_secret.h"
#include "pairs.h"
#include "platform/paths.h"

#include <QDir>
#include <QProcess>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <pwd.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

using namespace std::chrono_literals;
using namespace korvex::bench;

constexpr double kTarget = 1.3;
constexpr double kPatience = 30000; // milliseconds
constexpr quint32 kWindowColour = 0xfbfcfe;
constexpr int kEnough = 50; // pixels of that colour on the line that is looked at

QString thisUser()
{
    const passwd* const account = ::getpwuid(::getuid());
    if (!account)
        throw std::runtime_error("no account");
    return QString::fromLocal8Bit(account->pw_name);
}

/// Looks at the vertical line in the middle of the screen.
class Watch
{
public:
    Watch()
        : m_connection(xcb_connect(nullptr, nullptr))
        , m_screen(xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data)
    {
        if (!m_screen)
            throw std::runtime_error("no X display");
    }

    bool seesWindow() const
    {
        const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image(
            xcb_get_image_reply(m_connection.get(),
                                xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                              m_screen->root,
                                              static_cast<int16_t>(m_screen->width_in_pixels / 2),
                                              0, 1, m_screen->height_in_pixels, ~0U),
                                nullptr),
            &std::free);
        if (!image)
            return false;
        const auto* const pixels =
            reinterpret_cast<const quint32*>(xcb_get_image_data(image.get()));
        const int count = xcb_get_image_data_length(image.get()) / 4;
        return std::count_if(pixels, pixels + count, [](quint32 pixel) {
                   return (pixel & 0xffffff) == kWindowColour;
               }) >= kEnough;
    }

private:
    struct Disconnect
    {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    const xcb_screen_t* m_screen;
};

void prepareRegistry()
{
    QDir().mkpath(korvex::platform::installDirectory());
    korvex::mainKey().writeString(QStringLiteral("SystemToken"), QStringLiteral("bench"));
    korvex::mainKey().writeString(QStringLiteral("SecretKey"), QStringLiteral("bench-secret-key"));
    korvex::mainKey().writeString(QStringLiteral("korvexApiServer"),
                                  QStringLiteral("http://127.0.0.1:1"));
    const QString user = thisUser();
    const korvex::UserRegistryData data({.user = user, .sid = korvex::sidOf(user)});
    if (!data.key() || !data.key()->writeNumber(QStringLiteral("OfflineAuth"), 1) ||
        !korvex::otp::storeOtpSecret(&data, "GEZDGNBVGY3TQOJQGEZDGNBVGY3TQOJQ"))
        throw std::runtime_error("cannot prepare the user's data");
}

/// Milliseconds from the start that a program reports to its first frame; the program ends then.
double firstFrame(const Watch& watch, const QString& program, const QStringList& arguments)
{
    while (watch.seesWindow())
        std::this_thread::sleep_for(1ms);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const double begin = sharedNow();
    while (!watch.seesWindow()) {
        std::this_thread::sleep_for(1ms);
        if (sharedNow() - begin > kPatience)
            throw std::runtime_error(program.toStdString() + " shows no window");
    }
    const double shown = sharedNow();
    process.kill();
    process.waitForFinished();
    for (const QByteArray& line : process.readAll().split('\n'))
        if (line.startsWith("started "))
            return shown - line.mid(8).toDouble();
    throw std::runtime_error(program.toStdString() + " does not say when it started");
}

int measure(int pairs)
{
    printHeading("a bare QML window of the same size");
    prepareRegistry();
    const Watch watch;
    const QString json = QStringLiteral("{\"user\":\"%1\",\"ip\":\"\"}").arg(thisUser());
    Comparison time{.subject = "offline screen, call to first frame", .unit = "ms"};
    // The first pair fills the caches of the system and does not count.
    for (int i = 0; i <= pairs; ++i) {
        const double ours = firstFrame(watch, QStringLiteral(KORVEX_TIMED_HOST), {json});
        const double bare = firstFrame(watch, QStringLiteral(KORVEX_BARE_WINDOW), {});
        if (i == 0)
            continue;
        time.ours.push_back(ours);
        time.baseline.push_back(bare);
    }
    return report(time, kTarget) ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    return runPairs(argc, argv, measure);
}
