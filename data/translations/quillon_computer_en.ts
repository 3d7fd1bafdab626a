<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>AutomationSection</name>
    <message>
        <source>Keeps the Mac awake by itself while a rule holds, and cools it as the running apps ask.</source>
        <translation>Keeps the computer awake by itself while a rule holds, and cools it as the running apps ask.</translation>
    </message>
</context>
<context>
    <name>LidSection</name>
    <message>
        <source>Keeps the Mac running with the lid closed and cools it on the balanced profile. Stops by itself when it gets too hot or the battery falls below 15 %.</source>
        <translation>Keeps the computer running with the lid closed and cools it on the balanced profile. Stops by itself when it gets too hot or the battery falls below 15 %.</translation>
    </message>
</context>
<context>
    <name>PanelTexts</name>
    <message>
        <source>Your Mac sleeps as usual.</source>
        <translation>Your computer sleeps as usual.</translation>
    </message>
    <message>
        <source>Mac takes over — fans at %1% due to heat</source>
        <translation>Firmware takes over — fans at %1% due to heat</translation>
    </message>
    <message>
        <source>Off — the Mac runs its fans itself</source>
        <translation>Off — the firmware runs the fans itself</translation>
    </message>
    <message>
        <source>Quiet — runs a bit cooler than macOS without getting loud.</source>
        <translation>Quiet — runs a bit cooler than the firmware would, without getting loud.</translation>
    </message>
    <message>
        <source>Keeps the Mac comfortably cool at moderate noise.</source>
        <translation>Keeps the computer comfortably cool at moderate noise.</translation>
    </message>
    <message>
        <source>Maximum cooling — audible baseline, keeps the Mac cold.</source>
        <translation>Maximum cooling — audible baseline, keeps the computer cold.</translation>
    </message>
</context>
<context>
    <name>quillon::app::FanController</name>
    <message>
        <source>⚠️ Mac is throttling</source>
        <translation>⚠️ Computer is throttling</translation>
    </message>
</context>
<context>
    <name>quillon::app::LidManager</name>
    <message>
        <source>Battery below 15% — closed-lid stopped so the Mac can sleep.</source>
        <translation>Battery below 15% — closed-lid stopped so the computer can sleep.</translation>
    </message>
</context>
<context>
    <name>quillon::app::RenderModeManager</name>
    <message>
        <source>Your Mac stayed cool</source>
        <translation>Your computer stayed cool</translation>
    </message>
    <message>
        <source>Your Mac ran warm</source>
        <translation>Your computer ran warm</translation>
    </message>
</context>
<context>
    <name>quillon::app::SleepManager</name>
    <message>
        <source>The timer ended — your Mac is back to its normal sleep behaviour.</source>
        <translation>The timer ended — your computer is back to its normal sleep behaviour.</translation>
    </message>
    <message>
        <source>Below 15% on battery — keep-awake was stopped so your Mac can sleep.</source>
        <translation>Below 15% on battery — keep-awake was stopped so your computer can sleep.</translation>
    </message>
</context>
<context>
    <name>quillon::app::UninstallFlow</name>
    <message>
        <source>This removes: the fan background helper, the app itself and all settings. Fan control immediately returns to macOS. You'll be asked for your password once.</source>
        <translation>This removes: the fan background helper, the app itself and all settings. Fan control immediately returns to the firmware. You'll be asked for your password once.</translation>
    </message>
</context>
<context>
    <name>OnboardingPages</name>
    <message>
        <source>Your Mac, your rules.
Stay awake — even with the lid closed —
control the fans, watch the temperatures.
All from the menu bar.</source>
        <translation>Your computer, your rules.
Stay awake — even with the lid closed —
control the fans, watch the temperatures.
All from the tray.</translation>
    </message>
    <message>
        <source>The highlight: flip the switch,
close the lid — your Mac keeps running.
No external display needed, even on battery.

The upload, the export, the little server:
it all keeps going while Quillon cools,
stopping by itself on heat or low battery.</source>
        <translation>The highlight: flip the switch,
close the lid — your computer keeps running.
No external display needed, even on battery.

The upload, the export, the little server:
it all keeps going while Quillon cools,
stopping by itself on heat or low battery.</translation>
    </message>
    <message>
        <source>Flip the switch, pick a profile — Silent,
Balanced or Max — and the fans follow
the temperature live. Or take over
manually, from 0 to 100%.

Always safe: you can only cool better
than macOS, never worse. On real heat,
your Mac takes back over.</source>
        <translation>Flip the switch, pick a profile — Silent,
Balanced or Max — and the fans follow
the temperature live. Or take over
manually, from 0 to 100%.

Always safe: you can only cool better
than the firmware, never worse. On real heat,
the firmware takes back over.</translation>
    </message>
    <message>
        <source>Automation: "While Final Cut runs,
stay awake and cool at Max." Quillon
reacts on its own — also on AC power
or with an external display.

And 💾 Keep drives awake holds external
disks mounted — perfect for a night
with the lid closed.</source>
        <translation>Automation: "While DaVinci Resolve runs,
stay awake and cool at Max." Quillon
reacts on its own — also on AC power
or with an external display.

And 💾 Keep drives awake holds external
disks mounted — perfect for a night
with the lid closed.</translation>
    </message>
    <message>
        <source>Up in your
menu bar</source>
        <translation>Up in your
panel</translation>
    </message>
    <message>
        <source>Quillon has no window — it lives in
the top-right menu bar, at the gauge
icon.

It&apos;ll open once by itself in a moment so
you know where to find it. One click on
the icon and your control panel is there.</source>
        <translation>Quillon has no window — it lives in
your panel&apos;s tray, at the gauge
icon.

It&apos;ll open once by itself in a moment so
you know where to find it. One click on
the icon and your control panel is there.</translation>
    </message>
</context>
<context>
    <name>Settings</name>
    <message>
        <source>Show temperature in the menu bar</source>
        <translation>Show temperature in the tray</translation>
    </message>
</context>
</TS>
