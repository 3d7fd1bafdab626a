#pragma once

#include "platform/LidSwitchOwner.h"

#include <QDBusConnection>
#include <QVariant>

namespace quillon::platform::linux_ {

// The lid's owner on Linux, read from logind's inhibitor list: a desktop
// power manager that acts on the lid itself holds logind's
// "handle-lid-switch" block lock for good (KDE's PowerDevil, Xfce's and
// MATE's power managers, LXQt's). GNOME's settings daemon takes it only for
// a few seconds around display changes, so that one does not count.
//
// KDE's and MATE's keep their lock whatever their lid action; where that
// action, read from the desktop's own setting, is to do nothing, the lid is
// held as it is.
//
// Xfce's is the one that can hand the lid back through a supported
// interface: its xfconf setting "logind-handle-lid-switch" makes it drop its
// lock and leave the lid to logind. The value found before is written to
// markerPath until restored, so a crash in between is put right by the next
// start (the constructor restores what the file says).
class LinuxLidSwitchOwner : public LidSwitchOwner {
public:
    LinuxLidSwitchOwner(QDBusConnection sessionBus, QDBusConnection systemBus, QString markerPath);
    ~LinuxLidSwitchOwner() override;

    Owner owner() override;
    bool handOver(QString& problem) override;
    void restore() override;

    // The default marker: $XDG_STATE_HOME/quillon/xfce-lid-handover.
    static QString defaultMarkerPath();

private:
    QDBusConnection m_session;
    QDBusConnection m_system;
    QString m_markerPath;
};

} // namespace quillon::platform::linux_
