#include "api/transaction.h"
#include "platform/paths.h"
#include "rest/raw_server.h"
#include "rest/service_state.h"

#include <QBuffer>
#include <QDir>
#include <QImageReader>
#include <QJsonDocument>
#include <QtTest>

using namespace korvex;
using Kind = mfa_service::Behaviour::Kind;
using test::RawServer;

Q_DECLARE_METATYPE(Kind)

namespace {

const QString kData = "/api/company/data";
const QString kLogo = "/company/logo";
const QStringList kMembers{"applicationName", "companyName", "companyLogo", "korvexBranding",
                           "helpPrompt",      "helpMsg",     "helpLink1",   "helpLink2"};
constexpr int kMiB = 1024 * 1024;

QByteArray image(const char* format, int width)
{
    QImage picture(width, 2, QImage::Format_RGB32);
    picture.fill(Qt::red);
    QBuffer buffer;
    picture.save(&buffer, format);
    return buffer.data();
}

/// An answer with this one member; "LOGO" in it stands for the address of the test's own peer.
QByteArray with(const QString& member, const QString& value)
{
    return QJsonDocument(QJsonObject{{member, value}}).toJson();
}

} // namespace

class TestCompanyData : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void stored();
    void logo_data();
    void logo();
    void refused_data();
    void refused();
    void logoFileCannotBeWritten();

private:
    bool signIn()
    {
        clearVerdict();
        Transaction transaction({.user = "a@b.example"});
        const QSignalSpy pages(&transaction, &Transaction::showWebPage);
        transaction.start();
        return !pages.isEmpty();
    }
    QStringList values() const
    {
        QStringList found;
        for (const QString& member : kMembers)
            found << dataKey().readString(member).value_or("absent");
        return found;
    }

    const QStringList m_old = QVector<QString>(kMembers.size(), "old").toList();
    test::ServiceState m_state; // names the data root
    const QString m_path = QDir(platform::dataRoot()).filePath("CompanyLogo.");
};

void TestCompanyData::init()
{
    m_state.startAnew();
    cacheKey().writeNumber("IsCompanyDataReaded", 0);
    for (const QString& member : kMembers) // value names are case-insensitive
        dataKey().writeString(member, "old");
}

void TestCompanyData::stored()
{
    const QString longest(4096, QChar(0x17c));
    m_state.service().setResult(kData, {{"helpMsg", longest}, {"helpLink1", ""}, {"other", 1}});
    QVERIFY(signIn());
    QCOMPARE(m_state.service().requests()[1].body, QByteArray(R"({"systemToken":"system-token"})"));
    QStringList expected = m_old;
    expected[5] = longest;
    expected[6].clear();
    QCOMPARE(values(), expected);

    m_state.service().setResult(kData, {{"companyName", "another"}});
    QVERIFY(signIn());
    QCOMPARE(values(), expected);
    QCOMPARE(m_state.paths().count(kData), 1);
    QCOMPARE(m_state.takeLog().filter("Company data").join('|'),
             QString("[Verbose 1] Company data stored"));
}

void TestCompanyData::logo_data()
{
    QTest::addColumn<QByteArray>("logo"); // empty for the service's own
    QTest::addColumn<QString>("ending");
    QTest::newRow("every member") << QByteArray() << "png";
    QTest::newRow("widest") << image("png", 2048) << "png";
    QTest::newRow("largest") << image("png", 1).leftJustified(kMiB, '\0') << "png";
    if (QImageReader::supportedImageFormats().contains("jpg"))
        QTest::newRow("JPEG") << image("jpg", 9) << "jpg";
}

void TestCompanyData::logo()
{
    QFETCH(QByteArray, logo);
    QFETCH(QString, ending);
    RawServer peer;
    peer.answer = RawServer::http("200 OK", logo);
    if (!logo.isEmpty())
        m_state.service().setResult(kData, {{"companyLogo", "http://" + peer.authority()}});
    QVERIFY(signIn());
    QStringList texts = values();
    QCOMPARE(QDir::fromNativeSeparators(texts.takeAt(2)), m_path + ending);
    QCOMPARE(texts.contains("old"), !logo.isEmpty());
    QFile file(m_path + ending);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY(logo.isEmpty() ? !QImage::fromData(bytes).isNull() : bytes == logo);
}

