#pragma once

#include <QProcess>
#include <QRect>
#include <QString>

namespace korvex::test {

/// An X display of the test's own, so that windows of tests that run side by side never meet.
/// There is no window manager on it, as there is none on a logon desktop.
class Display
{
public:
    /// Starts Xvfb on a free display number; fails the process when it cannot.
    Display();
    ~Display();

    QString name() const { return m_name; }

    /// What a person does at the keyboard and, at first in the middle of the display, the mouse.
    void type(const QString& text) const;
    void press(const QString& key) const;
    void click(int button) const;
    /// Puts a text into the clipboard.
    void copy(const QString& text) const;

    /// Asks the topmost visible window to close, as its close button does.
    bool closeTopWindow() const;
    int visibleWindows() const;
    bool hasVisibleWindow() const { return visibleWindows() > 0; }
    /// Place and size of the topmost visible window, in pixels of the display; empty without one.
    QRect topWindowGeometry() const;
    /// Whether what is typed now reaches the topmost visible window.
    bool topWindowHasKeyboard() const;
    bool hasWindowTitled(const QString& title) const;

private:
    /// Whether the program ended with success.
    bool runTool(const QString& program, const QStringList& arguments,
                 const QByteArray& input = {}) const;

    QProcess m_server;
    QString m_name;
};

} // namespace korvex::test
