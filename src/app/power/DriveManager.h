#pragma once

#include "DriveItem.h"
#include "platform/DriveToucher.h"

#include <QDateTime>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <memory>

namespace quillon::platform {
class Clock;
class VolumeSource;
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
// Main thread only. The touches run on a worker pool so that a drive
// spinning up never stalls the menu; each result comes back to the main
// thread as drivePoked(). The timer calls poke(); tests call it directly.
class DriveManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool enabled READ enabled WRITE setEnabled NOTIFY enabledChanged)
    Q_PROPERTY(QList<quillon::app::DriveItem> drives READ drives NOTIFY drivesChanged)
    Q_PROPERTY(int intervalSeconds READ intervalSeconds WRITE setIntervalSeconds NOTIFY intervalSecondsChanged)
    Q_PROPERTY(bool active READ active NOTIFY activeChanged)
    Q_PROPERTY(QDateTime nextPokeAt READ nextPokeAt NOTIFY nextPokeAtChanged)

public:
    // settings and clock are required and must outlive the manager; the
    // toucher is required and shared, so that touches still under way keep
    // it alive. Without volumes, availableDrives() offers nothing.
    struct Parts {
        Settings* settings = nullptr;
        const platform::Clock* clock = nullptr;
        std::shared_ptr<platform::VolumeSource> volumes;
        std::shared_ptr<platform::DriveToucher> toucher;
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
    // user's language sorts, ignoring case. Blocks briefly (see VolumeSource).
    Q_INVOKABLE QList<quillon::app::DriveItem> availableDrives() const;

    // Touches every chosen drive once, off the main thread. A drive whose
    // previous touch has not come back yet is left out this time.
    void poke();

signals:
    void enabledChanged();
    void drivesChanged();
    void intervalSecondsChanged();
    void activeChanged();
    void nextPokeAtChanged();
    // One touch came back (main thread).
    void drivePoked(const QString& path, quillon::platform::DriveTouchOutcome outcome);

private:
    struct Mailbox;

    void timerFired();
    void reschedule();
    void storeDrives();
    void setNextPokeAt(const QDateTime& at);
    void touchFinished(const QString& path, platform::DriveTouchOutcome outcome);

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
    QSet<QString> m_inFlight;
};

} // namespace quillon::app
