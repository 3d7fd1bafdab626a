<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>AutomationSection</name>
    <message>
        <source>Automation</source>
        <translation>Automatik</translation>
    </message>
    <message>
        <source>Keeps the Mac awake by itself while a rule holds, and cools it as the running apps ask.</source>
        <translation>Hält den Mac von selbst wach, solange eine Regel zutrifft, und kühlt ihn so, wie es die laufenden Apps verlangen.</translation>
    </message>
    <message>
        <source>Holds nothing on battery at 12 % or less.</source>
        <translation>Auf Akku bei 12 % oder weniger hält sie nichts.</translation>
    </message>
    <message>
        <source>While on AC power</source>
        <translation>Solange am Netzteil</translation>
    </message>
    <message>
        <source>While an external display is connected</source>
        <translation>Solange ein externer Bildschirm angeschlossen ist</translation>
    </message>
    <message>
        <source>While these apps run</source>
        <translation>Solange diese Apps laufen</translation>
    </message>
    <message>
        <source>No app chosen yet.</source>
        <translation>Noch keine App gewählt.</translation>
    </message>
    <message>
        <source>Add an app…</source>
        <translation>App hinzufügen…</translation>
    </message>
    <message>
        <source>Search installed apps</source>
        <translation>Installierte Apps suchen</translation>
    </message>
    <message>
        <source>No installed app matches.</source>
        <translation>Keine installierte App passt.</translation>
    </message>
    <message>
        <source>While another app is full screen</source>
        <translation>Solange eine andere App im Vollbild ist</translation>
    </message>
    <message>
        <source>Unavailable: %1</source>
        <translation>Nicht verfügbar: %1</translation>
    </message>
    <message>
        <source>Not counting:</source>
        <translation>Zählt nicht:</translation>
    </message>
    <message>
        <source>While media is playing</source>
        <translation>Solange Medien abgespielt werden</translation>
    </message>
</context>
<context>
    <name>CustomEndPicker</name>
    <message>
        <source>Start</source>
        <translation>Starten</translation>
    </message>
</context>
<context>
    <name>DrivesSection</name>
    <message>
        <source>Keep drives awake</source>
        <translation>Laufwerke wach halten</translation>
    </message>
    <message>
        <source>Not reachable: left out until it answers again</source>
        <translation>Nicht erreichbar: ausgelassen, bis es wieder antwortet</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>No drive chosen</source>
        <translation>Kein Laufwerk gewählt</translation>
    </message>
    <message>
        <source>Drives: %1 · every %2</source>
        <translation>Laufwerke: %1 · alle %2</translation>
    </message>
    <message>
        <source>Reads each chosen drive&apos;s top folder at the interval, so it does not spin down. Nothing is written.</source>
        <translation>Liest im gewählten Abstand den obersten Ordner jedes gewählten Laufwerks, damit es nicht einschläft. Geschrieben wird nichts.</translation>
    </message>
    <message>
        <source>Add a drive</source>
        <translation>Laufwerk hinzufügen</translation>
    </message>
    <message>
        <source>No other external drive is mounted.</source>
        <translation>Kein weiteres externes Laufwerk ist eingehängt.</translation>
    </message>
</context>
<context>
    <name>FanSection</name>
    <message>
        <source>Fans</source>
        <translation>Lüfter</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automatisch</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Manuell</translation>
    </message>
    <message>
        <source>Boost for</source>
        <translation>Boost für</translation>
    </message>
</context>
<context>
    <name>Footer</name>
    <message>
        <source>Quit Quillon</source>
        <translation>Quillon beenden</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Einstellungen…</translation>
    </message>
</context>
<context>
    <name>KeepAwakeSection</name>
    <message>
        <source>Keep awake</source>
        <translation>Wach halten</translation>
    </message>
    <message>
        <source>Stay awake for</source>
        <translation>Wach bleiben für</translation>
    </message>
    <message>
        <source>Custom end time…</source>
        <translation>Eigene Endzeit…</translation>
    </message>
    <message>
        <source>Turn off</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>Pause for</source>
        <translation>Pause für</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Fortsetzen</translation>
    </message>
    <message>
        <source>A pause lets go of this session, automation and the processes kept awake for. Render Mode, the closed lid and fan control go on.</source>
        <translation>Eine Pause gibt diese Sitzung, die Automatik und das Wachhalten für Prozesse frei. Render Mode, Zugeklappt und die Lüftersteuerung laufen weiter.</translation>
    </message>
</context>
<context>
    <name>LidSection</name>
    <message>
        <source>Closed lid</source>
        <translation>Zugeklappt</translation>
    </message>
    <message>
        <source>On — stays awake with the lid closed</source>
        <translation>An — bleibt zugeklappt wach</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>Keeps the Mac running with the lid closed and cools it on the balanced profile. Stops by itself when it gets too hot or the battery falls below 15 %.</source>
        <translation>Hält den Mac zugeklappt am Laufen und kühlt ihn mit dem ausgewogenen Profil. Stoppt von selbst, wenn es zu heiß wird oder der Akku unter 15 % fällt.</translation>
    </message>
