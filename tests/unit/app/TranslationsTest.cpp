#include "app/Translations.h"

#include "support/QStringPrinter.h"

#include <QCoreApplication>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

namespace {

// One text of a translation file: its context, source and translation.
struct Message {
    QString context;
    QString source;
    QString translation;
};

QList<Message> readMessages(const QString& path)
{
    QList<Message> messages;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    QXmlStreamReader xml(&file);
    QString context;
    QString source;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("name"))
            context = xml.readElementText();
        else if (xml.name() == QLatin1String("source"))
            source = xml.readElementText();
        else if (xml.name() == QLatin1String("translation"))
            messages.append({context, source, xml.readElementText()});
    }
    return messages;
}

// The notification texts no other test shows in German, with the German the
// user must read (the panel's texts and the lid reminder are checked in
// German where they are shown).
struct Notification {
    const char* context;
    const char* english;
    const char* german;
};
const Notification kNotifications[] = {
    {"FanController", "⚠️ Mac is throttling", "⚠️ Mac drosselt"},
    {"FanController", "Thermal pressure is high — heat protection is keeping the fans up.",
        "Die thermische Last ist hoch — der Hitzeschutz hält die Lüfter oben."},
    {"FanController", "🔥 CPU running very hot", "🔥 CPU sehr heiß"},
    {"FanController", "The CPU is at %1 °C.", "Die CPU liegt bei %1 °C."},
    {"FanController", "Fan boost finished", "Lüfter-Boost beendet"},
    {"FanController", "The boost timer ended — fans are back on automatic.",
        "Der Boost-Timer ist abgelaufen — die Lüfter laufen wieder automatisch."},
    {"FanController", "The boost timer ended — automation keeps cooling.",
        "Der Boost-Timer ist abgelaufen — die Automatik kühlt weiter."},
    {"SleepManager", "Keep-awake finished", "Wach-Session beendet"},
    {"SleepManager", "The timer ended — your Mac is back to its normal sleep behaviour.",
        "Der Timer ist abgelaufen — dein Mac kehrt zum normalen Energieverhalten zurück."},
    {"SleepManager", "🪫 Battery low", "🪫 Akku niedrig"},
    {"SleepManager", "Below 15% on battery — keep-awake was stopped so your Mac can sleep.",
        "Unter 15 % auf Akku — Wach bleiben wurde beendet, damit dein Mac schlafen kann."},
    {"LidManager", "Battery below 15% — closed-lid stopped so the Mac can sleep.",
        "Akku unter 15 % — Zugeklappt-wach beendet, damit der Mac schlafen kann."},
    {"LidManager", "Got too hot — closed-lid auto-stopped for safety.",
        "Zu heiß geworden — Zugeklappt-wach automatisch beendet (Sicherheit)."},
    {"LidManager", "🌡️ Closed-lid stopped", "🌡️ Zugeklappt-wach beendet"},
    {"RenderModeManager", "🎬 Render finished", "🎬 Render fertig"},
    {"RenderModeManager", "Your DaVinci render is done. Render Mode stays on until you exit it.",
        "Dein DaVinci-Render ist durch. Render Mode läuft weiter, bis du ihn beendest."},
    {"RenderModeManager", "🎬 Render Mode ended", "🎬 Render Mode beendet"},
    // The figures carry their units ("72°", "5000 rpm"), or "—" without a reading.
    {"RenderModeManager", "Ran %1 · peak CPU %2 / GPU %3 · fans max %4 · throttling %5",
        "Lief %1 · Spitzen CPU %2 / GPU %3 · Lüfter max %4 · Throttling %5"},
    {"RenderModeManager", "never", "nie"},
};

TEST(Translations, EveryNotificationReadsAsWrittenInGerman)
{
    ASSERT_TRUE(quillon::app::Translations::apply(true));
    for (const Notification& text : kNotifications) {
        const QByteArray context = QByteArray("quillon::app::") + text.context;
        EXPECT_EQ(QCoreApplication::translate(context.constData(), text.english), QString::fromUtf8(text.german))
            << text.english;
    }
}

TEST(Translations, NothingIsLeftUntranslated)
{
    for (const Message& message : readMessages(QStringLiteral(QUILLON_TS_DIR "/quillon_de.ts"))) {
        EXPECT_FALSE(message.translation.isEmpty()) << message.source.toStdString();
        EXPECT_EQ(message.source.count(QLatin1Char('%')), message.translation.count(QLatin1Char('%')))
            << message.source.toStdString();
    }
}

// The Mac by name, or its menu bar (a Linux desktop has a panel and a tray).
bool speaksOfTheMac(const QString& text)
{
    static const QRegularExpression mac(QStringLiteral("\\bMacs?\\b|macOS|menu bar|Menüleiste"));
    return text.contains(mac);
}

// Every text written for a Mac has a wording for other computers, in English
// and German, that no longer speaks of the Mac. (The demo's simulated Mac is
// a Mac: its texts need none.)
TEST(Translations, EveryTextAboutTheMacHasAComputerWording)
{
    const QList<Message> all = readMessages(QStringLiteral(QUILLON_TS_DIR "/quillon_de.ts"));
    ASSERT_FALSE(all.isEmpty());
    for (const char* language : {"en", "de"}) {
        QMap<QPair<QString, QString>, QString> wording;
        for (const Message& message :
            readMessages(QStringLiteral(QUILLON_TS_DIR "/quillon_computer_%1.ts").arg(QLatin1String(language))))
            wording.insert({message.context, message.source}, message.translation);
        for (const Message& message : all) {
            if (!speaksOfTheMac(message.source) || message.source.contains(QLatin1String("simulated Mac")))
                continue;
            const QString other = wording.value({message.context, message.source});
            EXPECT_FALSE(other.isEmpty()) << language << ": no wording for " << message.source.toStdString();
            EXPECT_FALSE(speaksOfTheMac(other)) << language << ": " << other.toStdString();
            EXPECT_EQ(other.count(QLatin1Char('%')), message.source.count(QLatin1Char('%'))) << other.toStdString();
        }
    }
}

// On another computer the texts speak of the computer, in either language;
// texts without the Mac stay as they are, and on a Mac nothing changes.
TEST(Translations, OtherComputersAreCalledComputers)
{
    const struct {
        bool german;
        bool mac;
        const char* stayedCool;
        const char* keepOn;
        const char* showTemperature;
    } rows[] = {
        {false, false, "Your computer stayed cool", "Keep on", "Show temperature in the tray"},
        {true, false, "Der Computer blieb kühl", "Anlassen", "Temperatur im Infobereich anzeigen"},
        {true, true, "Der Mac blieb kühl", "Anlassen", "Temperatur in der Menüleiste anzeigen"},
        {false, true, "Your Mac stayed cool", "Keep on", "Show temperature in the menu bar"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.stayedCool);
        ASSERT_TRUE(quillon::app::Translations::apply(row.german, row.mac));
        EXPECT_EQ(QCoreApplication::translate("quillon::app::RenderModeManager", "Your Mac stayed cool"),
            QString::fromUtf8(row.stayedCool));
        EXPECT_EQ(QCoreApplication::translate("quillon::app::Notifier", "Keep on"), QString::fromUtf8(row.keepOn));
        EXPECT_EQ(QCoreApplication::translate("Settings", "Show temperature in the menu bar"),
            QString::fromUtf8(row.showTemperature));
    }
}

} // namespace
