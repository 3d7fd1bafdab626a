#include "Lang.h"

#include "Settings.h"

#include <QLocale>

namespace quillon::app {

bool Lang::isGerman(const QString& appLanguage, const QStringList& preferredLanguages)
{
    if (appLanguage == QLatin1String("de"))
        return true;
    if (appLanguage == QLatin1String("en"))
        return false;
    const QString first = preferredLanguages.isEmpty() ? QStringLiteral("en") : preferredLanguages.first();
    return first.toLower().startsWith(QLatin1String("de"));
}

bool Lang::isGerman(const Settings& settings)
{
    return isGerman(settings.appLanguage(), QLocale::system().uiLanguages());
}

} // namespace quillon::app
