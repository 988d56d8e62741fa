#pragma once

#include <QCoreApplication>
#include <QString>
#include <optional>

class QDialog;
class QWidget;

namespace korvex {

/// The boxes that the page asks for with alert(), confirm() and prompt(), modal above a window.
/// Texts are the page's, shown as plain text and cut (see pageText()). A verdict closes them as
/// refused. GUI thread.
class PageDialog
{
    Q_DECLARE_TR_FUNCTIONS(korvex::PageDialog)

public:
    static void alert(QWidget* window, const QString& text);
    static bool confirm(QWidget* window, const QString& text);
    /// The typed text; nothing when the user cancels.
    static std::optional<QString> prompt(QWidget* window, const QString& text,
                                         const QString& proposal);

private:
    static bool run(QDialog& dialog);
};

} // namespace korvex