</context>
<context>
    <name>LoginPrompt</name>
    <message>
        <source>Start Quillon automatically at login?</source>
        <translation>Quillon beim Anmelden automatisch starten?</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>Not now</source>
        <translation>Jetzt nicht</translation>
    </message>
</context>
<context>
    <name>Onboarding</name>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>Let&apos;s go!</source>
        <translation>Los geht&apos;s!</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Weiter</translation>
    </message>
</context>
<context>
    <name>OnboardingPages</name>
    <message>
        <source>Welcome to
Quillon</source>
        <translation>Willkommen bei
Quillon</translation>
    </message>
    <message>
        <source>Your Mac, your rules.
Stay awake — even with the lid closed —
control the fans, watch the temperatures.
All from the menu bar.</source>
        <translation>Dein Mac, deine Regeln.
Wach bleiben — sogar zugeklappt —,
Lüfter steuern, Temperaturen im Blick.
Alles aus der Menüleiste.</translation>
    </message>
    <message>
        <source>Keep working,
lid closed</source>
        <translation>Zugeklappt
weiterarbeiten</translation>
    </message>
    <message>
        <source>The highlight: flip the switch,
close the lid — your Mac keeps running.
No external display needed, even on battery.

The upload, the export, the little server:
it all keeps going while Quillon cools,
stopping by itself on heat or low battery.</source>
        <translation>Das Highlight: Schalter umlegen,
Deckel zu — dein Mac läuft weiter.
Ohne externen Monitor, auch auf Akku.

Der Upload, der Export, der kleine Server:
alles läuft durch, während Quillon kühlt
und bei Hitze oder wenig Akku von selbst
stoppt.</translation>
    </message>
    <message>
        <source>Stay awake
when you need it</source>
        <translation>Wach bleiben,
wenn du&apos;s brauchst</translation>
    </message>
    <message>
        <source>A long download or render?

Keep the system, display or network
awake — with a timer from 1 to 24 hours
or your own end time. Afterwards
everything returns to normal
automatically.</source>
        <translation>Langer Download oder Render?

Halte System, Display oder Netzwerk
wach — mit Timer von 1 bis 24 Stunden
oder eigener Endzeit. Danach schaltet
alles automatisch zurück auf normal.</translation>
    </message>
    <message>
        <source>Smart Cooling</source>
        <translation>Smart Cooling</translation>
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
kühlen als macOS, nie schlechter. Bei
echter Hitze übernimmt wieder dein Mac.</translation>
    </message>
    <message>
        <source>Thinks along
with you</source>
        <translation>Denkt für
dich mit</translation>
    </message>
    <message>
        <source>Automation: &quot;While Final Cut runs,
stay awake and cool at Max.&quot; Quillon
reacts on its own — also on AC power
or with an external display.

And 💾 Keep drives awake holds external
disks mounted — perfect for a night
with the lid closed.</source>
        <translation>Automatik: „Solange Final Cut läuft,
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
        <translation>Oben in deiner
Menüleiste</translation>
    </message>
    <message>
        <source>Quillon has no window — it lives in
the top-right menu bar, at the gauge
icon.

It&apos;ll open once by itself in a moment so
you know where to find it. One click on
the icon and your control panel is there.</source>
        <translation>Quillon hat kein Fenster — es wohnt
oben rechts in der Menüleiste, beim
Tacho-Symbol.

Gleich öffnet es sich einmal von selbst,
damit du weißt, wo du es findest. Ein
Klick aufs Symbol — und dein Schaltpult
ist da.</translation>
    </message>
