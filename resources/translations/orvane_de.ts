<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>OrvaneVC</name>
    <message>
        <location filename="../OrvaneVC.ui" line="28"/>
        <source>No output</source>
        <translation>Keine Ausgabe</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="64"/>
        <source>System volume, 0 to 10</source>
        <translation>Systemlautstärke, 0 bis 10</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="86"/>
        <source>Change the voice: normal, monster, chipmunk</source>
        <translation>Stimme ändern: normal, Monster, Streifenhörnchen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="87"/>
        <source>Voice</source>
        <translation>Stimme</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="95"/>
        <source>Play a chime before the announcement</source>
        <translation>Vor der Durchsage einen Gong spielen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="96"/>
        <source>Tone</source>
        <translation>Gong</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="104"/>
        <source>Choose the output</source>
        <translation>Ausgabe wählen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="126"/>
        <source>Talk</source>
        <translation>Sprechen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="136"/>
        <source>Hold Talk, or the space bar, while you speak.</source>
        <translation>Halten Sie „Sprechen“ oder die Leertaste, während Sie sprechen.</translation>
    </message>
</context>
<context>
    <name>app::OrvaneVC</name>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="90"/>
        <source>Hold Down Talk Button</source>
        <extracomment>Alert Title when user is not useing the talk button properly</extracomment>
        <translation>Sprechtaste gedrückt halten</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="92"/>
        <source>In order to broadcast a message, hold down the Talk button until you have finished speaking.</source>
        <extracomment>Alert message when user is not useing the talk button properly</extracomment>
        <translation>Halten Sie die Sprechtaste gedrückt, bis Sie zu Ende gesprochen haben, um eine Durchsage zu senden.</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="95"/>
        <source>OK</source>
        <extracomment>Button title to dismiss Hold Down Talk Button alert.</extracomment>
        <translation>OK</translation>
    </message>
</context>
</TS>
