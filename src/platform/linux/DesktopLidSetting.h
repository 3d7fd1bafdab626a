#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <functional>
#include <optional>

namespace quillon::platform::linux_ {

// What a desktop's own lid action says, read where that desktop keeps it:
// whether closing the lid does nothing at all, nullopt where the setting
// cannot be read (the desktop is not installed or does not answer).
class DesktopLidSetting {
public:
    DesktopLidSetting() = delete;

    // MATE: gsettings org.mate.power-manager button-lid-ac and
    // button-lid-battery both "nothing". Read from the settings store
    // itself, without a process or a D-Bus round trip.
    static std::optional<bool> mateDoesNothing();
    // KDE: PowerDevil's HandleButtonEvents lidAction() 0 ("Do nothing") for
    // the profile in use, asked of its session service (one bounded round trip).
    static std::optional<bool> kdeDoesNothing(QDBusConnection sessionBus);
    // The same without waiting: done hears it once, never after context is gone.
    static void askKdeDoesNothing(
        QDBusConnection sessionBus, QObject* context, std::function<void(std::optional<bool>)> done);

private:
    static QDBusMessage kdeLidAction();
    static std::optional<bool> kdeAnswer(const QDBusMessage& reply);
};

} // namespace quillon::platform::linux_
