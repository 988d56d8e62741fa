#include "end_to_end/display.h"

#include <QCoreApplication>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>
#include <xcb/xcb.h>

namespace korvex::test {

namespace {

using Connection = std::unique_ptr<xcb_connection_t,
                                   decltype([](auto* connection) { xcb_disconnect(connection); })>;
template <typename T>
using Reply = std::unique_ptr<T, decltype([](void* memory) { std::free(memory); })>;

xcb_window_t rootOf(xcb_connection_t* connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

bool isShown(xcb_connection_t* connection, xcb_window_t window)
{
    const Reply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
        connection, xcb_get_window_attributes(connection, window), nullptr));
    const Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    // Toolkits keep windows of a few pixels for their own use.
    return attributes && geometry && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
           geometry->width > 16;
}

/// Without a window manager every top-level window is a child of the root; the last is on top.
std::vector<xcb_window_t> shownWindows(xcb_connection_t* connection)
{
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, rootOf(connection)), nullptr));
    std::vector<xcb_window_t> windows;
    const xcb_window_t* const children = tree ? xcb_query_tree_children(tree.get()) : nullptr;
    for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i)
        if (isShown(connection, children[i]))
            windows.push_back(children[i]);
    return windows;
}

std::optional<xcb_window_t> topWindow(xcb_connection_t* connection)
{
    const auto windows = shownWindows(connection);
    return windows.empty() ? std::nullopt : std::optional(windows.back());
}

xcb_atom_t atom(xcb_connection_t* connection, const QByteArray& name)
{
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.constData()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

Connection connectTo(const QString& display)
{
    return Connection(xcb_connect(qPrintable(display), nullptr));
}

} // namespace

Display::Display()
{
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // A number that no other test takes: a server that ends removes the socket of its number, also
    // when a new one has just taken it over.
    static int count = 0;
    const QString number = QStringLiteral(":%1").arg(
        100 + (QCoreApplication::applicationPid() * 64 + count++) % 50000);
    // Pixels are not scaled at 96 to the inch. Without a reset when its last client goes, a look at
    // the windows cannot turn away the program that is about to open one.
    m_server.start("Xvfb", {number, "-displayfd", "1", "-screen", "0", "1280x720x24", "-dpi", "96",
                            "-noreset", "-nolisten", "tcp"});
    while (!m_server.canReadLine() && m_server.waitForReadyRead(20000)) {
    }
    m_name = ':' + QString::fromLatin1(m_server.readLine().trimmed());
    if (m_name.size() < 2)
        qFatal("Xvfb does not start");
}

Display::~Display()
{
    m_server.terminate();
    m_server.waitForFinished(5000);
}

void Display::type(const QString& text) const
{
    // By the key: a display without a window manager gives the keyboard to whoever asks for it.
    for (const QChar character : text)
        press(QString(character));
}

void Display::press(const QString& key) const
{
    runTool("xdotool", {"key", key});
}

void Display::click(int button) const
{
    runTool("xdotool", {"click", QString::number(button)});
}

void Display::copy(const QString& text) const
{
    runTool("xclip", {"-selection", "clipboard"}, text.toUtf8());
}

bool Display::runTool(const QString& program, const QStringList& arguments,
                      const QByteArray& input) const
{
    QProcess tool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", m_name);
    tool.setProcessEnvironment(environment);
    tool.start(program, arguments);
    tool.write(input);
    tool.closeWriteChannel();
    const bool succeeded = tool.waitForFinished(10000) && tool.exitCode() == 0;
    if (!succeeded)
        qWarning("failed: %s %s", qPrintable(program), qPrintable(arguments.join(' ')));
    return succeeded;
}

bool Display::closeTopWindow() const
{
    const Connection connection = connectTo(m_name);
    const auto window = topWindow(connection.get());
    if (!window)
        return false;
    xcb_client_message_event_t event = {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = *window;
    event.type = atom(connection.get(), "WM_PROTOCOLS");
    event.data.data32[0] = atom(connection.get(), "WM_DELETE_WINDOW");
    xcb_send_event(connection.get(), 0, *window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&event));
    // A round trip: the server may drop what a client that has gone left unread.
    const Reply<xcb_get_input_focus_reply_t> done(xcb_get_input_focus_reply(
        connection.get(), xcb_get_input_focus(connection.get()), nullptr));
    return done != nullptr;
}

bool Display::topWindowHasKeyboard() const
{
    const Connection connection = connectTo(m_name);
    const Reply<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(
        connection.get(), xcb_get_input_focus(connection.get()), nullptr));
    return focus && topWindow(connection.get()) == focus->focus;
}

bool Display::hasWindowTitled(const QString& title) const
{
    return runTool("xdotool", {"search", "--onlyvisible", "--name", title});
}

int Display::visibleWindows() const
{
    return static_cast<int>(shownWindows(connectTo(m_name).get()).size());
}

QRect Display::topWindowGeometry() const
{
    const Connection connection = connectTo(m_name);
    const auto window = topWindow(connection.get());
    const Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(
        connection.get(), xcb_get_geometry(connection.get(), window.value_or(0)), nullptr));
    return geometry ? QRect(geometry->x, geometry->y, geometry->width, geometry->height) : QRect();
}

} // namespace korvex::test