</context>
<context>
    <name>PanelTexts</name>
    <message>
        <source>Awake · %1 left</source>
        <translation>Wach · noch %1</translation>
    </message>
    <message>
        <source>Awake until you turn it off</source>
        <translation>Wach, bis du es ausschaltest</translation>
    </message>
    <message>
        <source>Stays awake with the lid closed</source>
        <translation>Bleibt zugeklappt wach</translation>
    </message>
    <message>
        <source>Fan control · %1</source>
        <translation>Lüftersteuerung · %1</translation>
    </message>
    <message>
        <source>Your Mac sleeps as usual.</source>
        <translation>Dein Mac schläft wie gewohnt.</translation>
    </message>
    <message>
        <source>The fan helper is not installed, so fan control is off.</source>
        <translation>Der Lüfter-Helper ist nicht installiert, daher ist die Lüftersteuerung aus.</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>On until you turn it off</source>
        <translation>An, bis du es ausschaltest</translation>
    </message>
    <message>
        <source>%1 left · ends %2</source>
        <translation>noch %1 · endet %2</translation>
    </message>
    <message>
        <source>That time has already passed.</source>
        <translation>Diese Zeit ist schon vorbei.</translation>
    </message>
    <message>
        <source>Ends %1</source>
        <translation>Endet %1</translation>
    </message>
    <message>
        <source>Mac takes over — fans at %1% due to heat</source>
        <translation>Mac übernimmt — Lüfter wegen Hitze auf %1 %</translation>
    </message>
    <message>
        <source>Fans spinning up …</source>
        <translation>Lüfter drehen hoch …</translation>
    </message>
    <message>
        <source>Fans starting any moment …</source>
        <translation>Lüfter starten jeden Moment …</translation>
    </message>
    <message>
        <source>Active · floor %1 %</source>
        <translation>Aktiv · Untergrenze %1 %</translation>
    </message>
    <message>
        <source>Watching — quiet until it warms up</source>
        <translation>Beobachtet — leise, bis es warm wird</translation>
    </message>
    <message>
        <source>Manual · floor %1 %</source>
        <translation>Manuell · Untergrenze %1 %</translation>
    </message>
    <message>
        <source>Manual · waiting for the helper</source>
        <translation>Manuell · wartet auf den Helper</translation>
    </message>
    <message>
        <source>Off — the Mac runs its fans itself</source>
        <translation>Aus — der Mac regelt seine Lüfter selbst</translation>
    </message>
    <message>
        <source>No temperature reading yet</source>
        <translation>Noch keine Temperatur gemessen</translation>
    </message>
    <message>
        <source>Fan %1 · %2 rpm</source>
        <translation>Lüfter %1 · %2 U/min</translation>
    </message>
    <message>
        <source>In force: %1, asked for by closed lid or automation</source>
        <translation>Aktiv: %1, angefordert von Zugeklappt oder Automatik</translation>
    </message>
    <message>
        <source>Boost ends in %1</source>
        <translation>Boost endet in %1</translation>
    </message>
    <message>
        <source>Silent</source>
        <translation>Leise</translation>
    </message>
    <message>
        <source>Balanced</source>
        <translation>Ausgewogen</translation>
    </message>
    <message>
        <source>Max</source>
        <translation>Max</translation>
    </message>
    <message>
        <source>Quiet — runs a bit cooler than macOS without getting loud.</source>
        <translation>Leise — hält den Mac etwas kühler als macOS, ohne laut zu werden.</translation>
    </message>
    <message>
        <source>Keeps the Mac comfortably cool at moderate noise.</source>
        <translation>Hält den Mac angenehm kühl bei moderater Lautstärke.</translation>
    </message>
    <message>
        <source>Maximum cooling — audible baseline, keeps the Mac cold.</source>
        <translation>Maximale Kühlung — hörbarer Grundpegel, hält den Mac kalt.</translation>
    </message>
    <message>
        <source>Battery %1%</source>
        <translation>Akku %1 %</translation>
    </message>
    <message>
        <source>Battery</source>
        <translation>Akku</translation>
    </message>
    <message>
        <source>charging with %1 W</source>
        <translation>lädt mit %1 W</translation>
    </message>
    <message>
        <source>adapter too weak, draining %1 W</source>
        <translation>Netzteil zu schwach, entlädt %1 W</translation>
    </message>
    <message>
        <source>on battery, using %1 W</source>
        <translation>auf Akku, verbraucht %1 W</translation>
    </message>
    <message>
        <source>on power</source>
        <translation>am Netz</translation>
    </message>
    <message>
        <source>Not handed back yet — fans held at full speed, retrying</source>
        <translation>Noch nicht zurückgegeben — Lüfter auf voller Drehzahl, neuer Versuch läuft</translation>
    </message>
    <message>
        <source>Fan control unavailable on this computer: %1</source>
        <translation>Lüftersteuerung auf diesem Computer nicht verfügbar: %1</translation>
    </message>
    <message>
        <source>Paused for safety: %1</source>
        <translation>Zur Sicherheit pausiert: %1</translation>
    </message>
    <message>
        <source>critical temperature</source>
        <translation>kritische Temperatur</translation>
    </message>
    <message>
        <source>no temperature readings</source>
        <translation>keine Temperaturwerte</translation>
    </message>
    <message>
        <source>no temperature sensors</source>
        <translation>keine Temperatursensoren</translation>
    </message>
    <message>
        <source>Keep-awake is not in force: %1</source>
        <translation>Wachhalten ist nicht aktiv: %1</translation>
    </message>
    <message>
        <source>system</source>
        <translation>System</translation>
    </message>
    <message>
        <source>display</source>
        <translation>Display</translation>
    </message>
    <message>
        <source>network</source>
        <translation>Netzwerk</translation>
    </message>
    <message>
        <source>Keep-awake asked for, not confirmed: %1</source>
        <translation>Wachhalten angefragt, nicht bestätigt: %1</translation>
    </message>
    <message>
        <source>Keep-awake asked for, not confirmed: %1 · %2 left</source>
        <translation>Wachhalten angefragt, nicht bestätigt: %1 · noch %2</translation>
    </message>
    <message>
        <source>Auto keep-awake asked for, not confirmed (%1)</source>
        <translation>Automatisch wach angefragt, nicht bestätigt (%1)</translation>
    </message>
    <message>
        <source>Render Mode&apos;s keep-awake is asked for, not confirmed</source>
        <translation>Wachhalten des Render Mode angefragt, nicht bestätigt</translation>
    </message>
    <message>
        <source>Not confirmed · %1 left</source>
        <translation>Nicht bestätigt · noch %1</translation>
    </message>
    <message>
        <source>Not confirmed</source>
        <translation>Nicht bestätigt</translation>
    </message>
    <message>
        <source>On — %1 (asked for, not confirmed)</source>
        <translation>An — %1 (angefragt, nicht bestätigt)</translation>
    </message>
    <message>
        <source>Not in force</source>
        <translation>Nicht aktiv</translation>
    </message>
    <message>
        <source>🤖 Auto keep-awake (%1)</source>
        <translation>🤖 Automatisch wach (%1)</translation>
    </message>
    <message>
        <source>Auto keep-awake is not in force: %1</source>
        <translation>Automatisch wach ist nicht aktiv: %1</translation>
    </message>
    <message>
        <source>🎬 Render Mode keeps the system and network awake</source>
        <translation>🎬 Render Mode hält System und Netzwerk wach</translation>
    </message>
    <message>
        <source>Render Mode&apos;s keep-awake is not in force: %1</source>
        <translation>Das Wachhalten von Render Mode ist nicht aktiv: %1</translation>
    </message>
    <message>
        <source>Awake while %1 runs</source>
        <translation>Wach, solange %1 läuft</translation>
    </message>
    <message>
        <source>On — %1</source>
        <translation>An — %1</translation>
    </message>
    <message>
        <source>On — waiting for a rule</source>
        <translation>An — wartet auf eine Regel</translation>
    </message>
    <message>
        <source>No cooling</source>
        <translation>Keine Kühlung</translation>
    </message>
    <message>
        <source>Quillon is installing a small helper for fan control. After this, everything runs without further password prompts.</source>
        <translation>Quillon installiert ein Hilfswerkzeug zur Lüftersteuerung. Danach läuft alles ohne weitere Passwort-Abfragen.</translation>
    </message>
    <message>
        <source>This version of Quillon comes with a newer fan helper.</source>
        <translation>Diese Version von Quillon bringt ein neueres Lüfter-Hilfswerkzeug mit.</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>⏸ %1 · Render Mode, closed lid and fan control go on</source>
        <translation>⏸ %1 · Render Mode, Zugeklappt und Lüftersteuerung laufen weiter</translation>
    </message>
    <message>
        <source>Session paused · %1 left</source>
        <translation>Sitzung pausiert · noch %1</translation>
    </message>
    <message>
        <source>Session paused</source>
        <translation>Sitzung pausiert</translation>
    </message>
    <message>
        <source>Auto keep-awake paused (%1)</source>
        <translation>Automatisch wach pausiert (%1)</translation>
    </message>
    <message>
        <source>Paused: awake while %1 runs</source>
        <translation>Pausiert: wach, solange %1 läuft</translation>
    </message>
    <message>
        <source>Paused until %1</source>
        <translation>Pausiert bis %1</translation>
    </message>
    <message>
        <source>Paused until you resume</source>
        <translation>Pausiert, bis du fortsetzt</translation>
    </message>
    <message>
        <source>On — paused</source>
        <translation>An — pausiert</translation>
    </message>
