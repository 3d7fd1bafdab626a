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

} // namespace
