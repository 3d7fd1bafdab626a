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
    // the profile in use, asked of its session service (one bounded round
    // trip), and 0 too in its settings for every profile it switches to on
    // its own (on AC, on battery, on low battery), so that unplugging the
    // machine cannot turn a closed lid into sleep. The settings are read from
    // configHome (PowerDevil 5's powermanagementprofilesrc, 6's powerdevilrc);
    // a profile they do not set counts as sleeping, PowerDevil's default.
    // Never waits: done hears it once, never after context is gone.
    static void askKdeDoesNothing(QDBusConnection sessionBus, const QString& configHome, QObject* context,
        std::function<void(std::optional<bool>)> done);
    // $XDG_CONFIG_HOME, or ~/.config.
    static QString configHome();

private:
    static QDBusMessage kdeLidAction();
    static std::optional<bool> kdeAnswer(const QDBusMessage& reply, const QString& configHome);
};

} // namespace quillon::platform::linux_