</context>
<context>
    <name>RenderOverlayContent</name>
    <message>
        <source>Render Mode</source>
        <translation>Render Mode</translation>
    </message>
</context>
<context>
    <name>RenderOverlayExit</name>
    <message>
        <source>Exit Render Mode</source>
        <translation>Render Mode beenden</translation>
    </message>
</context>
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
    <name>RenderSection</name>
    <message>
        <source>Render Mode</source>
        <translation>Render Mode</translation>
    </message>
    <message>
        <source>For long renders: keeps the system and network awake, external drives spinning and, with the fan helper, the closed lid awake and the fans on balanced. Follows DaVinci Resolve&apos;s render queue and dims every screen with live figures.</source>
        <translation>Für lange Renders: hält System und Netzwerk wach, externe Laufwerke in Bewegung und, mit dem Lüfter-Helper, den zugeklappten Rechner wach und die Lüfter auf Ausgewogen. Folgt der Render-Warteschlange von DaVinci Resolve und dunkelt jeden Bildschirm mit Live-Werten ab.</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>Launch automatically at login</source>
        <translation>Beim Anmelden automatisch starten</translation>
    </message>
    <message>
        <source>Show temperature in the menu bar</source>
        <translation>Temperatur in der Menüleiste anzeigen</translation>
    </message>
    <message>
        <source>Global keyboard shortcuts</source>
        <translation>Globale Tastenkürzel</translation>
    </message>
    <message>
        <source>Alerts on heat &amp; throttling</source>
        <translation>Warnungen bei Hitze &amp; Drosselung</translation>
    </message>
    <message>
        <source>Auto-stop on low battery</source>
        <translation>Bei niedrigem Akku automatisch stoppen</translation>
    </message>
    <message>
        <source>Ends keep-awake below 15% off charger.</source>
        <translation>Beendet Wachhalten unter 15 % ohne Netzteil.</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>System</source>
        <translation>System</translation>
    </message>
    <message>
        <source>Check for updates</source>
        <translation>Nach Updates suchen</translation>
    </message>
    <message>
        <source>Download update v%1</source>
        <translation>Update auf v%1 laden</translation>
    </message>
    <message>
        <source>You&apos;re on the latest version.</source>
        <translation>Du hast die neueste Version.</translation>
    </message>
    <message>
        <source>Show intro again</source>
        <translation>Einführung erneut zeigen</translation>
    </message>
    <message>
        <source>Send feedback / report a bug</source>
        <translation>Feedback / Bug melden</translation>
    </message>
    <message>
        <source>Uninstall Quillon…</source>
        <translation>Quillon entfernen…</translation>
    </message>
    <message>
        <source>Completely removes the background helper, the app and its settings.</source>
        <translation>Entfernt Hintergrunddienst, App und Einstellungen vollständig.</translation>
    </message>
    <message>
        <source>Language changed</source>
        <translation>Sprache geändert</translation>
    </message>
    <message>
        <source>Restart Quillon so the language applies everywhere.</source>
        <translation>Starte Quillon neu, damit die Sprache überall übernommen wird.</translation>
    </message>
    <message>
        <source>Restart now</source>
        <translation>Jetzt neu starten</translation>
    </message>
    <message>
        <source>Later</source>
        <translation>Später</translation>
    </message>
