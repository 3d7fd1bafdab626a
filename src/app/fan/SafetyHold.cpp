#include "SafetyHold.h"

#include "StatusValue.h"
#include "app/Notifier.h"

#include <QCoreApplication>
#include <QDebug>

namespace quillon::app {

SafetyHold::SafetyHold(Notifier* notifier, QObject* parent)
    : QObject(parent)
    , m_notifier(notifier)
{
}

bool SafetyHold::apply(const QVariantMap& status, bool helperLetGo, double targetPercent)
{
    const bool pending = StatusValue::boolOrFalse(status.value("releasePending"));
    if (pending != m_releasePending) {
        m_releasePending = pending;
        emit changed();
        // The fan model's translation context, where these texts have always been.
        if (pending && m_notifier) {
            m_notifier->notify(QCoreApplication::translate("quillon::app::FanController", "Fans not handed back yet"),
                QCoreApplication::translate("quillon::app::FanController",
                    "The firmware has not taken the fans back. Quillon holds them at full speed and keeps trying."));
        }
    }

    const QString release = StatusValue::stringOrEmpty(status.value("safetyRelease"));
    const double clearFor = StatusValue::finiteNumber(status.value("safetyClearSeconds")).value_or(0.0);
    const bool helperHolds = StatusValue::boolOrFalse(status.value("isBoosted"));
    const bool causeGone = release.isEmpty() || clearFor >= kClearSeconds;
    if (!m_reason.isEmpty()) {
        if (!causeGone)
            return false;
        setReason(QString());
        // The helper lets go of nothing it holds; a floor it dropped goes back.
        return targetPercent > 0 && !helperHolds && !helperLetGo;
    }
    if (!causeGone && !helperHolds && targetPercent > 0)
        setReason(release);
    return false;
}

void SafetyHold::setReason(const QString& reason)
{
    if (reason == m_reason)
        return;
    m_reason = reason;
    if (!reason.isEmpty()) {
        qInfo().noquote() << QStringLiteral(
            "Quillon: the helper let go of the fans for safety (%1); holding the floor back")
                                 .arg(reason);
        emit started();
    }
    emit changed();
}

} // namespace quillon::app
