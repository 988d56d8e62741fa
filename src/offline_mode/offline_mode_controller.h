#pragma once

#include "core/non_movable_copyable.h"

#include <QObject>
#include <memory>

class QApplication;
class QTranslator;

namespace korvex::offline_mode {

/// Owns the offline screen: builds it when the service cannot be reached and destroys it at the end
/// of the sign-in. GUI thread.
class OfflineModeController : private NonMovableCopyable
{
    Q_GADGET

public:
    /// Known to QML as Languages.English and so on; the numbers are those of languageNumbers().
    enum Languages { English = 0, Polish = 1, German = 2 };
    Q_ENUM(Languages)

    OfflineModeController();
    ~OfflineModeController();

    /// Sets what the screen of this sign-in uses. Both have to live until tearDown() has returned.
    /// The translator holds the language of the sign-in; the screen may load another into it.
    void prepare(QApplication& application, QTranslator& translator);

    /// Builds and shows the screen; false when that is impossible. Needs prepare().
    [[nodiscard]] bool show();

    /// Starts the thread that ends the sign-in when the screen closes.
    void startExitHandler();

    /// Destroys the screen, if there is one, with all that QML holds.
    void tearDown();

private:
    struct Screen;

    QApplication* m_application = nullptr;
    QTranslator* m_translator = nullptr;
    std::unique_ptr<Screen> m_screen;
};

/// The only controller of this process.
OfflineModeController& offlineMode();

} // namespace korvex::offline_mode
