#include "Translations.h"

#include "Lang.h"

#include <QCoreApplication>
#include <QHash>
#include <QTranslator>

namespace quillon::app {

namespace {
// The app's translators live as long as the application; each is loaded once.
QTranslator* translator(const QString& file)
{
    static QHash<QString, QTranslator*> made;
    QTranslator*& one = made[file];
    if (!one)
        one = new QTranslator(QCoreApplication::instance());
    if (one->isEmpty() && !one->load(QStringLiteral(":/i18n/") + file))
        return nullptr;
    return one;
}
} // namespace

bool Translations::apply(bool german, bool onMac)
{
    if (!QCoreApplication::instance())
        return false;
    const QString base = QStringLiteral("quillon_de.qm");
    const QString computerEn = QStringLiteral("quillon_computer_en.qm");
    const QString computerDe = QStringLiteral("quillon_computer_de.qm");
    // Installed last is asked first: the wording sits above the language.
    bool ok = true;
    for (const QString& file : {computerEn, computerDe, base}) {
        if (QTranslator* one = translator(file))
            QCoreApplication::removeTranslator(one);
    }
    if (german) {
        QTranslator* one = translator(base);
        ok = one && QCoreApplication::installTranslator(one);
    }
    if (!onMac) {
        QTranslator* one = translator(german ? computerDe : computerEn);
        ok = one && QCoreApplication::installTranslator(one) && ok;
    }
    return ok;
}

bool Translations::apply(const Settings& settings, bool onMac)
{
    return apply(Lang::isGerman(settings), onMac);
}

} // namespace quillon::app
