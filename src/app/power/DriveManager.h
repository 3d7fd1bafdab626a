#pragma once

#include "DriveItem.h"
#include "platform/DriveToucher.h"
#include "platform/VolumeSource.h"

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <memory>

namespace quillon::platform {
class Clock;
} // namespace quillon::platform

namespace quillon::app {

class Settings;

// Drive keep-alive: while switched on, touches each chosen volume every
// intervalSeconds with a short read-only access (a listing of its top
// directory, and an uncached read of a small file when the listing came from
// the cache), so that external drives do not spin down during long work.
// Nothing is ever written to a drive. A chosen drive that is not mounted is
// skipped silently and stays chosen.
//
// The switch, the list and the interval are stored in the settings
// ("drivealive.*") as they change, and loaded at construction; a loaded
// active state starts the timer at once.
//
// Main thread only. Each touch runs on a thread of its own, so that a drive
// spinning up never stalls the menu and a hung one (a dead network or FUSE
// mount) never holds up the others; each result comes back to the main
// thread as drivePoked(). A touch still out after touchDeadlineMs marks its
// drive not reachable; it is left out of the rounds until that touch comes
// back. The timer calls poke(); tests call it directly.
class DriveManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY enabledChanged)
    Q_PROPERTY(QList<quillon::app::DriveItem> drives READ drives NOTIFY drivesChanged)
    Q_PROPERTY(int intervalSeconds READ intervalSeconds WRITE setIntervalSeconds NOTIFY intervalSecondsChanged)
    Q_PROPERTY(bool active READ active NOTIFY activeChanged)
    Q_PROPERTY(QDateTime nextPokeAt READ nextPokeAt NOTIFY nextPokeAtChanged)
    Q_PROPERTY(QList<quillon::app::DriveItem> availableDrives READ availableDrives NOTIFY availableDrivesChanged)

public:
    // A drive spins up in a few seconds; one that has not answered after
    // this long will not answer the next round either.
    static constexpr int touchDeadlineDefaultMs = 10000;

    // settings and clock are required and must outlive the manager; the
    // toucher is required and shared, so that touches still under way keep
    // it alive. Without volumes, availableDrives() stays empty.
    struct Parts {
        Settings* settings = nullptr;
        const platform::Clock* clock = nullptr;
        std::shared_ptr<platform::VolumeSource> volumes;
        std::shared_ptr<platform::DriveToucher> toucher;
        int touchDeadlineMs = touchDeadlineDefaultMs;
    };

    explicit DriveManager(Parts parts, QObject* parent = nullptr);
    ~DriveManager() override;

    bool enabled() const { return m_enabled; }
    void setEnabled(bool on);
    const QList<DriveItem>& drives() const { return m_drives; }
    int intervalSeconds() const { return m_intervalSeconds; }
    // Any positive number of seconds; anything else is ignored.
    void setIntervalSeconds(int seconds);
    // Switched on and at least one drive chosen: the timer runs.
    bool active() const { return m_enabled && !m_drives.isEmpty(); }
    // When the timer fires next; invalid while not active.
    QDateTime nextPokeAt() const { return m_nextPokeAt; }

    // Adds a drive unless its path is already chosen.
    Q_INVOKABLE void add(const quillon::app::DriveItem& item);
    // Removes the drive with this path.
    Q_INVOKABLE void remove(const quillon::app::DriveItem& item);
    // The mounted external volumes the user may choose from, never "/",
    // named by label (or the mount directory's name), sorted by name as the
    // user's language sorts, ignoring case: as last listed, empty until then.
    const QList<DriveItem>& availableDrives() const { return m_available; }
    // Lists the volumes again without waiting; availableDrivesChanged() tells
    // when the new list is in. Asking while a listing is under way only waits
    // for that one.
    Q_INVOKABLE void refreshAvailableDrives();

    // Touches every chosen drive once, off the main thread. A drive whose
    // previous touch has not come back yet is left out this time.
    void poke();
    // Whether the chosen drive at this path answered its last touch in time
    // (true until a touch has taken longer than the deadline).
    bool reachable(const QString& path) const { return !m_unreachable.contains(path); }

signals:
    void enabledChanged();
    void drivesChanged();
    void intervalSecondsChanged();
    void activeChanged();
    void nextPokeAtChanged();
    void availableDrivesChanged();
    // One touch came back (main thread).
    void drivePoked(const QString& path, quillon::platform::DriveTouchOutcome outcome);
    // A drive became reachable or not.
    void reachabilityChanged();

private:
    struct Mailbox;

    void timerFired();
    void reschedule();
    void storeDrives();
    void setNextPokeAt(const QDateTime& at);
    void touchFinished(const QString& path, platform::DriveTouchOutcome outcome);
    void touchOverdue(const QString& path, quint64 touch);
    void volumesListed(const QList<platform::MountedVolume>& volumes);

    Settings& m_settings;
    const platform::Clock& m_clock;
    std::shared_ptr<platform::VolumeSource> m_volumes;
    std::shared_ptr<platform::DriveToucher> m_toucher;
    std::shared_ptr<Mailbox> m_mailbox;

    bool m_enabled = false;
    QList<DriveItem> m_drives;
    int m_intervalSeconds = 60;
    QTimer m_timer{this};
    QDateTime m_nextPokeAt;
    int m_touchDeadlineMs;
    QHash<QString, quint64> m_inFlight; // path -> its touch's serial number
    quint64 m_touches = 0;
    QSet<QString> m_unreachable;
    QList<DriveItem> m_available;
    bool m_listing = false;
};

} // namespace quillon::app