</context>
<context>
    <name>SimulatedLoadSection</name>
    <message>
        <source>Simulated load</source>
        <translation>Simulierte Last</translation>
    </message>
    <message>
        <source>Demo: heats the simulated Mac, so the fans have something to do.</source>
        <translation>Demo: heizt den simulierten Mac auf, damit die Lüfter etwas zu tun haben.</translation>
    </message>
</context>
<context>
    <name>StatusSection</name>
    <message>
        <source>All off</source>
        <translation>Alles aus</translation>
    </message>
    <message>
        <source>Update to v%1 available — download</source>
        <translation>Update auf v%1 verfügbar — laden</translation>
    </message>
</context>
<context>
    <name>ThrottleBadge</name>
    <message>
        <source>Elevated</source>
        <translation>Last erhöht</translation>
    </message>
    <message>
        <source>Throttling</source>
        <translation>Drosselung</translation>
    </message>
    <message>
        <source>Critical</source>
        <translation>Kritisch</translation>
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
    <message>
        <source>Fans not handed back yet</source>
        <translation>Lüfter noch nicht zurückgegeben</translation>
    </message>
    <message>
        <source>The firmware has not taken the fans back. Quillon holds them at full speed and keeps trying.</source>
        <translation>Die Firmware hat die Lüfter nicht zurückgenommen. Quillon hält sie auf voller Drehzahl und versucht es weiter.</translation>
    </message>
    <message>
        <source>the fan helper cannot be reached</source>
        <translation>der Lüfter-Helper ist nicht erreichbar</translation>
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
    <message>
        <source>%1 did not hand the lid back. %2</source>
        <translation>%1 hat den Deckel nicht abgegeben. %2</translation>
    </message>
    <message>
        <source>%1 could not hand the lid back (%2). %3</source>
        <translation>%1 konnte den Deckel nicht abgeben (%2). %3</translation>
    </message>
    <message>
        <source>%1, handing the lid to logind</source>
        <translation>%1 gibt den Deckel an logind ab</translation>
    </message>
    <message>
        <source>logind (fan helper)</source>
        <translation>logind (Lüfter-Helper)</translation>
    </message>
    <message>
        <source>The fan helper could not take the lid lock: %1</source>
        <translation>Der Lüfter-Helper konnte die Deckelsperre nicht setzen: %1</translation>
    </message>
    <message>
        <source>The lid lock was refused: %1</source>
        <translation>Die Deckelsperre wurde abgelehnt: %1</translation>
    </message>
    <message>
        <source>Nothing keeps the system awake with the lid closed: %1</source>
        <translation>Nichts hält das System bei geschlossenem Deckel wach: %1</translation>
    </message>
    <message>
        <source>KDE&apos;s power management acts on the lid itself. In System Settings → Power Management, set &quot;When laptop lid closed&quot; to &quot;Do nothing&quot; on AC power, on battery and on low battery.</source>
        <translation>Die Energieverwaltung von KDE reagiert selbst auf den Deckel. Stelle in den Systemeinstellungen unter Energieverwaltung „Wenn der Laptopdeckel geschlossen wird“ auf „Nichts tun“ – im Netzbetrieb, im Akkubetrieb und bei niedrigem Akkustand.</translation>
    </message>
    <message>
        <source>Xfce&apos;s power manager acts on the lid itself. In its settings (General), set &quot;When laptop lid is closed&quot; to &quot;Switch off display&quot; (or &quot;Nothing&quot;) on battery and plugged in.</source>
        <translation>Die Energieverwaltung von Xfce reagiert selbst auf den Deckel. Stelle in ihren Einstellungen (Allgemein) „Wenn der Laptopdeckel geschlossen wird“ auf „Bildschirm ausschalten“ (oder „Nichts“) – im Akku- und im Netzbetrieb.</translation>
    </message>
    <message>
        <source>MATE&apos;s power manager acts on the lid itself. In Power Management Preferences, set &quot;When laptop lid is closed&quot; to &quot;Do nothing&quot; on AC power and on battery.</source>
        <translation>Die Energieverwaltung von MATE reagiert selbst auf den Deckel. Stelle in den Einstellungen der Energieverwaltung „Wenn der Laptopdeckel geschlossen wird“ auf „Nichts tun“ – im Netz- und im Akkubetrieb.</translation>
    </message>
    <message>
        <source>LXQt&apos;s power management acts on the lid itself. In its settings, set the lid actions to &quot;Nothing&quot;.</source>
        <translation>Die Energieverwaltung von LXQt reagiert selbst auf den Deckel. Stelle in ihren Einstellungen die Deckel-Aktionen auf „Nichts“.</translation>
    </message>
    <message>
        <source>%1 acts on the lid itself: set its lid action to do nothing.</source>
        <translation>%1 reagiert selbst auf den Deckel: Stelle dort die Deckel-Aktion auf „Nichts tun“.</translation>
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
    <name>quillon::app::ProcessKeepAwake</name>
    <message>
        <source>processes cannot be watched here</source>
        <translation>Prozesse können hier nicht beobachtet werden</translation>
    </message>
    <message>
        <source>process %1 runs until the computer or Quillon stops, so keep-awake would never end; use quillon ctl awake without --while to keep awake until turned off</source>
        <translation>Prozess %1 läuft, bis der Computer oder Quillon endet, das Wachhalten würde also nie enden; quillon ctl awake ohne --while hält wach, bis es ausgeschaltet wird</translation>
    </message>
    <message>
        <source>already keeping awake while %1 processes run, the most there can be</source>
        <translation>schon wach, solange %1 Prozesse laufen, mehr geht nicht</translation>
    </message>
