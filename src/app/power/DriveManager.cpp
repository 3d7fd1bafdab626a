#include "DriveManager.h"

#include "app/Settings.h"
#include "platform/Clock.h"
#include "platform/VolumeSource.h"

#include <QCollator>
#include <QFileInfo>
#include <QMutex>
#include <QPointer>
#include <algorithm>
#include <chrono>
#include <climits>
#include <thread>

namespace quillon::app {

// Where workers deliver their results. A worker posts only while holding the
// lock and only while the manager is there, so a result can never reach a
// destroyed manager; the manager drops the target under the same lock.
struct DriveManager::Mailbox {
    QMutex mutex;
    DriveManager* target = nullptr;
};

DriveManager::DriveManager(Parts parts, QObject* parent)
    : QObject(parent)
    , m_settings(*parts.settings)
    , m_clock(*parts.clock)
    , m_volumes(std::move(parts.volumes))
    , m_toucher(std::move(parts.toucher))
    , m_mailbox(std::make_shared<Mailbox>())
    , m_touchDeadlineMs(parts.touchDeadlineMs)
{
    m_mailbox->target = this;
    m_enabled = m_settings.flag(Settings::Key::driveAliveEnabled);
    bool complete = true;
    m_drives = DriveItem::decodeList(m_settings.jsonArray(Settings::Key::driveAliveDrives), &complete);
    if (!complete)
        m_settings.keepUnreadable(Settings::Key::driveAliveDrives);
    m_intervalSeconds = m_settings.driveAliveIntervalS();
    m_timer.setTimerType(Qt::CoarseTimer);
    connect(&m_timer, &QTimer::timeout, this, &DriveManager::timerFired);
    reschedule();
}

DriveManager::~DriveManager()
{
    QMutexLocker lock(&m_mailbox->mutex);
    m_mailbox->target = nullptr;
}

void DriveManager::setEnabled(bool on)
{
    if (on == m_enabled)
        return;
    m_enabled = on;
    m_settings.setFlag(Settings::Key::driveAliveEnabled, on);
    emit enabledChanged();
    reschedule();
}

void DriveManager::setIntervalSeconds(int seconds)
{
    if (seconds <= 0 || seconds == m_intervalSeconds)
        return;
    m_intervalSeconds = seconds;
    m_settings.setDriveAliveIntervalS(seconds);
    emit intervalSecondsChanged();
    reschedule();
}

void DriveManager::add(const DriveItem& item)
{
    const bool listed = std::any_of(
        m_drives.cbegin(), m_drives.cend(), [&](const DriveItem& drive) { return drive.path == item.path; });
    if (listed)
        return;
    m_drives.append(item);
    storeDrives();
}

void DriveManager::remove(const DriveItem& item)
{
    if (m_drives.removeIf([&](const DriveItem& drive) { return drive.path == item.path; }) == 0)
        return;
    if (m_unreachable.remove(item.path))
        emit reachabilityChanged();
    storeDrives();
}

void DriveManager::storeDrives()
{
    m_settings.setJsonArray(Settings::Key::driveAliveDrives, DriveItem::encodeList(m_drives));
    emit drivesChanged();
    reschedule();
}

void DriveManager::refreshAvailableDrives()
{
    if (!m_volumes || m_listing)
        return;
    m_listing = true;
    m_volumes->askExternalVolumes([self = QPointer(this)](const QList<platform::MountedVolume>& volumes) {
        if (self)
            self->volumesListed(volumes);
    });
}

void DriveManager::volumesListed(const QList<platform::MountedVolume>& volumes)
{
    m_listing = false;
    QList<DriveItem> items;
    for (const auto& volume : volumes) {
        if (volume.mountPath.isEmpty() || volume.mountPath == QLatin1String("/"))
            continue;
        const QString name = volume.name.isEmpty() ? QFileInfo(volume.mountPath).fileName() : volume.name;
        items.append({volume.mountPath, name.isEmpty() ? volume.mountPath : name});
    }
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(items.begin(), items.end(),
        [&](const DriveItem& a, const DriveItem& b) { return collator.compare(a.name, b.name) < 0; });
    m_available = items;
    emit availableDrivesChanged();
}

void DriveManager::reschedule()
{
    const bool wasActive = m_timer.isActive();
    m_timer.stop();
    if (active()) {
        // QTimer counts in int milliseconds; anything longer than ~24 days
        // fires at that bound instead (and touches a little early).
        const qint64 ms = std::min<qint64>(qint64{m_intervalSeconds} * 1000, INT_MAX);
        m_timer.start(std::chrono::milliseconds(ms));
        setNextPokeAt(m_clock.now().addSecs(m_intervalSeconds));
    } else {
        setNextPokeAt({});
    }
    if (wasActive != m_timer.isActive())
        emit activeChanged();
}

void DriveManager::setNextPokeAt(const QDateTime& at)
{
    if (at == m_nextPokeAt)
        return;
    m_nextPokeAt = at;
    emit nextPokeAtChanged();
}

void DriveManager::timerFired()
{
    poke();
    setNextPokeAt(m_clock.now().addSecs(m_intervalSeconds));
}

void DriveManager::poke()
{
    for (const DriveItem& drive : std::as_const(m_drives)) {
        if (m_inFlight.contains(drive.path))
            continue;
        const quint64 touch = ++m_touches;
        m_inFlight.insert(drive.path, touch);
        QTimer::singleShot(m_touchDeadlineMs, this, [this, path = drive.path, touch] { touchOverdue(path, touch); });
        // The existence check is part of the touch, on the worker: even a
        // stat of a wedged drive must not block the main thread. Detached:
        // nothing ever waits for a touch, quitting least of all.
        std::thread([toucher = m_toucher, mailbox = m_mailbox, path = drive.path] {
            const auto outcome = toucher->touch(path);
            QMutexLocker lock(&mailbox->mutex);
            if (DriveManager* target = mailbox->target) {
                QMetaObject::invokeMethod(
                    target, [target, path, outcome] { target->touchFinished(path, outcome); }, Qt::QueuedConnection);
            }
        }).detach();
    }
}

void DriveManager::touchOverdue(const QString& path, quint64 touch)
{
    if (m_inFlight.value(path) != touch || m_unreachable.contains(path))
        return;
    m_unreachable.insert(path);
    emit reachabilityChanged();
}

void DriveManager::touchFinished(const QString& path, platform::DriveTouchOutcome outcome)
{
    m_inFlight.remove(path);
    if (m_unreachable.remove(path))
        emit reachabilityChanged();
    emit drivePoked(path, outcome);
}

} // namespace quillon::app
