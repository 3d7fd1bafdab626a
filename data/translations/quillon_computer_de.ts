<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AutomationSection</name>
    <message>
        <source>Keeps the Mac awake by itself while a rule holds, and cools it as the running apps ask. Holds nothing on battery at 12 % or less.</source>
        <translation>Hält den Computer von selbst wach, solange eine Regel zutrifft, und kühlt ihn so, wie es die laufenden Apps verlangen. Auf Akku bei 12 % oder weniger hält sie nichts.</translation>
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
</TS>
