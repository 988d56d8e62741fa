#include "web/page_dialog.h"

#include "platform/foreground.h"
#include "web/page_text.h"

#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

namespace korvex {

namespace {

constexpr int kMaxAnswerLength = 1000;

} // namespace

void PageDialog::alert(QWidget* window, const QString& text)
{
    QMessageBox box(window);
    box.setTextFormat(Qt::PlainText);
    box.setText(pageText(text));
    box.addButton(tr("OK"), QMessageBox::AcceptRole);
    run(box);
}

bool PageDialog::confirm(QWidget* window, const QString& text)
{
    QMessageBox box(window);
    box.setTextFormat(Qt::PlainText);
    box.setText(pageText(text));
    const auto* const accept = box.addButton(tr("OK"), QMessageBox::AcceptRole);
    box.setEscapeButton(box.addButton(tr("Cancel"), QMessageBox::RejectRole));
    run(box);
    return box.clickedButton() == accept;
}

std::optional<QString> PageDialog::prompt(QWidget* window, const QString& text,
                                          const QString& proposal)
{
    QInputDialog box(window);
    box.setLabelText(pageText(text));
    box.setOkButtonText(tr("OK"));
    box.setCancelButtonText(tr("Cancel"));
    box.setTextValue(proposal.left(kMaxAnswerLength));
    for (QLabel* const label : box.findChildren<QLabel*>()) {
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
    }
    for (QLineEdit* const field : box.findChildren<QLineEdit*>())
        field->setMaxLength(kMaxAnswerLength);
    return run(box) ? std::optional(box.textValue()) : std::nullopt;
}

bool PageDialog::run(QDialog& dialog)
{
    dialog.setWindowFlags(Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint |
                          Qt::BypassWindowManagerHint | Qt::CustomizeWindowHint |
                          Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint);
    QTimer::singleShot(0, &dialog, [&dialog] { platform::bringToForeground(dialog.winId()); });
    return dialog.exec() == QDialog::Accepted;
}

} // namespace korvex
