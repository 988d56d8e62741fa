#include "web/contact_notice.h"

#include "platform/foreground.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QScreen>
#include <QWindow>
#include <chrono>

namespace korvex {

namespace {

constexpr std::chrono::seconds kDelay{1};
constexpr int kMargin = 24;
constexpr int kIconSize = 32;

QPixmap iconFor(double devicePixelRatio)
{
    QPixmap icon =
        QIcon(QStringLiteral(":/rsc/Korvex.png")).pixmap(qRound(kIconSize * devicePixelRatio));
    icon.setDevicePixelRatio(devicePixelRatio);
    return icon;
}

} // namespace

ContactNotice::ContactNotice()
    : QWidget(nullptr, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::BypassWindowManagerHint |
                           Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint |
                           Qt::WindowStaysOnTopHint)
{
    auto* const icon = new QLabel(this);
    icon->setPixmap(iconFor(devicePixelRatioF()));
    auto* const text = new QLabel(tr("Contacting the sign-in service..."), this);
    text->setTextFormat(Qt::PlainText);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kMargin / 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(icon);
    layout->addWidget(text);

    m_delay.setSingleShot(true);
    connect(&m_delay, &QTimer::timeout, this, &ContactNotice::appear);
    m_delay.start(kDelay);
    qApp->installEventFilter(this);
}

void ContactNotice::appear()
{
    adjustSize();
    move(screen()->geometry().center() - rect().center());
    show();
    platform::bringToForeground(winId());
}

bool ContactNotice::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Expose && watched != windowHandle()) {
        const auto* const window = qobject_cast<QWindow*>(watched);
        if (window && window->isExposed()) {
            m_delay.stop();
            // Once the other window has been drawn.
            QTimer::singleShot(0, this, &QWidget::hide);
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ContactNotice::closeEvent(QCloseEvent* event)
{
    event->ignore();
    emit closeRequested();
}

} // namespace korvex
