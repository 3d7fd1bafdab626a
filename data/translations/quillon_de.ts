<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>RenderPowerStatus</name>
    <message>
        <source> · ~%d min left</source>
        <translation> · noch ~%d min</translation>
    </message>
    <message>
        <source> · ~%d:%02d h left</source>
        <translation> · noch ~%d:%02d h</translation>
    </message>
    <message>
        <source>Battery charging · %.0f W</source>
        <translation>Akku lädt · %.0f W</translation>
    </message>
    <message>
        <source>Battery low · %d%%</source>
        <translation>Akku niedrig · %d %%</translation>
    </message>
    <message>
        <source>On battery · %d%%</source>
        <translation>Auf Akku · %d %%</translation>
    </message>
    <message>
        <source>Adapter too weak · battery draining</source>
        <translation>Netzteil zu schwach · Akku entlädt</translation>
    </message>
    <message>
        <source>On power · battery full</source>
        <translation>Am Netz · Akku voll</translation>
    </message>
</context>
<context>
    <name>quillon::app::FanController</name>
    <message>
        <source>⚠️ Mac is throttling</source>
        <translation>⚠️ Mac drosselt</translation>
    </message>
    <message>
        <source>Thermal pressure is high — heat protection is keeping the fans up.</source>
        <translation>Die thermische Last ist hoch — der Hitzeschutz hält die Lüfter oben.</translation>
    </message>
    <message>
        <source>🔥 CPU running very hot</source>
        <translation>🔥 CPU sehr heiß</translation>
    </message>
    <message>
        <source>The CPU is at %1 °C.</source>
        <translation>Die CPU liegt bei %1 °C.</translation>
    </message>
    <message>
        <source>this build has no helper installer</source>
        <translation>dieser Build enthält keinen Helper-Installer</translation>
    </message>
    <message>
        <source>Couldn&apos;t set fans.</source>
        <translation>Lüfter konnte nicht gesetzt werden.</translation>
    </message>
    <message>
        <source>Fan boost finished</source>
        <translation>Lüfter-Boost beendet</translation>
    </message>
    <message>
        <source>The boost timer ended — automation keeps cooling.</source>
        <translation>Der Boost-Timer ist abgelaufen — die Automatik kühlt weiter.</translation>
    </message>
    <message>
        <source>The boost timer ended — fans are back on automatic.</source>
        <translation>Der Boost-Timer ist abgelaufen — die Lüfter laufen wieder automatisch.</translation>
    </message>
</context>
<context>
    <name>quillon::app::Notifier</name>
    <message>
        <source>Turn off</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>Keep on</source>
        <translation>Anlassen</translation>
    </message>
    <message>
        <source>☀️ Closed-lid keep-awake is still on</source>
        <translation>☀️ Zugeklappt-Wachhalten läuft noch</translation>
    </message>
    <message>
        <source>Welcome back. Keep it awake with the lid closed, or turn it off?</source>
        <translation>Willkommen zurück. Weiter zugeklappt wach lassen, oder ausschalten?</translation>
    </message>
</context>
<context>
    <name>quillon::app::SleepAssertions</name>
    <message>
        <source>Keep system awake</source>
        <translation>System wach halten</translation>
    </message>
    <message>
        <source>Keep display awake</source>
        <translation>Display wach halten</translation>
    </message>
    <message>
        <source>Keep network active</source>
        <translation>Netzwerk aktiv halten</translation>
    </message>
</context>
<context>
    <name>quillon::app::SleepManager</name>
    <message>
        <source>Keep-awake finished</source>
        <translation>Wach-Session beendet</translation>
    </message>
    <message>
        <source>The timer ended — your Mac is back to its normal sleep behaviour.</source>
        <translation>Der Timer ist abgelaufen — dein Mac kehrt zum normalen Energieverhalten zurück.</translation>
    </message>
    <message>
        <source>Today</source>
        <translation>Heute</translation>
    </message>
    <message>
        <source>Tomorrow</source>
        <translation>Morgen</translation>
    </message>
    <message>
        <source>🪫 Battery low</source>
        <translation>🪫 Akku niedrig</translation>
    </message>
    <message>
        <source>Below 15% on battery — keep-awake was stopped so your Mac can sleep.</source>
        <translation>Unter 15 % auf Akku — Wach bleiben wurde beendet, damit dein Mac schlafen kann.</translation>
    </message>
</context>
<context>
    <name>quillon::app::LidManager</name>
    <message>
        <source>Battery below 15% — closed-lid stopped so the Mac can sleep.</source>
        <translation>Akku unter 15 % — Zugeklappt-wach beendet, damit der Mac schlafen kann.</translation>
    </message>
    <message>
        <source>Got too hot — closed-lid auto-stopped for safety.</source>
        <translation>Zu heiß geworden — Zugeklappt-wach automatisch beendet (Sicherheit).</translation>
    </message>
    <message>
        <source>🌡️ Closed-lid stopped</source>
        <translation>🌡️ Zugeklappt-wach beendet</translation>
    </message>
</context>
</TS>
