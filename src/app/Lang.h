#pragma once

#include <QString>
#include <QStringList>

namespace quillon::app {

class Settings;

// The app-language switch every bilingual text goes through.
class Lang {
public:
    Lang() = delete;

    // German when "appLanguage" is "de"; English when "en"; otherwise German
    // exactly when the first preferred language (taken as "en" when there is
    // none), lower-cased, begins with "de".
    static bool isGerman(const QString& appLanguage, const QStringList& preferredLanguages);
    // The same for the stored setting and the system's preferred languages.
    static bool isGerman(const Settings& settings);
};

} // namespace quillon::app
