#include "LinuxLidSwitchOwner.h"

#include "DBusTimeouts.h"
#include "DesktopLidSetting.h"
#include "Inhibition.h"
#include "LogindInhibitorList.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace quillon::platform::linux_ {

namespace {

const QString kChannel = QStringLiteral("xfce4-power-manager");
const QString kProperty = QStringLiteral("/xfce4-power-manager/logind-handle-lid-switch");
const QByteArray kWasAbsent = "absent";

QDBusMessage xfconf(const QString& method, const QVariantList& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.xfce.Xfconf"),
        QStringLiteral("/org/xfce/Xfconf"), QStringLiteral("org.xfce.Xfconf"), method);
    call.setArguments(arguments);
    return call;
}

LidSwitchOwner::Desktop desktopOf(const QString& who)
{
    using Desktop = LidSwitchOwner::Desktop;
    const QString name = who.toLower();
    if (name.contains(u"powerdevil"))
        return Desktop::kde;
    if (name.contains(u"xfce"))
        return Desktop::xfce;
    if (name.contains(u"mate"))
        return Desktop::mate;
    if (name.contains(u"lxqt"))
        return Desktop::lxqt;
    return Desktop::other;
}

// The power manager's own name, for a lock that does not sign with it.
QString holderName(LidSwitchOwner::Desktop desktop)
{
    using Desktop = LidSwitchOwner::Desktop;
    switch (desktop) {
    case Desktop::kde:
        return QStringLiteral("PowerDevil");
    case Desktop::xfce:
        return QStringLiteral("xfce4-power-manager");
    case Desktop::mate:
        return QStringLiteral("mate-power-manager");
    case Desktop::lxqt:
        return QStringLiteral("lxqt-powermanagement");
    case Desktop::none:
    case Desktop::other:
        break;
    }
    return {};
}

// The file name of a process's executable; empty when it cannot be read.
QString executableName(quint32 pid)
{
    return QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid))).fileName();
}

// Who holds a lid lock. MATE's power manager signs its lock with the user's
// login name, so a who that names no desktop is looked up by the lock's why
// and by the holder's executable.
LidSwitchOwner::Owner ownerOf(const LogindLock& lock)
{
    using Desktop = LidSwitchOwner::Desktop;
    Desktop desktop = desktopOf(lock.who);
    QString who = lock.who;
    if (desktop == Desktop::other) {
        desktop = desktopOf(lock.why + u' ' + executableName(lock.pid));
        if (desktop != Desktop::other)
            who = holderName(desktop);
    }
    return {desktop, who, desktop == Desktop::xfce};
}

} // namespace

LinuxLidSwitchOwner::LinuxLidSwitchOwner(QDBusConnection sessionBus, QDBusConnection systemBus, QString markerPath)
    : m_session(std::move(sessionBus))
    , m_system(std::move(systemBus))
    , m_markerPath(std::move(markerPath))
{
    restore(); // what a crash left changed
}

LinuxLidSwitchOwner::~LinuxLidSwitchOwner() = default;

QString LinuxLidSwitchOwner::defaultMarkerPath()
{
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (state.isEmpty())
        state = QDir::homePath() + QStringLiteral("/.local/state");
    return state + QStringLiteral("/quillon/xfce-lid-handover");
}

LidSwitchOwner::Owner LinuxLidSwitchOwner::owner()
{
    for (const LogindLock& lock : LogindInhibitorList::fetch(m_system)) {
        // Ours (the fan helper's or this app's), and GNOME's short hold around display changes.
        if (lock.mode != u"block" || !lock.covers(QStringLiteral("handle-lid-switch")) || lock.who == u"Quillon"
            || lock.why.startsWith(QLatin1String("External monitor attached")))
            continue;
        Owner owner = ownerOf(lock);
        if (owner.desktop == Desktop::kde)
            owner.doesNothing = DesktopLidSetting::kdeDoesNothing(m_session, DesktopLidSetting::configHome()).value_or(false);
        else if (owner.desktop == Desktop::mate)
            owner.doesNothing = DesktopLidSetting::mateDoesNothing().value_or(false);
        return owner;
    }
    return {};
}

bool LinuxLidSwitchOwner::handOver(QString& problem)
{
    const QDBusMessage current = m_session.call(
        xfconf(QStringLiteral("GetProperty"), {kChannel, kProperty}), QDBus::Block, DBusTimeouts::activatingCallMs);
    QByteArray before = kWasAbsent;
    if (current.type() == QDBusMessage::ReplyMessage)
        before = current.arguments().value(0).value<QDBusVariant>().variant().toBool() ? "true" : "false";
    if (before == "true")
        return true; // already left to logind; nothing of ours to put back

    // Written first: whatever happens next, a later start can put it back.
    QDir().mkpath(QFileInfo(m_markerPath).path());
    QSaveFile marker(m_markerPath);
    if (!marker.open(QIODevice::WriteOnly) || marker.write(before) != before.size() || !marker.commit()) {
        problem = QStringLiteral("cannot record the setting to put back (%1)").arg(m_markerPath);
        return false;
    }
    const QDBusMessage set = m_session.call(
        xfconf(QStringLiteral("SetProperty"), {kChannel, kProperty, QVariant::fromValue(QDBusVariant(true))}),
        QDBus::Block, DBusTimeouts::activatingCallMs);
    if (set.type() != QDBusMessage::ReplyMessage) {
        QFile::remove(m_markerPath);
        problem = Inhibition::callProblem(set);
        if (problem.isEmpty())
            problem = QStringLiteral("Xfce's settings service (xfconf) is not running");
        return false;
    }
    return true;
}

void LinuxLidSwitchOwner::restore()
{
    QFile marker(m_markerPath);
    if (!marker.open(QIODevice::ReadOnly))
        return;
    const QByteArray before = marker.read(16).trimmed();
    marker.close();
    // xfce4-power-manager does not hear a reset of this property (it only
    // follows values it is sent), so it gets false first, which has it take
    // the lid again; the reset then leaves the setting absent, as it was.
    QDBusMessage reply = m_session.call(xfconf(QStringLiteral("SetProperty"),
                                            {kChannel, kProperty, QVariant::fromValue(QDBusVariant(before == "true"))}),
        QDBus::Block, DBusTimeouts::callMs);
    if (reply.type() == QDBusMessage::ReplyMessage && before == kWasAbsent)
        reply = m_session.call(
            xfconf(QStringLiteral("ResetProperty"), {kChannel, kProperty, false}), QDBus::Block, DBusTimeouts::callMs);
    // Kept for the next start when xfconf cannot be reached now.
    if (reply.type() == QDBusMessage::ReplyMessage)
        QFile::remove(m_markerPath);
}

} // namespace quillon::platform::linux_
