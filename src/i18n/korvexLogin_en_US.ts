<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en_US">
<context>
    <name>QObject</name>
    <message>
        <source>Korvex for Windows</source>
        <translation>Korvex for Windows</translation>
    </message>
</context>
<context>
    <name>korvex::Connectivity</name>
    <message>
        <source>Access Denied!
You are not allowed to log in.
Contact your administrator.</source>
        <translation>Access Denied!
You are not allowed to log in.
Contact your administrator.</translation>
    </message>
</context>
<context>
    <name>korvex::MainWindow</name>
    <message>
        <source>Incorrect Korvex API credentials.</source>
        <translation>Incorrect Korvex API credentials.</translation>
    </message>
</context>
<context>
    <name>korvex::Transaction</name>
    <message>
        <source>Access Denied!
Incorrect Korvex API request.</source>
        <translation>Access Denied!
Incorrect Korvex API request.</translation>
    </message>
    <message>
        <source>Incorrect Korvex API credentials.</source>
        <translation>Incorrect Korvex API credentials.</translation>
    </message>
</context>
</TS>
