#include "LinuxLidSwitchOwner.h"

#include "DBusAsync.h"
#include "DBusTimeouts.h"
#include "DesktopLidSetting.h"
#include "Inhibition.h"
#include "LogindInhibitorList.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTimer>
#include <algorithm>

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

LinuxLidSwitchOwner::~LinuxLidSwitchOwner()
{
    // The app is quitting: a setting on its way back is seen through, as
    // there is nothing left to draw. The marker stays; the next start puts
    // back whatever step is still missing (setting a value twice is harmless).
    for (QDBusPendingCall& call : m_restoring)
        call.waitForFinished();
}

QString LinuxLidSwitchOwner::defaultMarkerPath()
{
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (state.isEmpty())
        state = QDir::homePath() + QStringLiteral("/.local/state");
    return state + QStringLiteral("/quillon/xfce-lid-handover");
}

void LinuxLidSwitchOwner::askOwner(OwnerAnswer done)
{
    LogindInhibitorList::ask(
        m_system, &m_calls, [this, done = std::move(done)](const QList<LogindLock>& locks, const QString&) {
            for (const LogindLock& lock : locks) {
                // Ours (the fan helper's or this app's), and GNOME's short hold around display changes.
                if (lock.mode != u"block" || !lock.covers(QStringLiteral("handle-lid-switch")) || lock.who == u"Quillon"
                    || lock.why.startsWith(QLatin1String("External monitor attached")))
                    continue;
                Owner owner = ownerOf(lock);
                if (owner.desktop == Desktop::kde) {
                    DesktopLidSetting::askKdeDoesNothing(
                        m_session, DesktopLidSetting::configHome(), &m_calls, [owner, done](std::optional<bool> nothing) mutable {
                            owner.doesNothing = nothing.value_or(false);
                            done(owner);
                        });
                    return;
                }
                if (owner.desktop == Desktop::mate)
                    owner.doesNothing = DesktopLidSetting::mateDoesNothing().value_or(false);
                done(owner);
                return;
            }
            done({});
        });
}

void LinuxLidSwitchOwner::handOver(HandOverAnswer done)
{
    const auto asked = DBusAsync::call(
        m_session, xfconf(QStringLiteral("GetProperty"), {kChannel, kProperty}), DBusTimeouts::activatingCallMs);
    auto* watcher = new QDBusPendingCallWatcher(asked, &m_calls);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &m_calls,
        [this, done = std::move(done)](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusMessage current = finished->reply();
            QByteArray before = kWasAbsent;
            if (current.type() == QDBusMessage::ReplyMessage) {
                before = current.arguments().value(0).value<QDBusVariant>().variant().toBool() ? "true" : "false";
            } else if (current.errorName() == QDBusError::errorString(QDBusError::NoReply)
                || current.errorName() == QDBusError::errorString(QDBusError::Timeout)) {
                // An unset property is an error too; a service that hangs is not asked on.
                done(false, QStringLiteral("Xfce's settings service (xfconf) did not answer in time"));
                return;
            }
            if (before == "true") {
                done(true, {}); // already left to logind; nothing of ours to put back
                return;
            }
            setHandingOver(before, done);
        });
}

void LinuxLidSwitchOwner::setHandingOver(const QByteArray& before, const HandOverAnswer& done)
{
    // Written first: whatever happens next, a later start can put it back.
    QDir().mkpath(QFileInfo(m_markerPath).path());
    QSaveFile marker(m_markerPath);
    if (!marker.open(QIODevice::WriteOnly) || marker.write(before) != before.size() || !marker.commit()) {
        done(false, QStringLiteral("cannot record the setting to put back (%1)").arg(m_markerPath));
        return;
    }
    const auto set = DBusAsync::call(m_session,
        xfconf(QStringLiteral("SetProperty"), {kChannel, kProperty, QVariant::fromValue(QDBusVariant(true))}),
        DBusTimeouts::activatingCallMs);
    auto* watcher = new QDBusPendingCallWatcher(set, &m_calls);
    QObject::connect(
        watcher, &QDBusPendingCallWatcher::finished, &m_calls, [this, done](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusMessage reply = finished->reply();
            if (reply.type() == QDBusMessage::ReplyMessage) {
                done(true, {});
                return;
            }
            QFile::remove(m_markerPath);
            QString problem = Inhibition::callProblem(reply);
            if (problem.isEmpty())
                problem = QStringLiteral("Xfce's settings service (xfconf) is not running");
            done(false, problem);
        });
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
    // the lid again. A reset that reaches it before it has acted on the false
    // loses the false too, so the reset waits until its lid lock is back.
    const auto set = DBusAsync::call(m_session,
        xfconf(
            QStringLiteral("SetProperty"), {kChannel, kProperty, QVariant::fromValue(QDBusVariant(before == "true"))}),
        DBusTimeouts::callMs);
    m_restoring << set;
    auto* watcher = new QDBusPendingCallWatcher(set, &m_calls);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &m_calls,
        [this, absent = before == kWasAbsent](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            forgetFinished();
            // Kept for the next start when xfconf cannot be reached now.
            if (finished->isError())
                return;
            if (absent)
                resetOnceTaken(QDeadlineTimer(kRetakeWaitMs));
            else
                QFile::remove(m_markerPath);
        });
}

void LinuxLidSwitchOwner::resetOnceTaken(QDeadlineTimer deadline)
{
    askOwner([this, deadline](const Owner& owner) {
        if (owner.desktop != Desktop::xfce && !deadline.hasExpired()) {
            QTimer::singleShot(kRetakePollMs, &m_calls, [this, deadline] { resetOnceTaken(deadline); });
            return;
        }
        const auto reset = DBusAsync::call(
            m_session, xfconf(QStringLiteral("ResetProperty"), {kChannel, kProperty, false}), DBusTimeouts::callMs);
        m_restoring << reset;
        auto* watcher = new QDBusPendingCallWatcher(reset, &m_calls);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &m_calls, [this](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            forgetFinished();
            if (!finished->isError())
                QFile::remove(m_markerPath);
        });
    });
}

void LinuxLidSwitchOwner::forgetFinished()
{
    m_restoring.removeIf([](const QDBusPendingCall& call) { return call.isFinished(); });
}

} // namespace quillon::platform::linux_
