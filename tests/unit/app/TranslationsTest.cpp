#include "app/Translations.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QMap>
#include <QXmlStreamReader>

namespace {

// source text -> German, as the translation file holds them.
QMap<QString, QString> readTranslations()
{
    QMap<QString, QString> pairs;
    QFile file(QStringLiteral(QUILLON_TS_FILE));
    if (!file.open(QIODevice::ReadOnly))
        return pairs;
    QXmlStreamReader xml(&file);
    QString source;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("source"))
            source = xml.readElementText();
        else if (xml.name() == QLatin1String("translation"))
            pairs.insert(source, xml.readElementText());
    }
    return pairs;
}

struct Pair {
    const char* english;
    const char* german;
};

// Every bilingual text the app shows so far, in both languages.
const Pair kPairs[] = {
    {"⚠️ Mac is throttling", "⚠️ Mac drosselt"},
    {"Thermal pressure is high — heat protection is keeping the fans up.",
        "Die thermische Last ist hoch — der Hitzeschutz hält die Lüfter oben."},
    {"🔥 CPU running very hot", "🔥 CPU sehr heiß"},
    {"The CPU is at %1 °C.", "Die CPU liegt bei %1 °C."},
    {"Couldn't set fans.", "Lüfter konnte nicht gesetzt werden."},
    {"Fan boost finished", "Lüfter-Boost beendet"},
    {"The boost timer ended — fans are back on automatic.",
        "Der Boost-Timer ist abgelaufen — die Lüfter laufen wieder automatisch."},
    {"The boost timer ended — automation keeps cooling.",
        "Der Boost-Timer ist abgelaufen — die Automatik kühlt weiter."},
    {"Turn off", "Ausschalten"},
    {"Keep on", "Anlassen"},
    {"☀️ Closed-lid keep-awake is still on", "☀️ Zugeklappt-Wachhalten läuft noch"},
    {"Welcome back. Keep it awake with the lid closed, or turn it off?",
        "Willkommen zurück. Weiter zugeklappt wach lassen, oder ausschalten?"},
    // The menu panel.
    {"Stay awake for", "Wach bleiben für"},
    {"Custom end time…", "Eigene Endzeit…"},
    {"Quiet — runs a bit cooler than macOS without getting loud.",
        "Leise — hält den Mac etwas kühler als macOS, ohne laut zu werden."},
    {"Keeps the Mac comfortably cool at moderate noise.", "Hält den Mac angenehm kühl bei moderater Lautstärke."},
    {"Maximum cooling — audible baseline, keeps the Mac cold.",
        "Maximale Kühlung — hörbarer Grundpegel, hält den Mac kalt."},
    {"Elevated", "Last erhöht"},
    {"Throttling", "Drosselung"},
    {"Critical", "Kritisch"},
    {"Active · floor %1 %", "Aktiv · Untergrenze %1 %"},
    {"Watching — quiet until it warms up", "Beobachtet — leise, bis es warm wird"},
    {"Mac takes over — fans at %1% due to heat", "Mac übernimmt — Lüfter wegen Hitze auf %1 %"},
    {"Fans spinning up …", "Lüfter drehen hoch …"},
    {"Fans starting any moment …", "Lüfter starten jeden Moment …"},
    {"Keep-awake finished", "Wach-Session beendet"},
    {"The timer ended — your Mac is back to its normal sleep behaviour.",
        "Der Timer ist abgelaufen — dein Mac kehrt zum normalen Energieverhalten zurück."},
    {"🪫 Battery low", "🪫 Akku niedrig"},
    {"Below 15% on battery — keep-awake was stopped so your Mac can sleep.",
        "Unter 15 % auf Akku — Wach bleiben wurde beendet, damit dein Mac schlafen kann."},
    {"Battery below 15% — closed-lid stopped so the Mac can sleep.",
        "Akku unter 15 % — Zugeklappt-wach beendet, damit der Mac schlafen kann."},
    {"Got too hot — closed-lid auto-stopped for safety.",
        "Zu heiß geworden — Zugeklappt-wach automatisch beendet (Sicherheit)."},
    {"🌡️ Closed-lid stopped", "🌡️ Zugeklappt-wach beendet"},
};

TEST(Translations, EveryTextPairIsInTheTranslationFile)
{
    const QMap<QString, QString> translations = readTranslations();
    ASSERT_FALSE(translations.isEmpty());
    for (const Pair& pair : kPairs) {
        const QString english = QString::fromUtf8(pair.english);
        ASSERT_TRUE(translations.contains(english)) << pair.english;
        EXPECT_EQ(translations.value(english), QString::fromUtf8(pair.german)) << pair.english;
    }
}

TEST(Translations, NothingIsLeftUntranslated)
{
    const QMap<QString, QString> translations = readTranslations();
    for (auto it = translations.begin(); it != translations.end(); ++it) {
        EXPECT_FALSE(it.value().isEmpty()) << it.key().toStdString();
        EXPECT_EQ(it.key().count(QLatin1Char('%')), it.value().count(QLatin1Char('%'))) << it.key().toStdString();
    }
}

TEST(Translations, GermanIsInstalledAndRemoved)
{
    ASSERT_TRUE(quillon::app::Translations::apply(true));
    EXPECT_EQ(QCoreApplication::translate("quillon::app::Notifier", "Keep on"), "Anlassen");
    ASSERT_TRUE(quillon::app::Translations::apply(false));
    EXPECT_EQ(QCoreApplication::translate("quillon::app::Notifier", "Keep on"), "Keep on");
}

} // namespace
