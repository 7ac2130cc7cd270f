<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en">
<context>
    <name>FTPSettings</name>
    <message>
        <source>Host is empty</source>
        <translation>L’hôte est vide</translation>
    </message>
    <message>
        <source>User is empty</source>
        <translation>L’utilisateur est vide</translation>
    </message>
    <message>
        <source>Password is empty</source>
        <translation>Le mot de passe est vide</translation>
    </message>
    <message>
        <source>Public URL is empty</source>
        <translation>L’URL publique est vide</translation>
    </message>
    <message>
        <source>Shortname passive mode</source>
        <translation>passif</translation>
    </message>
</context>
</TS>
