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
    <name>korvex::MainWindow</name>
    <message>
        <source>Incorrect Korvex API credentials.</source>
        <translation>Falsche Zugangsdaten für die Korvex-API.</translation>
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
</TS>
