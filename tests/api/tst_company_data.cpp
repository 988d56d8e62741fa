#include "api/transaction.h"
#include "platform/paths.h"
#include "rest/raw_server.h"
#include "rest/service_state.h"

#include <QBuffer>
#include <QDir>
#include <QJsonDocument>
#include <QtTest>

using namespace korvex;
using test::RawServer;

namespace {

const QString kData = "/api/company/data";
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

} // namespace

class TestCompanyData : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void stored();
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
    RawServer m_peer;
    const QString m_address = "http://" + m_peer.authority();
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

void TestCompanyData::logo()
{
    QVERIFY(signIn()); // the service's own, and every text
    QStringList texts = values();
    QCOMPARE(QDir::fromNativeSeparators(texts.takeAt(2)), m_path + "png");
    QVERIFY(!texts.contains("old") && !QImage(m_path + "png").isNull());

    m_state.service().setResult(kData, {{"companyLogo", m_address}});
    for (const QByteArray& logo :
         {image("png", 2048), image("png", 1).leftJustified(kMiB, '\0'), image("jpg", 9)}) {
        const QString path = m_path + (logo.startsWith("\x89PNG") ? "png" : "jpg");
        cacheKey().writeNumber("IsCompanyDataReaded", 0);
        m_peer.answer = RawServer::http("200 OK", logo);
        QVERIFY(signIn());
        QCOMPARE(QDir::fromNativeSeparators(values()[2]), path);
        QCOMPARE(test::contentOf(path), logo);
    }
}

void TestCompanyData::refused_data()
{
    QTest::addColumn<QByteArray>("result");
    QTest::addColumn<QByteArray>("logo");
    QTest::addColumn<QString>("reason");
    const auto row = [](const QByteArray& result, const char* reason, const QByteArray& logo = "") {
        QTest::newRow((result.left(60) + logo.toHex().left(99)).constData())
            << result << logo << "[Warning] Company data not stored: " + QString(reason);
    };
    const QByteArray noText = R"({"companyName":"new","helpLink2":)";
    for (const QByteArray& value : {QByteArray("1"), QByteArray("null"), QByteArray(4097, 'x')})
        row(noText + (value.size() > 9 ? '"' + value + '"' : value) + '}',
            "'helpLink2' is no text of at most 4096 characters");
    row("{}", "code 1000, error: ''");
    row(R"({"companyLogo":"http://127.0.0.1:1"})",
        "the logo cannot be fetched: http://127.0.0.1:1");
    const QByteArray withLogo = R"({"companyName":"new","companyLogo":"LOGO"})";
    row(withLogo, "the logo cannot be fetched: http://",
        image("png", 1).leftJustified(kMiB + 1, '\0'));
    for (const QByteArray& logo :
         {image("png", 2049), image("png", 100).chopped(30), image("bmp", 9)})
        row(withLogo, "the logo is no PNG or JPEG of at most 1 MiB and 2048 x 2048 pixels", logo);
}

/// A failed fetch stores nothing and does not stop the sign-in; the next one tries again.
void TestCompanyData::refused()
{
    QFETCH(QByteArray, result);
    QFETCH(QByteArray, logo);
    QFETCH(QString, reason);
    m_peer.answer = RawServer::http("200 OK", logo);
    result.replace("LOGO", m_address.toUtf8());
    m_state.service().setResult(kData, QJsonDocument::fromJson(result).object());
    QVERIFY(signIn());
    QCOMPARE(m_state.takeLog().filter("Company data").join('|').left(reason.size()), reason);
    QCOMPARE(values(), m_old);
    QCOMPARE(readFlag(Setting::IsCompanyDataReaded), 0);
}

void TestCompanyData::logoFileCannotBeWritten()
{
    QFile::remove(m_path + "png");
    QVERIFY(QDir().mkpath(m_path + "png"));
    QVERIFY(signIn());
    QVERIFY(QDir().rmdir(m_path + "png"));
    QCOMPARE(values(), m_old);
}

QTEST_MAIN(TestCompanyData)
#include "tst_company_data.moc"
