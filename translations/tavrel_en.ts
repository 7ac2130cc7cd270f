<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="en">
<context>
    <name>FTPSettings</name>
    <message>
        <source>Host is empty</source>
        <translation>Host is empty</translation>
    </message>
    <message>
        <source>User is empty</source>
        <translation>User is empty</translation>
    </message>
    <message>
        <source>Password is empty</source>
        <translation>Password is empty</translation>
    </message>
    <message>
        <source>Public URL is empty</source>
        <translation>Public URL is empty</translation>
    </message>
    <message>
        <source>Shortname passive mode</source>
        <translation>passive</translation>
    </message>
</context>
</TS>
