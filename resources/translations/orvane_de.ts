<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>OrvaneVC</name>
    <message>
        <location filename="../OrvaneVC.ui" line="27"/>
        <location filename="../OrvaneVC.ui" line="106"/>
        <source>Output</source>
        <translation>Ausgabe</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="29"/>
        <source>No output</source>
        <translation>Keine Ausgabe</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="34"/>
        <source>Voice level</source>
        <translation>Stimmpegel</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="56"/>
        <location filename="../OrvaneVC.ui" line="64"/>
        <source>Volume</source>
        <translation>Lautstärke</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="68"/>
        <source>System volume, 0 to 10</source>
        <translation>Systemlautstärke, 0 bis 10</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="79"/>
        <source>Voice effect</source>
        <translation>Stimmeffekt</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="91"/>
        <source>Change the voice: normal, monster, chipmunk</source>
        <translation>Stimme ändern: normal, Monster, Streifenhörnchen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="92"/>
        <source>Voice</source>
        <translation>Stimme</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="100"/>
        <source>Play a chime before the announcement</source>
        <translation>Vor der Durchsage einen Gong spielen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="101"/>
        <source>Tone</source>
        <translation>Gong</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="110"/>
        <source>Choose the output</source>
        <translation>Ausgabe wählen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="119"/>
        <source>Announcement progress</source>
        <translation>Fortschritt der Durchsage</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="130"/>
        <source>Hold while you speak; the announcement plays when you let go</source>
        <translation>Halten, während Sie sprechen; die Durchsage erklingt, wenn Sie loslassen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="134"/>
        <source>Talk</source>
        <translation>Sprechen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui" line="144"/>
        <source>Hold Talk, or the space bar, while you speak.</source>
        <translation>Halten Sie „Sprechen“ oder die Leertaste, während Sie sprechen.</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui"/>
        <source>Microphone</source>
        <translation>Mikrofon</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui"/>
        <source>Choose the microphone</source>
        <translation>Mikrofon wählen</translation>
    </message>
    <message>
        <location filename="../OrvaneVC.ui"/>
        <source>Mic</source>
        <translation>Mikro</translation>
    </message>
</context>
<context>
    <name>app::OrvaneVC</name>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="92"/>
        <source>Hold Down Talk Button</source>
        <extracomment>Alert Title when user is not useing the talk button properly</extracomment>
        <translation>Sprechtaste gedrückt halten</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="94"/>
        <source>In order to broadcast a message, hold down the Talk button until you have finished speaking.</source>
        <extracomment>Alert message when user is not useing the talk button properly</extracomment>
        <translation>Halten Sie die Sprechtaste gedrückt, bis Sie zu Ende gesprochen haben, um eine Durchsage zu senden.</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="97"/>
        <location filename="../../app/OrvaneVC.cpp" line="317"/>
        <source>OK</source>
        <extracomment>Button title to dismiss Hold Down Talk Button alert.</extracomment>
        <translation>OK</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="313"/>
        <source>Orvane Cannot Record</source>
        <extracomment>Alert title when the sound system cannot be set up</extracomment>
        <translation>Orvane kann nicht aufnehmen</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="315"/>
        <source>Orvane cannot record or play announcements: %1</source>
        <extracomment>Alert message when the sound system cannot be set up; %1 says what is missing</extracomment>
        <translation>Orvane kann keine Durchsagen aufnehmen oder abspielen: %1</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="413"/>
        <source>%1 of 10</source>
        <extracomment>What a screen reader says of the volume; %1 is the figure from 0 to 10</extracomment>
        <translation>%1 von 10</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="446"/>
        <source>Normal voice</source>
        <translation>Normale Stimme</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="449"/>
        <source>Monster voice, half an octave down</source>
        <translation>Monsterstimme, eine halbe Oktave tiefer</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="452"/>
        <source>Chipmunk voice, an octave up</source>
        <translation>Streifenhörnchenstimme, eine Oktave höher</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="465"/>
        <source>Start tone on</source>
        <translation>Gong an</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp" line="465"/>
        <source>Start tone off</source>
        <translation>Gong aus</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp"/>
        <source>Microphone</source>
        <translation>Mikrofon</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp"/>
        <source>Microphones</source>
        <translation>Mikrofone</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp"/>
        <source>No microphones found</source>
        <translation>Keine Mikrofone gefunden</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp"/>
        <source>Microphone Unavailable</source>
        <extracomment>Alert title when the chosen microphone is unplugged or removed</extracomment>
        <translation>Mikrofon nicht verfügbar</translation>
    </message>
    <message>
        <location filename="../../app/OrvaneVC.cpp"/>
        <source>&quot;%1&quot; is no longer available. Orvane records from the default microphone until it returns.</source>
        <extracomment>Alert message when the chosen microphone goes away; %1 is its name</extracomment>
        <translation>„%1“ ist nicht mehr verfügbar. Orvane nimmt mit dem Standardmikrofon auf, bis es zurück ist.</translation>
    </message>
</context>
<context>
    <name>views::RoutePicker</name>
    <message>
        <location filename="../../views/RoutePicker.cpp" line="36"/>
        <source>Output</source>
        <translation>Ausgabe</translation>
    </message>
    <message>
        <location filename="../../views/RoutePicker.cpp" line="39"/>
        <source>Outputs</source>
        <translation>Ausgaben</translation>
    </message>
    <message>
        <location filename="../../views/RoutePicker.cpp" line="70"/>
        <source>%1 (%2)</source>
        <translation>%1 (%2)</translation>
    </message>
    <message>
        <location filename="../../views/RoutePicker.cpp" line="77"/>
        <source>No outputs found</source>
        <translation>Keine Ausgaben gefunden</translation>
    </message>
</context>
<context>
    <name>views::VolumeView</name>
    <message>
        <location filename="../../views/VolumeView.cpp" line="50"/>
        <source>Choose the output</source>
        <translation>Ausgabe wählen</translation>
    </message>
    <message>
        <location filename="../../views/VolumeView.cpp" line="51"/>
        <source>Output</source>
        <translation>Ausgabe</translation>
    </message>
    <message>
        <location filename="../../views/VolumeView.cpp" line="52"/>
        <source>Volume</source>
        <translation>Lautstärke</translation>
    </message>
</context>
</TS>
