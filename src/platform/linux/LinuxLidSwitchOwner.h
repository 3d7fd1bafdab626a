#pragma once

#include "platform/LidSwitchOwner.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDeadlineTimer>
#include <QList>
#include <QObject>
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
// start (the constructor restores what the file says). Nothing waits on a
// service, except that the destructor sees a restore in flight through.
class LinuxLidSwitchOwner : public LidSwitchOwner {
public:
    LinuxLidSwitchOwner(QDBusConnection sessionBus, QDBusConnection systemBus, QString markerPath);
    ~LinuxLidSwitchOwner() override;

    void askOwner(OwnerAnswer done) override;
    void handOver(HandOverAnswer done) override;
    void restore() override;

    // The default marker: $XDG_STATE_HOME/quillon/xfce-lid-handover.
    static QString defaultMarkerPath();

private:
    // Records before, then sets the setting that hands the lid to logind.
    void setHandingOver(const QByteArray& before, const HandOverAnswer& done);
    // Resets the setting once Xfce's power manager holds the lid again, or at
    // deadline if it never does; the marker goes once the reset is answered.
    void resetOnceTaken(QDeadlineTimer deadline);
    void forgetFinished();

    static constexpr int kRetakeWaitMs = 3000;
    static constexpr int kRetakePollMs = 100;

    QDBusConnection m_session;
    QDBusConnection m_system;
    QString m_markerPath;
    QList<QDBusPendingCall> m_restoring; // the calls putting the setting back, until answered
    QObject m_calls;                     // the context of every call in flight: none answers after this object is gone
};

} // namespace quillon::platform::linux_
