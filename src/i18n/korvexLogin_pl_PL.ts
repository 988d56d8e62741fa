<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl_PL" sourcelanguage="en_US">
<context>
    <name>QObject</name>
    <message>
        <source>Korvex for Windows</source>
        <translation>Korvex dla Windows</translation>
    </message>
</context>
<context>
    <name>korvex::Connectivity</name>
    <message>
        <source>Access Denied!
You are not allowed to log in.
Contact your administrator.</source>
        <translation>Odmowa dostępu!
Nie masz uprawnień do logowania.
Skontaktuj się z administratorem.</translation>
    </message>
</context>
<context>
    <name>korvex::ContactNotice</name>
    <message>
        <source>Contacting the sign-in service...</source>
        <translation>Trwa łączenie z usługą logowania...</translation>
    </message>
</context>
<context>
    <name>korvex::MainWindow</name>
    <message>
        <source>Incorrect Korvex API credentials.</source>
        <translation>Nieprawidłowe dane uwierzytelniające Korvex API.</translation>
    </message>
</context>
<context>
    <name>korvex::PageDialog</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Anuluj</translation>
    </message>
</context>
<context>
    <name>korvex::Transaction</name>
    <message>
        <source>Access Denied!
Incorrect Korvex API request.</source>
        <translation>Odmowa dostępu!
Nieprawidłowe żądanie do Korvex API.</translation>
    </message>
    <message>
        <source>Incorrect Korvex API credentials.</source>
        <translation>Nieprawidłowe dane uwierzytelniające Korvex API.</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::InternationalizationController</name>
    <message>
        <source>English</source>
        <translation>Angielski</translation>
    </message>
    <message>
        <source>Polish</source>
        <translation>Polski</translation>
    </message>
    <message>
        <source>German</source>
        <translation>Niemiecki</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpController</name>
    <message>
        <source>Too Many Attempts.</source>
        <translation>Zbyt wiele prób.</translation>
    </message>
    <message>
        <source>Please fill out this field.</source>
        <translation>Wypełnij to pole.</translation>
    </message>
    <message>
        <source>The code has six digits.</source>
        <translation>Kod ma sześć cyfr.</translation>
    </message>
    <message>
        <source>The code has the correct format!</source>
        <translation>Kod ma poprawny format!</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpMethodDataProvider</name>
    <message>
        <source>Protected by Korvex</source>
        <translation>Chronione przez Korvex</translation>
    </message>
    <message>
        <source>Need help?</source>
        <translation>Potrzebujesz pomocy?</translation>
    </message>
    <message>
        <source>Contact your organization&apos;s IT help or support desk.</source>
        <translation>Skontaktuj się z pomocą techniczną IT w swojej organizacji.</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpTextProvider</name>
    <message>
        <source>No internet connection detected. Open your authenticator app and enter the six-digit code that it shows.</source>
        <translation>Nie wykryto połączenia z internetem. Otwórz aplikację uwierzytelniającą i wpisz wyświetlany w niej sześciocyfrowy kod.</translation>
    </message>
    <message>
        <source>No internet connection detected. You are in Offline Mode, but your account is still secure. Connect to the internet to fetch the latest application name and access more authentication methods. If you cannot connect to the internet, you can still sign in offline by verifying your identity.</source>
        <translation>Nie wykryto połączenia z internetem. Jesteś w trybie offline, ale Twoje konto jest nadal bezpieczne. Połącz się z internetem, aby pobrać aktualną nazwę aplikacji i uzyskać dostęp do innych metod uwierzytelniania. Jeśli nie możesz połączyć się z internetem, nadal możesz zalogować się offline, potwierdzając swoją tożsamość.</translation>
    </message>
    <message>
        <source>Korvex for Windows - Offline Mode</source>
        <translation>Korvex dla Windows - Tryb offline</translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation>Zaloguj się</translation>
    </message>
    <message>
        <source>Enter the code:</source>
        <translation>Wpisz kod:</translation>
    </message>
    <message>
        <source>About Offline Mode</source>
        <translation>O trybie offline</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Zamknij</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Success! The user has entered the correct code.</source>
        <translation>Udało się! Wpisany kod jest poprawny.</translation>
    </message>
    <message>
        <source>Hmm, that&apos;s not the right code. Try again.</source>
        <translation>To nie jest właściwy kod. Spróbuj ponownie.</translation>
    </message>
    <message>
        <source>You can try again in %1 s.</source>
        <translation>Możesz spróbować ponownie za %1 s.</translation>
    </message>
    <message>
        <source>Recovery Code</source>
        <translation>Kod odzyskiwania</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Język</translation>
    </message>
    <message>
        <source>No authenticator app at hand? Your help desk can tell you a recovery code. Enter it like any other code. It works once.</source>
        <translation>Nie masz pod ręką aplikacji uwierzytelniającej? Pomoc techniczna może podać Ci kod odzyskiwania. Wpisz go jak każdy inny kod. Działa tylko raz.</translation>
    </message>
    <message numerus="yes">
        <source>You can sign in offline for %n more day(s). Connect to the internet before that.</source>
        <translation>
            <numerusform>Możesz logować się offline jeszcze przez %n dzień. Wcześniej połącz się z internetem.</numerusform>
            <numerusform>Możesz logować się offline jeszcze przez %n dni. Wcześniej połącz się z internetem.</numerusform>
            <numerusform>Możesz logować się offline jeszcze przez %n dni. Wcześniej połącz się z internetem.</numerusform>
        </translation>
    </message>
</context>
</TS>
