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
    <name>korvex::ContactNotice</name>
    <message>
        <source>Contacting the sign-in service...</source>
        <translation>Contacting the sign-in service...</translation>
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
    <name>korvex::PageDialog</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
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
<context>
    <name>korvex::offline_mode::InternationalizationController</name>
    <message>
        <source>English</source>
        <translation>English</translation>
    </message>
    <message>
        <source>Polish</source>
        <translation>Polish</translation>
    </message>
    <message>
        <source>German</source>
        <translation>German</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpController</name>
    <message>
        <source>Too Many Attempts.</source>
        <translation>Too Many Attempts.</translation>
    </message>
    <message>
        <source>Please fill out this field.</source>
        <translation>Please fill out this field.</translation>
    </message>
    <message>
        <source>The code has six digits.</source>
        <translation>The code has six digits.</translation>
    </message>
    <message>
        <source>The code has the correct format!</source>
        <translation>The code has the correct format!</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpMethodDataProvider</name>
    <message>
        <source>Protected by Korvex</source>
        <translation>Protected by Korvex</translation>
    </message>
    <message>
        <source>Need help?</source>
        <translation>Need help?</translation>
    </message>
    <message>
        <source>Contact your organization&apos;s IT help or support desk.</source>
        <translation>Contact your organization&apos;s IT help or support desk.</translation>
    </message>
</context>
<context>
    <name>korvex::offline_mode::TotpTextProvider</name>
    <message>
        <source>No internet connection detected. Open your authenticator app and enter the six-digit code that it shows.</source>
        <translation>No internet connection detected. Open your authenticator app and enter the six-digit code that it shows.</translation>
    </message>
    <message>
        <source>No internet connection detected. You are in Offline Mode, but your account is still secure. Connect to the internet to fetch the latest application name and access more authentication methods. If you cannot connect to the internet, you can still sign in offline by verifying your identity.</source>
        <translation>No internet connection detected. You are in Offline Mode, but your account is still secure. Connect to the internet to fetch the latest application name and access more authentication methods. If you cannot connect to the internet, you can still sign in offline by verifying your identity.</translation>
    </message>
    <message>
        <source>Korvex for Windows - Offline Mode</source>
        <translation>Korvex for Windows - Offline Mode</translation>
    </message>
    <message>
        <source>Sign In</source>
        <translation>Sign In</translation>
    </message>
    <message>
        <source>Enter the code:</source>
        <translation>Enter the code:</translation>
    </message>
    <message>
        <source>About Offline Mode</source>
        <translation>About Offline Mode</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Success! The user has entered the correct code.</source>
        <translation>Success! The user has entered the correct code.</translation>
    </message>
    <message>
        <source>Hmm, that&apos;s not the right code. Try again.</source>
        <translation>Hmm, that&apos;s not the right code. Try again.</translation>
    </message>
    <message>
        <source>You can try again in %1 s.</source>
        <translation>You can try again in %1 s.</translation>
    </message>
    <message>
        <source>Recovery Code</source>
        <translation>Recovery Code</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Language</translation>
    </message>
    <message>
        <source>No authenticator app at hand? Your help desk can tell you a recovery code. Enter it like any other code. It works once.</source>
        <translation>No authenticator app at hand? Your help desk can tell you a recovery code. Enter it like any other code. It works once.</translation>
    </message>
    <message numerus="yes">
        <source>You can sign in offline for %n more day(s). Connect to the internet before that.</source>
        <translation>
            <numerusform>You can sign in offline for %n more day. Connect to the internet before that.</numerusform>
            <numerusform>You can sign in offline for %n more days. Connect to the internet before that.</numerusform>
        </translation>
    </message>
</context>
</TS>
