#pragma once

#include <QTimer>
#include <QWidget>

namespace korvex {

/// A small window that says that the service is being contacted. Shows itself when a sign-in has
/// shown nothing for a second, and hides as soon as another window of the process is drawn.
/// GUI thread.
class ContactNotice : public QWidget
{
    Q_OBJECT

public:
    ContactNotice();

signals:
    /// The user wants to close it.
    void closeRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void appear();

    QTimer m_delay;
};

} // namespace korvex
