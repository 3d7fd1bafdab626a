// The render screens' power line in both languages.
#include "app/Translations.h"
#include "app/power/RenderPowerStatus.h"

#include "support/QStringPrinter.h"

#include <QCoreApplication>
#include <QTranslator>
#include <gtest/gtest.h>

using quillon::app::RenderPowerStatus;
using quillon::app::Translations;

namespace {

struct Row {
    RenderPowerStatus status;
    const char* english;
    const char* german;
};

TEST(RenderPowerStatusText, EveryCaseReadsRightInBothLanguages)
{
    const Row rows[] = {
        {RenderPowerStatus::charging(26.544), "Battery charging · 27 W", "Akku lädt · 27 W"},
        {RenderPowerStatus::notEnoughPower(std::nullopt), "Adapter too weak · battery draining",
            "Netzteil zu schwach · Akku entlädt"},
        {RenderPowerStatus::notEnoughPower(45), "Adapter too weak · battery draining · ~45 min left",
            "Netzteil zu schwach · Akku entlädt · noch ~45 min"},
        {RenderPowerStatus::batteryLow(12, 59), "Battery low · 12% · ~59 min left",
            "Akku niedrig · 12 % · noch ~59 min"},
        {RenderPowerStatus::batteryLow(0, 0), "Battery low · 0%", "Akku niedrig · 0 %"},
        {RenderPowerStatus::onBattery(57, 60), "On battery · 57% · ~1:00 h left", "Auf Akku · 57 % · noch ~1:00 h"},
        {RenderPowerStatus::onBattery(57, 121), "On battery · 57% · ~2:01 h left", "Auf Akku · 57 % · noch ~2:01 h"},
        {RenderPowerStatus::onBattery(99, std::nullopt), "On battery · 99%", "Auf Akku · 99 %"},
        {RenderPowerStatus::fullOnAC(), "On power · battery full", "Am Netz · Akku voll"},
    };
    for (const bool german : {false, true}) {
        ASSERT_TRUE(Translations::apply(german));
        for (const Row& row : rows)
            EXPECT_EQ(row.status.text(), QString::fromUtf8(german ? row.german : row.english));
    }
    Translations::apply(false);
}

// A translation whose placeholders do not match the English text must not
// reach printf with the wrong argument types.
class MismatchedTranslator : public QTranslator {
public:
    QString translate(const char*, const char* source, const char*, int) const override
    {
        return QString::fromUtf8(source).replace(QLatin1String("%.0f"), QLatin1String("%s"));
    }
    bool isEmpty() const override { return false; }
};

TEST(RenderPowerStatusText, AMismatchedTranslationFallsBackToEnglish)
{
    MismatchedTranslator translator;
    QCoreApplication::installTranslator(&translator);
    EXPECT_EQ(RenderPowerStatus::charging(40.4).text(), QString::fromUtf8("Battery charging · 40 W"));
    EXPECT_EQ(RenderPowerStatus::onBattery(57, 5).text(), QString::fromUtf8("On battery · 57% · ~5 min left"));
    QCoreApplication::removeTranslator(&translator);
}

} // namespace
