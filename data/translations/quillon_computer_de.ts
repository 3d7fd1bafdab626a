<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AutomationSection</name>
    <message>
        <source>Keeps the Mac awake by itself while a rule holds, and cools it as the running apps ask.</source>
        <translation>Hält den Computer von selbst wach, solange eine Regel zutrifft, und kühlt ihn so, wie es die laufenden Apps verlangen.</translation>
    </message>
</context>
<context>
    <name>LidSection</name>
    <message>
        <source>Keeps the Mac running with the lid closed and cools it on the balanced profile. Stops by itself when it gets too hot or the battery falls below 15 %.</source>
        <translation>Hält den Computer zugeklappt am Laufen und kühlt ihn mit dem ausgewogenen Profil. Stoppt von selbst, wenn es zu heiß wird oder der Akku unter 15 % fällt.</translation>
    </message>
</context>
<context>
    <name>PanelTexts</name>
    <message>
        <source>Your Mac sleeps as usual.</source>
        <translation>Dein Computer schläft wie gewohnt.</translation>
    </message>
    <message>
        <source>Mac takes over — fans at %1% due to heat</source>
        <translation>Firmware übernimmt — Lüfter wegen Hitze auf %1 %</translation>
    </message>
    <message>
        <source>Off — the Mac runs its fans itself</source>
        <translation>Aus — die Firmware regelt die Lüfter selbst</translation>
    </message>
    <message>
        <source>Quiet — runs a bit cooler than macOS without getting loud.</source>
        <translation>Leise — hält den Computer etwas kühler als die Firmware, ohne laut zu werden.</translation>
    </message>
    <message>
        <source>Keeps the Mac comfortably cool at moderate noise.</source>
        <translation>Hält den Computer angenehm kühl bei moderater Lautstärke.</translation>
    </message>
    <message>
        <source>Maximum cooling — audible baseline, keeps the Mac cold.</source>
        <translation>Maximale Kühlung — hörbarer Grundpegel, hält den Computer kalt.</translation>
    </message>
</context>
<context>
    <name>quillon::app::FanController</name>
    <message>
        <source>⚠️ Mac is throttling</source>
        <translation>⚠️ Computer drosselt</translation>
    </message>
</context>
<context>
    <name>quillon::app::LidManager</name>
    <message>
        <source>Battery below 15% — closed-lid stopped so the Mac can sleep.</source>
        <translation>Akku unter 15 % — Zugeklappt-wach beendet, damit der Computer schlafen kann.</translation>
    </message>
</context>
<context>
    <name>quillon::app::RenderModeManager</name>
    <message>
        <source>Your Mac stayed cool</source>
        <translation>Der Computer blieb kühl</translation>
    </message>
    <message>
        <source>Your Mac ran warm</source>
        <translation>Der Computer wurde warm</translation>
    </message>
</context>
<context>
    <name>quillon::app::SleepManager</name>
    <message>
        <source>The timer ended — your Mac is back to its normal sleep behaviour.</source>
        <translation>Der Timer ist abgelaufen — dein Computer kehrt zum normalen Energieverhalten zurück.</translation>
    </message>
    <message>
        <source>Below 15% on battery — keep-awake was stopped so your Mac can sleep.</source>
        <translation>Unter 15 % auf Akku — Wach bleiben wurde beendet, damit dein Computer schlafen kann.</translation>
    </message>
</context>
<context>
    <name>quillon::app::UninstallFlow</name>
    <message>
        <source>This removes: the fan background helper, the app itself and all settings. Fan control immediately returns to macOS. You'll be asked for your password once.</source>
        <translation>Entfernt wird: der Lüfter-Hintergrunddienst, die App selbst und alle Einstellungen. Die Lüftersteuerung geht sofort wieder an die Firmware zurück. Du wirst einmal nach deinem Passwort gefragt.</translation>
    </message>
</context>
<context>
    <name>OnboardingPages</name>
    <message>
        <source>Your Mac, your rules.
Stay awake — even with the lid closed —
control the fans, watch the temperatures.
All from the menu bar.</source>
        <translation>Dein Computer, deine Regeln.
Wach bleiben — sogar zugeklappt —,
Lüfter steuern, Temperaturen im Blick.
Alles aus dem Infobereich.</translation>
    </message>
    <message>
        <source>The highlight: flip the switch,
close the lid — your Mac keeps running.
No external display needed, even on battery.

The upload, the export, the little server:
it all keeps going while Quillon cools,
stopping by itself on heat or low battery.</source>
        <translation>Das Highlight: Schalter umlegen,
Deckel zu — dein Computer läuft weiter.
Ohne externen Monitor, auch auf Akku.

Der Upload, der Export, der kleine Server:
alles läuft durch, während Quillon kühlt
und bei Hitze oder wenig Akku von selbst
stoppt.</translation>
    </message>
    <message>
        <source>Flip the switch, pick a profile — Silent,
Balanced or Max — and the fans follow
the temperature live. Or take over
manually, from 0 to 100%.

Always safe: you can only cool better
than macOS, never worse. On real heat,
your Mac takes back over.</source>
        <translation>Schalter an, Profil wählen — Leise,
Ausgewogen oder Max — und die Lüfter
folgen live der Temperatur. Oder du
regelst manuell, von 0 bis 100 %.

Immer sicher: Du kannst nur besser
kühlen als die Firmware, nie schlechter.
Bei echter Hitze übernimmt wieder
die Firmware.</translation>
    </message>
    <message>
        <source>Automation: "While Final Cut runs,
stay awake and cool at Max." Quillon
reacts on its own — also on AC power
or with an external display.

And 💾 Keep drives awake holds external
disks mounted — perfect for a night
with the lid closed.</source>
        <translation>Automatik: „Solange DaVinci Resolve läuft,
bleib wach und kühl auf Max.“ Quillon
reagiert von selbst — auch am Netzteil
oder bei externem Bildschirm.

Und 💾 Laufwerke wach hält externe
Platten gemountet — perfekt für die
Nacht mit geschlossenem Deckel.</translation>
    </message>
    <message>
        <source>Up in your
menu bar</source>
        <translation>In deiner
Leiste</translation>
    </message>
    <message>
        <source>Quillon has no window — it lives in
the top-right menu bar, at the gauge
icon.

It&apos;ll open once by itself in a moment so
you know where to find it. One click on
the icon and your control panel is there.</source>
        <translation>Quillon hat kein Fenster — es wohnt
im Infobereich deiner Leiste, beim
Tacho-Symbol.

Gleich öffnet es sich einmal von selbst,
damit du weißt, wo du es findest. Ein
Klick aufs Symbol — und dein Schaltpult
ist da.</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>Show temperature in the menu bar</source>
        <translation>Temperatur im Infobereich anzeigen</translation>
    </message>
</context>
</TS>