</context>
<context>
    <name>quillon::app::ProfileCooling</name>
    <message>
        <source>Power saver</source>
        <translation>Energiesparen</translation>
    </message>
    <message>
        <source>Balanced</source>
        <translation>Ausgewogen</translation>
    </message>
    <message>
        <source>Performance</source>
        <translation>Leistung</translation>
    </message>
    <message>
        <source>Cooling through the power profile: %1</source>
        <translation>Kühlung über das Energieprofil: %1</translation>
    </message>
    <message>
        <source>The power profile could not be held: %1</source>
        <translation>Das Energieprofil ließ sich nicht halten: %1</translation>
    </message>
</context>
<context>
    <name>quillon::app::RenderModeManager</name>
    <message>
        <source>%1 rpm</source>
        <translation>%1 rpm</translation>
    </message>
    <message>
        <source>Peak CPU %1 / GPU %2</source>
        <translation>Peak CPU %1 / GPU %2</translation>
    </message>
    <message>
        <source>🎬 Render cancelled</source>
        <translation>🎬 Render abgebrochen</translation>
    </message>
    <message>
        <source>Your DaVinci render was cancelled. Render Mode stays on until you exit it.</source>
        <translation>Dein DaVinci-Render wurde abgebrochen. Render Mode läuft weiter, bis du ihn beendest.</translation>
    </message>
    <message>
        <source>🎬 Render failed</source>
        <translation>🎬 Render fehlgeschlagen</translation>
    </message>
    <message>
        <source>Your DaVinci render failed. Render Mode stays on until you exit it.</source>
        <translation>Dein DaVinci-Render ist fehlgeschlagen. Render Mode läuft weiter, bis du ihn beendest.</translation>
    </message>
    <message>
        <source>🎬 Render stopped</source>
        <translation>🎬 Render angehalten</translation>
    </message>
    <message>
        <source>Your DaVinci render stopped without DaVinci Resolve calling it complete. Render Mode stays on until you exit it.</source>
        <translation>Dein DaVinci-Render hat aufgehört, ohne dass DaVinci Resolve ihn als fertig meldet. Render Mode läuft weiter, bis du ihn beendest.</translation>
    </message>
    <message>
        <source>never</source>
        <translation>nie</translation>
    </message>
    <message>
        <source>🎬 Render Mode ended</source>
        <translation>🎬 Render Mode beendet</translation>
    </message>
    <message>
        <source>Ran %1 · peak CPU %2 / GPU %3 · fans max %4 · throttling %5</source>
        <translation>Lief %1 · Spitzen CPU %2 / GPU %3 · Lüfter max %4 · Throttling %5</translation>
    </message>
    <message>
        <source>🎬 Render finished</source>
        <translation>🎬 Render fertig</translation>
    </message>
    <message>
        <source>Your DaVinci render is done. Render Mode stays on until you exit it.</source>
        <translation>Dein DaVinci-Render ist durch. Render Mode läuft weiter, bis du ihn beendest.</translation>
    </message>
    <message>
        <source>Your Mac stayed cool</source>
        <translation>Der Mac blieb kühl</translation>
    </message>
    <message>
        <source>Your Mac ran warm</source>
        <translation>Der Mac wurde warm</translation>
    </message>
    <message>
        <source>%1 · peak CPU %2 / GPU %3</source>
        <translation>%1 · Peak CPU %2 / GPU %3</translation>
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
    <message>
        <source>the system refused</source>
        <translation>das System hat abgelehnt</translation>
    </message>
    <message>
        <source>Asked %1, not confirmed: %2</source>
        <translation>Bei %1 angefragt, nicht bestätigt: %2</translation>
    </message>
    <message>
        <source>Checking that %1 holds it…</source>
        <translation>Wird geprüft, ob %1 es hält …</translation>
    </message>
    <message>
        <source>In force through %1</source>
        <translation>Aktiv über %1</translation>
    </message>
    <message>
        <source>Not in force: %1</source>
        <translation>Nicht aktiv: %1</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Pausiert</translation>
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
    <name>quillon::app::TriggerManager</name>
    <message>
        <source>on AC power</source>
        <translation>am Netzteil</translation>
    </message>
    <message>
        <source>external display</source>
        <translation>externer Bildschirm</translation>
    </message>
    <message>
        <source>this Wayland desktop tells no other app which window is full screen</source>
        <translation>dieser Wayland-Desktop verrät keiner anderen App, welches Fenster im Vollbild ist</translation>
    </message>
    <message>
        <source>no display to ask which window is full screen</source>
        <translation>kein Bildschirm, der sagt, welches Fenster im Vollbild ist</translation>
    </message>
    <message>
        <source>no session bus, where media players say that they play</source>
        <translation>kein Sitzungsbus, auf dem Mediaplayer sagen, dass sie spielen</translation>
    </message>
    <message>
        <source>an app</source>
        <translation>eine App</translation>
    </message>
    <message>
        <source>full screen: %1</source>
        <translation>Vollbild: %1</translation>
    </message>
    <message>
        <source>media playing: %1</source>
        <translation>Wiedergabe: %1</translation>
    </message>
    <message>
        <source>automation is off</source>
        <translation>Automatik ist aus</translation>
    </message>
    <message>
        <source>on battery at %1 % or less</source>
        <translation>auf Akku bei %1 % oder weniger</translation>
    </message>
    <message>
        <source>switched off</source>
        <translation>ausgeschaltet</translation>
    </message>
    <message>
        <source>no other app&apos;s window is full screen</source>
        <translation>kein Fenster einer anderen App ist im Vollbild</translation>
    </message>
    <message>
        <source>%1 is full screen, but excluded</source>
        <translation>%1 ist im Vollbild, zählt aber nicht</translation>
    </message>
    <message>
        <source>on battery</source>
        <translation>auf Akku</translation>
    </message>
    <message>
        <source>no external display</source>
        <translation>kein externer Bildschirm</translation>
    </message>
    <message>
        <source>no app listed</source>
        <translation>keine App gewählt</translation>
    </message>
    <message>
        <source>none of the listed apps runs</source>
        <translation>keine der gewählten Apps läuft</translation>
    </message>
    <message>
        <source>no player is playing</source>
        <translation>kein Player spielt</translation>
    </message>
