#include "offline_mode/offline_mode_controller.h"

#include "core/log.h"
#include "offline_mode/combo_box_language_data_model.h"
#include "offline_mode/custom_tools.h"
#include "offline_mode/exit_handler.h"
#include "offline_mode/file_validator.h"
#include "offline_mode/internationalization_controller.h"
#include "offline_mode/otp_validate_result.h"
#include "offline_mode/screen_result.h"
#include "offline_mode/totp_controller.h"
#include "offline_mode/totp_method_data_provider.h"
#include "offline_mode/totp_text_provider.h"
#include "platform/foreground.h"

#include <QApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <new>

namespace korvex::offline_mode {

namespace {

template <typename T, typename... Arguments>
std::unique_ptr<T> make(Arguments&&... arguments)
{
    return std::unique_ptr<T>(new (std::nothrow) T(std::forward<Arguments>(arguments)...));
}

void prepareQml()
{
    // Draw without a graphics driver: a logon desktop may have none, and the screen appears sooner.
    // In a process that has shown a web page before, this has no effect and is not needed.
    QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
    qRegisterMetaType<OtpValidateResult>();
    qmlRegisterUncreatableMetaObject(OfflineModeController::staticMetaObject,
                                     "OfflineModeController", 1, 0, "Languages",
                                     QStringLiteral("Access to enums only"));
}

} // namespace

struct OfflineModeController::Screen
{
    explicit Screen(QTranslator& translator)
        : internationalization(make<InternationalizationController>(translator))
    {}
    ~Screen() { result->abandon(); }

    void provideObjects();
    bool load();

    std::shared_ptr<ScreenResult> result = std::make_shared<ScreenResult>();
    std::unique_ptr<TotpController> totp = make<TotpController>(result);
    std::unique_ptr<TotpMethodDataProvider> data = make<TotpMethodDataProvider>();
    std::unique_ptr<TotpTextProvider> texts = make<TotpTextProvider>();
    std::unique_ptr<InternationalizationController> internationalization;
    std::unique_ptr<ComboBoxLanguageDataModel> languages = make<ComboBoxLanguageDataModel>();
    std::unique_ptr<CustomTools> tools = make<CustomTools>();
    std::unique_ptr<FileValidator> fileValidator = make<FileValidator>();
    QQmlApplicationEngine engine; // last, because it uses the objects above
};

void OfflineModeController::Screen::provideObjects()
{
    const struct
    {
        const char* name;
        QObject* object;
        const char* missing;
    } objects[] = {
        {"TotpController", totp.get(), "TotpController is null!"},
        {"TotpMethodDataProvider", data.get(), "TotpMethodDataProvider is null!"},
        {"TotpTextProvider", texts.get(), "TotpTextProvider is null!"},
        {"InternationalizationController", internationalization.get(),
         "InternationalizationController is null"},
        {"ComboBoxLanguageDataModel", languages.get(), "ComboBoxLanguageDataModel is null"},
        {"CustomTools", tools.get(), "CustomTools is null"},
        {"FileValidator", fileValidator.get(), "FileValidator is null"},
    };
    for (const auto& [name, object, missing] : objects) {
        if (!object)
            logger().logError(QLatin1String(missing));
        engine.rootContext()->setContextProperty(QLatin1String(name), object);
    }
    if (!internationalization)
        return;
    for (QObject* const texted :
         {static_cast<QObject*>(data.get()), static_cast<QObject*>(texts.get())})
        if (texted)
            QObject::connect(internationalization.get(), SIGNAL(selectedLanguageChanged()), texted,
                             SIGNAL(languageChanged()));
}

bool OfflineModeController::Screen::load()
{
    engine.load(QUrl(QStringLiteral("qrc:/offline_mode/TotpMethod.qml")));
    if (engine.rootObjects().isEmpty()) {
        logger().logError(QStringLiteral("Root objects are empty!"));
        return false;
    }
    auto* const window = qobject_cast<QQuickWindow*>(engine.rootObjects().constFirst());
    if (!window)
        return false;
    window->setIcon(QIcon(QStringLiteral(":/rsc/Korvex.png")));
    window->show();
    platform::bringToForeground(window->winId());
    return true;
}

OfflineModeController::OfflineModeController() = default;
OfflineModeController::~OfflineModeController() = default;

void OfflineModeController::prepare(QApplication& application, QTranslator& translator)
{
    tearDown();
    m_application = &application;
    m_translator = &translator;
}

bool OfflineModeController::show()
{
    static const bool prepared = (prepareQml(), true);
    Q_UNUSED(prepared)
    m_screen = std::make_unique<Screen>(*m_translator);
    m_screen->provideObjects();
    return m_screen->load();
}

void OfflineModeController::startExitHandler()
{
    offline_mode::startExitHandler(*m_application, m_screen->totp ? m_screen->result : nullptr);
}

void OfflineModeController::tearDown()
{
    m_screen.reset();
}

OfflineModeController& offlineMode()
{
    static OfflineModeController controller;
    return controller;
}

} // namespace korvex::offline_mode
