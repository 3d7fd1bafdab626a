#include "OnboardingPages.h"

#include <QVariantMap>

namespace quillon::ui {

namespace {
// The accents, in the tones of the system colours they stand for.
const QColor kBlue(0x0A, 0x84, 0xFF);
const QColor kYellow(0xF2, 0xB1, 0x0C);
const QColor kCyan(0x12, 0xA4, 0xC4);
const QColor kGreen(0x30, 0xB8, 0x4E);
} // namespace

QList<OnboardingPage> OnboardingPages::build()
{
    return {
        {QStringLiteral("🎛️"), kBlue, tr("Welcome to\nQuillon"),
            tr("Your Mac, your rules.\nStay awake — even with the lid closed —\ncontrol the fans, watch the "
               "temperatures.\nAll from the menu bar.")},
        {QStringLiteral("💻"), kBlue, tr("Keep working,\nlid closed"),
            tr("The highlight: flip the switch,\nclose the lid — your Mac keeps running.\nNo external display "
               "needed, even on battery.\n\nThe upload, the export, the little server:\nit all keeps going while "
               "Quillon cools,\nstopping by itself on heat or low battery.")},
        {QStringLiteral("☀️"), kYellow, tr("Stay awake\nwhen you need it"),
            tr("A long download or render?\n\nKeep the system, display or network\nawake — with a timer from 1 to "
               "24 hours\nor your own end time. Afterwards\neverything returns to normal\nautomatically.")},
        {QStringLiteral("🌀"), kCyan, tr("Smart Cooling"),
            tr("Flip the switch, pick a profile — Silent,\nBalanced or Max — and the fans follow\nthe temperature "
               "live. Or take over\nmanually, from 0 to 100%.\n\nAlways safe: you can only cool better\nthan macOS, "
               "never worse. On real heat,\nyour Mac takes back over.")},
        {QStringLiteral("🤖"), kGreen, tr("Thinks along\nwith you"),
            tr("Automation: \"While Final Cut runs,\nstay awake and cool at Max.\" Quillon\nreacts on its own — also "
               "on AC power\nor with an external display.\n\nAnd 💾 Keep drives awake holds external\ndisks mounted "
               "— perfect for a night\nwith the lid closed.")},
        {QStringLiteral("📊"), kBlue, tr("Up in your\nmenu bar"),
            tr("Quillon has no window — it lives in\nthe top-right menu bar, at the gauge\nicon.\n\nIt'll open once "
               "by itself in a moment so\nyou know where to find it. One click on\nthe icon and your control panel "
               "is there.")},
    };
}

QVariantList OnboardingPages::forQml()
{
    QVariantList pages;
    for (const OnboardingPage& page : build()) {
        pages.append(QVariantMap{{QStringLiteral("emoji"), page.emoji}, {QStringLiteral("accent"), page.accent},
            {QStringLiteral("title"), page.title}, {QStringLiteral("body"), page.body}});
    }
    return pages;
}

} // namespace quillon::ui