</context>
<context>
    <name>quillon::app::UninstallFlow</name>
    <message>
        <source>Quillon has been removed</source>
        <translation>Quillon wurde entfernt</translation>
    </message>
    <message>
        <source>Uninstall failed</source>
        <translation>Entfernen fehlgeschlagen</translation>
    </message>
    <message>
        <source>Really uninstall Quillon?</source>
        <translation>Quillon wirklich entfernen?</translation>
    </message>
    <message>
        <source>Thanks for trying it! The app will now quit.</source>
        <translation>Danke, dass du es ausprobiert hast! Die App wird jetzt beendet.</translation>
    </message>
    <message>
        <source>Quillon will remove its background helper and itself completely.</source>
        <translation>Quillon entfernt sein Hintergrund-Hilfswerkzeug und sich selbst vollständig.</translation>
    </message>
    <message>
        <source>This removes: the fan background helper, the app itself and all settings. Fan control immediately returns to macOS. You&apos;ll be asked for your password once.</source>
        <translation>Entfernt wird: der Lüfter-Hintergrunddienst, die App selbst und alle Einstellungen. Die Lüftersteuerung geht sofort wieder an macOS zurück. Du wirst einmal nach deinem Passwort gefragt.</translation>
    </message>
    <message>
        <source>Quillon runs from the folder it was built in; that folder stays as it is.</source>
        <translation>Quillon läuft aus dem Ordner, in dem es gebaut wurde; dieser Ordner bleibt, wie er ist.</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Uninstall</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>quillon::ui::AutomationView</name>
    <message>
        <source>The list holds %1 apps, the most it can: remove one to add another.</source>
        <translation>Die Liste fasst höchstens %1 Apps: Entferne eine, um eine andere hinzuzufügen.</translation>
    </message>
