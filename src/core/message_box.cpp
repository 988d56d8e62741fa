#include "core/message_box.h"

#include "core/log.h"

#include <QMessageBox>

namespace korvex {

void showMessageBox(const QString& text)
{
    QString logged = text;
    logged.replace(QLatin1Char('\n'), QLatin1String(", "));
    logger().log(0, QStringLiteral("[MessageBox] ") + logged);

    QMessageBox box;
    box.setText(text);
    box.setWindowFlags(Qt::WindowStaysOnTopHint);
    box.exec();
}

} // namespace korvex
