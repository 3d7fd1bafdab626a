#include "RenderPowerStatus.h"

#include <QCoreApplication>
#include <QRegularExpression>

namespace quillon::app {

namespace {

const char* const kContext = "RenderPowerStatus";

// The printf conversions of a format, in order ("%d", "%02d", "%.0f"; "%%"
// is text).
QStringList conversions(const QString& format)
{
    static const QRegularExpression conversion(QStringLiteral("%%|%[0-9.]*[a-z]"));
    QStringList found;
    for (auto it = conversion.globalMatch(format); it.hasNext();) {
        const QString match = it.next().captured();
        if (match != QLatin1String("%%"))
            found << match;
    }
    return found;
}

// printf with the translation of source as the format, unless the
// translation's conversions differ from the source's: a slip in a
// translation must not pass an int where printf reads a double.
template <typename... Args> QString formatted(const char* source, Args... args)
{
    const QString translated = QCoreApplication::translate(kContext, source);
    const QByteArray format
        = conversions(translated) == conversions(QString::fromUtf8(source)) ? translated.toUtf8() : QByteArray(source);
    return QString::asprintf(format.constData(), args...);
}

// The estimate appended to the battery cases, when there is one.
QString minutesSuffix(std::optional<int> minutes)
{
    if (!minutes || *minutes < 1)
        return {};
    if (*minutes < 60)
        return formatted(QT_TRANSLATE_NOOP("RenderPowerStatus", " · ~%d min left"), *minutes);
    return formatted(QT_TRANSLATE_NOOP("RenderPowerStatus", " · ~%d:%02d h left"), *minutes / 60, *minutes % 60);
}

} // namespace

QString RenderPowerStatus::text() const
{
    switch (kind) {
    case Case::charging:
        return formatted(QT_TRANSLATE_NOOP("RenderPowerStatus", "Battery charging · %.0f W"), watts);
    case Case::notEnoughPower:
        return QCoreApplication::translate("RenderPowerStatus", "Adapter too weak · battery draining")
            + minutesSuffix(minutesLeft);
    case Case::batteryLow:
        return formatted(QT_TRANSLATE_NOOP("RenderPowerStatus", "Battery low · %d%%"), percent)
            + minutesSuffix(minutesLeft);
    case Case::onBattery:
        return formatted(QT_TRANSLATE_NOOP("RenderPowerStatus", "On battery · %d%%"), percent)
            + minutesSuffix(minutesLeft);
    case Case::fullOnAC:
        return QCoreApplication::translate("RenderPowerStatus", "On power · battery full");
    }
    return {};
}

} // namespace quillon::app
