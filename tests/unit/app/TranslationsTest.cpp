#include "app/Translations.h"

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

// source text -> German, as the translation file holds them.
QMap<QString, QString> readTranslations()
{
    QMap<QString, QString> pairs;
    for (const Message& message : readMessages(QStringLiteral(QUILLON_TS_DIR "/quillon_de.ts")))
        pairs.insert(message.source, message.translation);
    return pairs;
}

// The notification texts no other test shows in German: each must have a
// translation of its own in the file (the panel's texts and the lid
// reminder are checked in German where they are shown).
const char* const kNotificationTexts[] = {
    "⚠️ Mac is throttling",
    "Thermal pressure is high — heat protection is keeping the fans up.",
    "🔥 CPU running very hot",
    "The CPU is at %1 °C.",
    "Fan boost finished",
    "The boost timer ended — fans are back on automatic.",
    "The boost timer ended — automation keeps cooling.",
    "Keep-awake finished",
    "The timer ended — your Mac is back to its normal sleep behaviour.",
    "🪫 Battery low",
    "Below 15% on battery — keep-awake was stopped so your Mac can sleep.",
    "Battery below 15% — closed-lid stopped so the Mac can sleep.",
    "Got too hot — closed-lid auto-stopped for safety.",
    "🌡️ Closed-lid stopped",
};

TEST(Translations, EveryNotificationTextIsTranslated)
{
    const QMap<QString, QString> translations = readTranslations();
    for (const char* text : kNotificationTexts) {
        const QString english = QString::fromUtf8(text);
        EXPECT_NE(translations.value(english, english), english) << text << ": no German of its own";
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
    using quillon::app::Translations;
    const auto stayedCool = [] {
        return QCoreApplication::translate("quillon::app::RenderModeManager", "Your Mac stayed cool");
    };
    ASSERT_TRUE(Translations::apply(false, false));
    EXPECT_EQ(stayedCool(), "Your computer stayed cool");
    EXPECT_EQ(QCoreApplication::translate("quillon::app::Notifier", "Keep on"), "Keep on");
    ASSERT_TRUE(Translations::apply(true, false));
    EXPECT_EQ(stayedCool(), QString::fromUtf8("Der Computer blieb kühl"));
    EXPECT_EQ(QCoreApplication::translate("quillon::app::Notifier", "Keep on"), "Anlassen");
    ASSERT_TRUE(Translations::apply(true, true));
    EXPECT_EQ(stayedCool(), QString::fromUtf8("Der Mac blieb kühl"));
    ASSERT_TRUE(Translations::apply(false, true));
    EXPECT_EQ(stayedCool(), "Your Mac stayed cool");

    const auto showTemperature = [] {
        return QCoreApplication::translate("Settings", "Show temperature in the menu bar");
    };
    EXPECT_EQ(showTemperature(), "Show temperature in the menu bar");
    ASSERT_TRUE(Translations::apply(false, false));
    EXPECT_EQ(showTemperature(), "Show temperature in the tray");
    ASSERT_TRUE(Translations::apply(true, false));
    EXPECT_EQ(showTemperature(), QString::fromUtf8("Temperatur im Infobereich anzeigen"));
}

} // namespace