void TestCompanyData::refused_data()
{
    QTest::addColumn<QByteArray>("result"); // empty for the service's own
    QTest::addColumn<QByteArray>("logo");
    QTest::addColumn<QString>("route");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("reason");
    const auto answer = [](const char* name, const QByteArray& result, const char* reason) {
        QTest::newRow(name) << result << QByteArray() << QString() << Kind::Normal << reason;
    };
    answer("too long", with("helpMsg", QString(4097, 'x')), "'helpMsg' is no text");
    for (const char* const value : {"1", "null", "[\"a\"]", "{}", "true"})
        answer(value, QByteArray(R"({"companyName":"new","helpLink2":)") + value + '}',
               "'helpLink2' is no text of at most 4096 characters");
    for (const char* const address :
         {"file:///etc/hostname", "data:image/png;base64,AA==", "qrc:/logo.png", "/logo.png",
          "http://", "http://127.0.0.1:1"})
        answer(address, with("companyLogo", address), "the logo cannot be fetched: ");

    const auto picture =
        [](const char* name, const QByteArray& logo,
           const char* reason =
               "the logo is no PNG or JPEG of at most 1 MiB and 2048 x 2048 pixels") {
            QTest::newRow(name) << with("companyLogo", "LOGO") << logo << QString() << Kind::Normal
                                << reason;
        };
    picture("too large", image("png", 1).leftJustified(kMiB + 1, '\0'),
            "the logo cannot be fetched: ");
    picture("too wide", image("png", 2049));
    picture("cut off", image("png", 100).chopped(30));
    picture("another format", image("bmp", 9));
    picture("no image", "\x89PNG\r\n\x1a\n");
    picture("SVG", "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>");

    const auto misbehave = [](const char* name, const QString& route, Kind kind,
                              const char* reason) {
        QTest::newRow(name) << QByteArray() << QByteArray() << route << kind << reason;
    };
    misbehave("unsigned", kData, Kind::MissingSignature, "code 9, ");
    misbehave("hanging", kData, Kind::Hang, "code 1002, ");
    misbehave("redirected logo", kLogo, Kind::Redirect, "the logo is no PNG or JPEG");
    misbehave("hanging logo", kLogo, Kind::Hang, "the logo cannot be fetched: http://");
}

/// A failed fetch stores nothing and does not stop the sign-in; the next one tries again.
void TestCompanyData::refused()
{
    QFETCH(QByteArray, result);
    QFETCH(QByteArray, logo);
    QFETCH(QString, route);
    QFETCH(Kind, kind);
    QFETCH(QString, reason);
    RawServer peer;
    peer.answer = RawServer::http("200 OK", logo);
    result.replace("LOGO", "http://" + peer.authority().toUtf8());
    if (!result.isEmpty())
        m_state.service().setResult(kData, QJsonDocument::fromJson(result).object());
    m_state.service().setBehaviour(route, {.kind = kind});
    mainKey().writeNumber("RequestTimeout", kind == Kind::Hang ? 400 : 10000);
    QVERIFY(signIn());
    QCOMPARE(values(), m_old);
    const QStringList lines = m_state.takeLog().filter("Company data");
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines[0].startsWith("[Warning] Company data not stored: " + reason),
             qPrintable(lines[0]));
    QCOMPARE(readFlag(Setting::IsCompanyDataReaded), 0);
}

void TestCompanyData::logoFileCannotBeWritten()
{
    QFile::remove(m_path + "png");
    QVERIFY(QDir().mkpath(m_path + "png"));
    QVERIFY(signIn());
    QVERIFY(QDir().rmdir(m_path + "png"));
    QCOMPARE(values(), m_old);
    QCOMPARE(readFlag(Setting::IsCompanyDataReaded), 0);
}

QTEST_MAIN(TestCompanyData)
#include "tst_company_data.moc"
