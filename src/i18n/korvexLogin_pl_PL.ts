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
    <name>korvex::MainWindow</name>
    <message>
        <source>Incorrect Korvex API credentials.</source>
        <translation>Nieprawidłowe dane uwierzytelniające Korvex API.</translation>
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
</TS>