</context>
<context>
    <name>quillon::ui::AwakeView</name>
    <message>
        <source>Until I resume</source>
        <translation>Bis ich fortsetze</translation>
    </message>
</context>
<context>
    <name>quillon::ui::RenderView</name>
    <message>
        <source>%1 rpm</source>
        <translation>%1 rpm</translation>
    </message>
    <message>
        <source>Following DaVinci Resolve needs Python 3 (%1 is missing)</source>
        <translation>DaVinci Resolve zu verfolgen braucht Python 3 (%1 fehlt)</translation>
    </message>
    <message>
        <source>DaVinci Resolve&apos;s scripting is not installed (%1)</source>
        <translation>Die Skript-Schnittstelle von DaVinci Resolve ist nicht installiert (%1)</translation>
    </message>
    <message>
        <source>DaVinci Resolve is not running, or its external scripting is off (Preferences › System › General › External scripting using: Local)</source>
        <translation>DaVinci Resolve läuft nicht, oder sein externes Scripting ist aus (Einstellungen › System › Allgemein › Externes Scripting: Lokal)</translation>
    </message>
    <message>
        <source>Render cancelled</source>
        <translation>Render abgebrochen</translation>
    </message>
    <message>
        <source>Render failed</source>
        <translation>Render fehlgeschlagen</translation>
    </message>
    <message>
        <source>Render stopped, not reported complete</source>
        <translation>Render angehalten, nicht als fertig gemeldet</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>On · %1 · %2</source>
        <translation>An · %1 · %2</translation>
    </message>
    <message>
        <source>Waiting for DaVinci Resolve</source>
        <translation>Warte auf DaVinci Resolve</translation>
    </message>
    <message>
        <source>Job %1 of %2 · %3 %</source>
        <translation>Auftrag %1 von %2 · %3 %</translation>
    </message>
    <message>
        <source>Rendering</source>
        <translation>Rendert</translation>
    </message>
    <message>
        <source>No render running</source>
        <translation>Kein Render läuft</translation>
    </message>
    <message>
        <source>CPU %1</source>
        <translation>CPU %1</translation>
    </message>
    <message>
        <source>GPU %1</source>
        <translation>GPU %1</translation>
    </message>
    <message>
        <source>fans %1 rpm</source>
        <translation>Lüfter %1 rpm</translation>
    </message>
    <message>
        <source>Peaks: CPU %1 / GPU %2 · fans %3 · throttling %4</source>
        <translation>Spitzen: CPU %1 / GPU %2 · Lüfter %3 · Throttling %4</translation>
    </message>
    <message>
        <source>Render finished — %1</source>
        <translation>Render fertig — %1</translation>
    </message>
</context>
<context>
    <name>quillon::ui::SettingsController</name>
    <message>
        <source>Quillon Settings</source>
        <translation>Quillon Einstellungen</translation>
    </message>
</context>
<context>
    <name>quillon::ui::SettingsView</name>
    <message>
        <source>Super+Alt+K: keep-awake · Super+Alt+L: fan control</source>
        <translation>Super+Alt+K: Wachhalten · Super+Alt+L: Lüftersteuerung</translation>
    </message>
    <message>
        <source>Asking the desktop for the shortcuts…</source>
        <translation>Der Desktop wird nach den Tastenkürzeln gefragt …</translation>
    </message>
    <message>
        <source>Not in force: %1</source>
        <translation>Nicht aktiv: %1</translation>
    </message>
</context>
<context>
    <name>quillon::ui::SimulatedLoad</name>
    <message>
        <source>The simulated Mac did not take the new load.</source>
        <translation>Der simulierte Mac hat die neue Last nicht übernommen.</translation>
    </message>
</context>
</TS>
