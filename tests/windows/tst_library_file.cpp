#include <QString>
#include <QtTest>
#include <cstring>
#include <vector>
#include <windows.h>

/// The library's face to the outside, read from its file. It is mapped but not started, so nothing
/// that it needs has to be there.
class TestLibraryFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { FreeLibrary(m_module); }

    void oneExport();
    void version_data();
    void version();
    void hardening();

private:
    template <typename T>
    const T* at(DWORD offset) const
    {
        return reinterpret_cast<const T*>(reinterpret_cast<const char*>(m_module) + offset);
    }
    const IMAGE_NT_HEADERS64& headers() const
    {
        return *at<IMAGE_NT_HEADERS64>(static_cast<DWORD>(at<IMAGE_DOS_HEADER>(0)->e_lfanew));
    }

    HMODULE m_module = nullptr;
};

void TestLibraryFile::initTestCase()
{
    m_module = LoadLibraryExA(KORVEX_LOGIN_LIBRARY, nullptr, DONT_RESOLVE_DLL_REFERENCES);
    QVERIFY2(m_module != nullptr, qPrintable(qt_error_string()));
}

void TestLibraryFile::oneExport()
{
    const auto& directory = headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto* const exports = at<IMAGE_EXPORT_DIRECTORY>(directory.VirtualAddress);
    QCOMPARE(exports->NumberOfFunctions, DWORD{1}); // also none by number alone
    QCOMPARE(exports->NumberOfNames, DWORD{1});
    QCOMPARE(at<char>(*at<DWORD>(exports->AddressOfNames)), "korvex_execute");
    QCOMPARE(at<char>(exports->Name), "korvexLogin.dll");
}

void TestLibraryFile::version_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("FileVersion") << KORVEX_VERSION;
    QTest::newRow("ProductVersion") << KORVEX_VERSION;
    QTest::newRow("OriginalFilename") << "korvexLogin.dll";
}

void TestLibraryFile::version()
{
    DWORD unused = 0;
    std::vector<char> block(GetFileVersionInfoSizeA(KORVEX_LOGIN_LIBRARY, &unused));
    QVERIFY(!block.empty());
    QVERIFY(GetFileVersionInfoA(KORVEX_LOGIN_LIBRARY, 0, static_cast<DWORD>(block.size()),
                                block.data()) != FALSE);
    void* found = nullptr;
    UINT size = 0;
    QVERIFY(VerQueryValueA(block.data(), "\\", &found, &size) != FALSE);
    const auto* const fixed = static_cast<VS_FIXEDFILEINFO*>(found);
    QCOMPARE(QStringLiteral("%1.%2.%3")
                 .arg(HIWORD(fixed->dwFileVersionMS))
                 .arg(LOWORD(fixed->dwFileVersionMS))
                 .arg(HIWORD(fixed->dwFileVersionLS)),
             QStringLiteral(KORVEX_VERSION));

    const QByteArray path = QByteArray("\\StringFileInfo\\040904b0\\") + QTest::currentDataTag();
    QVERIFY(VerQueryValueA(block.data(), path.constData(), &found, &size) != FALSE);
    QTEST(QString::fromLatin1(static_cast<const char*>(found)), "value");
}

void TestLibraryFile::hardening()
{
    const WORD wanted = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT |
                        IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA;
    QCOMPARE(WORD(headers().OptionalHeader.DllCharacteristics & wanted), wanted);
}

QTEST_GUILESS_MAIN(TestLibraryFile)

#include "tst_library_file.moc"
