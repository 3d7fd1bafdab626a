#include "Translations.h"

#include "Lang.h"

#include <QCoreApplication>
#include <QTranslator>

namespace quillon::app {

namespace {
QTranslator* germanTranslator()
{
    static QTranslator* translator = nullptr;
    if (!translator)
        translator = new QTranslator(QCoreApplication::instance());
    return translator;
}
} // namespace

bool Translations::apply(bool german)
{
    if (!QCoreApplication::instance())
        return false;
    QTranslator* translator = germanTranslator();
    if (!german) {
        QCoreApplication::removeTranslator(translator);
        return true;
    }
    if (translator->isEmpty() && !translator->load(QStringLiteral(":/i18n/quillon_de.qm")))
        return false;
    return QCoreApplication::installTranslator(translator);
}

bool Translations::apply(const Settings& settings)
{
    return apply(Lang::isGerman(settings));
}

} // namespace quillon::app
