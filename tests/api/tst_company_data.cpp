#include "api/transaction.h"
#include "platform/paths.h"
#include "rest/raw_server.h"
#include "rest/service_state.h"

#include <QBuffer>
#include <QDir>
#include <QJsonObject>
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
    void partial();
    void failed();
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
    const QStringList expected{"old", "old", "old", "old", "old", longest, "", "old"};
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
        if (logo.isEmpty())
            continue; // there is Qt without JPEG
        const QString path = m_path + (logo.startsWith("\x89PNG") ? "png" : "jpg");
        cacheKey().writeNumber("IsCompanyDataReaded", 0);
        m_peer.answer = RawServer::http("200 OK", logo);
        QVERIFY(signIn());
        QCOMPARE(QDir::fromNativeSeparators(values()[2]), path);
        QCOMPARE(test::contentOf(path), logo);
    }
}

/// What cannot be used is left out; what was not transferred is fetched again.
void TestCompanyData::partial()
{
    const QString noLogo = "the logo is no PNG or JPEG of at most 1 MiB and 2048 x 2048 pixels";
    const QString noText = "'helpLink2' is no text of at most 4096 characters";
    const QString notFetched = "the logo cannot be fetched: ";
    const QString nowhere = "http://127.0.0.1:1";
    const auto with = [](const QString& member, const QJsonValue& value) {
        return QJsonObject{{"companyName", "new"}, {member, value}};
    };
    const QJsonObject logo = with("companyLogo", m_address);
    using Row = std::tuple<QJsonObject, QByteArray, QString, bool>;
    for (const auto& [result, bytes, reason, complete] :
         {Row{with("helpLink2", 1), "", noText, true},
          Row{with("helpLink2", QString(4097, 'x')), "", noText, true},
          Row{with("helpLink2", QJsonValue()), "", "", true}, Row{{}, "", "", true},
          Row{with("companyLogo", nowhere), "", notFetched + nowhere, false},
          Row{logo, image("png", 1).leftJustified(kMiB + 1, '\0'), notFetched + m_address, false},
          Row{logo, image("png", 2049), noLogo, true},
          Row{logo, image("png", 100).chopped(30), noLogo, true},
          Row{logo, image("bmp", 9), noLogo, true}}) {
        init();
        m_peer.answer = RawServer::http("200 OK", bytes);
        m_state.service().setResult(kData, result);
        QVERIFY(signIn());
        QStringList expected = m_old;
        expected[1] = result.value("companyName").toString("old");
        QCOMPARE(values(), expected);
        QCOMPARE(readFlag(Setting::IsCompanyDataReaded), qint64(complete));
        const QString warning = reason.isEmpty() ? "" : "[Warning] Company data: " + reason + '|';
        QCOMPARE(m_state.takeLog().filter("Company data").join('|'),
                 warning + "[Verbose 1] Company data stored");
    }
}

void TestCompanyData::failed()
{
    m_state.service().setBehaviour(kData, {mfa_service::Behaviour::Kind::Status500});
    QVERIFY(signIn());
    QCOMPARE(values(), m_old);
    QCOMPARE(readFlag(Setting::IsCompanyDataReaded), 0);
}

void TestCompanyData::logoFileCannotBeWritten()
{
    QFile::remove(m_path + "png");
    QVERIFY(QDir().mkpath(m_path + "png"));
    QVERIFY(signIn());
    QVERIFY(QDir().rmdir(m_path + "png"));
    QCOMPARE(values()[2], QString("old"));
    QVERIFY(values()[1] != "old");
    QCOMPARE(readFlag(Setting::IsCompanyDataReaded), 0);
}

QTEST_MAIN(TestCompanyData)
#include "tst_company_data.moc"
