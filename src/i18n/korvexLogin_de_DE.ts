<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>QObject</name>
    <message>
        <source>Korvex for Windows</source>
        <translation>Korvex für Windows</translation>
    </message>
</context>
<context>
    <name>korvex::Connectivity</name>
    <message>
        <source>Access Denied!
You are not allowed to log in.
Contact your administrator.</source>
        <translation>Zugriff verweigert!
Sie dürfen sich nicht anmelden.
Wenden Sie sich an Ihren Administrator.</translation>
    </message>
</context>
<context>
    <name>korvex::ContactNotice</name>
    <message>
        <source>Contacting the sign-in service...</source>
        <translation>Der Anmeldedienst wird kontaktiert...</translation>
    </message>
</context>
<context>
    <name>korvex::MainWindow</name>
    <message>
        <source>Incorrect Korvex API credentials.</source>
        <translation>Falsche Zugangsdaten für die Korvex-API.</translation>
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
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>korvex::Transaction</name>
    <message>
        <source>Access Denied!
Incorrect Korvex API request.</source>
        <translation>Zugriff verweigert!
Fehlerhafte Anfrage an die Korvex-API.</translation>
    </message>
    <message>
        <source>Incorrect Korvex API credentials.</source>
        <translation>Falsche Zugangsdaten für die Korvex-API.</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::InternationalizationController</name>
    <message>
        <source>English</source>
        <translation>Englisch</translation>
    </message>
    <message>
        <source>Polish</source>
        <translation>Polnisch</translation>
    </message>
    <message>
        <source>German</source>
        <translation>Deutsch</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpController</name>
    <message>
        <source>Too Many Attempts.</source>
        <translation>Zu viele Versuche.</translation>
    </message>
    <message>
        <source>Please fill out this field.</source>
        <translation>Bitte füllen Sie dieses Feld aus.</translation>
    </message>
    <message>
        <source>The code has six digits.</source>
        <translation>Der Code hat sechs Ziffern.</translation>
    </message>
    <message>
        <source>The code has the correct format!</source>
        <translation>Der Code hat das richtige Format.</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpMethodDataProvider</name>
    <message>
        <source>Protected by Korvex</source>
        <translation>Geschützt durch Korvex</translation>
    </message>
    <message>
        <source>Need help?</source>
        <translation>Brauchen Sie Hilfe?</translation>
    </message>
    <message>
        <source>Contact your organization&apos;s IT help or support desk.</source>
        <translation>Wenden Sie sich an den IT-Helpdesk oder Support Ihrer Organisation.</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpTextProvider</name>
    <message>
        <source>No internet connection detected. Open your authenticator app and enter the six-digit code that it shows.</source>
        <translation>Es wurde keine Internetverbindung erkannt. Öffnen Sie Ihre Authenticator-App und geben Sie den sechsstelligen Code ein, den sie anzeigt.</translation>
    </message>
    <message>
        <source>No internet connection detected. You are in Offline Mode, but your account is still secure. Connect to the internet to fetch the latest application name and access more authentication methods. If you cannot connect to the internet, you can still sign in offline by verifying your identity.</source>
        <translation>Es wurde keine Internetverbindung erkannt. Sie befinden sich im Offlinemodus, Ihr Konto ist aber weiterhin geschützt. Stellen Sie eine Internetverbindung her, um den aktuellen Anwendungsnamen abzurufen und weitere Anmeldemethoden zu nutzen. Wenn Sie keine Internetverbindung herstellen können, können Sie sich trotzdem offline anmelden, indem Sie Ihre Identität bestätigen.</translation>
    </message>
    <message>
        <source>Korvex for Windows - Offline Mode</source>
        <translation>Korvex für Windows - Offlinemodus</translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation>Anmelden</translation>
    </message>
    <message>
        <source>Enter the code:</source>
        <translation>Code eingeben:</translation>
    </message>
    <message>
        <source>About Offline Mode</source>
        <translation>Über den Offlinemodus</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Success! The user has entered the correct code.</source>
        <translation>Der eingegebene Code ist richtig.</translation>
    </message>
    <message>
        <source>Hmm, that&apos;s not the right code. Try again.</source>
        <translation>Das ist nicht der richtige Code. Versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>You can try again in %1 s.</source>
        <translation>Neuer Versuch in %1 s möglich.</translation>
    </message>
    <message>
        <source>Recovery Code</source>
        <translation>Wiederherstellungscode</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>No authenticator app at hand? Your help desk can tell you a recovery code. Enter it like any other code. It works once.</source>
        <translation>Keine Authenticator-App zur Hand? Ihr Helpdesk kann Ihnen einen Wiederherstellungscode nennen. Geben Sie ihn wie jeden anderen Code ein. Er gilt nur einmal.</translation>
    </message>
    <message numerus="yes">
        <source>You can sign in offline for %n more day(s). Connect to the internet before that.</source>
        <translation>
            <numerusform>Sie können sich noch %n Tag offline anmelden. Stellen Sie vorher eine Internetverbindung her.</numerusform>
            <numerusform>Sie können sich noch %n Tage offline anmelden. Stellen Sie vorher eine Internetverbindung her.</numerusform>
        </translation>
    </message>
</context>
</TS>
