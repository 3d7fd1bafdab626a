#pragma once

#include "platform/ExternalDisplays.h"
#include "platform/FullScreenWindows.h"
#include "platform/MediaPlayback.h"
#include "platform/ProcessWatcher.h"
#include "platform/RunningApps.h"

#include <QHash>
#include <QSet>

namespace quillon::test {

// Installed applications and running ones, as the test says; counts the look-ups.
class FakeRunningApps : public platform::RunningApps {
public:
    QList<App> apps;
    QSet<QString> runningIds;
    int lookups = 0;
    bool answerLater = false; // lookUp() waits for answer(), as the real probes' worker does
    QList<QStringList> asked;

    QSet<QString> running(const QStringList& ids) override
    {
        ++lookups;
        QSet<QString> found;
        for (const QString& id : ids) {
            if (runningIds.contains(id))
                found.insert(id);
        }
        return found;
    }
    void lookUp(const QStringList& ids) override
    {
        if (!answerLater) {
            RunningApps::lookUp(ids);
            return;
        }
        asked.append(ids);
    }
    // Answers the oldest look-up still open.
    void answer()
    {
        if (!asked.isEmpty())
            emit found(running(asked.takeFirst()));
    }
    QList<App> installed() override { return apps; }
    std::optional<App> find(const QString& id) override
    {
        for (const App& app : apps) {
            if (app.id == id)
                return app;
        }
        return std::nullopt;
    }
    // Windows by pid, each of the application with that id.
    QHash<qint64, QString> windowApps;
    QString appOfWindow(qint64 pid, const QString&, const QStringList& ids) override
    {
        return ids.contains(windowApps.value(pid)) ? windowApps.value(pid) : QString();
    }
    // An application starts or ends, and the system says so.
    void set(const QString& id, bool runs)
    {
        if (runs)
            runningIds.insert(id);
        else
            runningIds.remove(id);
        emit changed();
    }
};

// An external display the test plugs in and out, with or without the screen signal.
class FakeExternalDisplays : public platform::ExternalDisplays {
public:
    bool present = false;
    bool connected() override { return present; }
};

// The active window, full screen or not, as the test says; seen only while watched.
class FakeFullScreenWindows : public platform::FullScreenWindows {
public:
    Support supported = Support::available;
    bool watching = false;
    std::optional<Window> window;

    Support support() const override { return supported; }
    void setWatching(bool on) override { watching = on; }
    std::optional<Window> current() override { return watching ? window : std::nullopt; }
    void show(std::optional<Window> now)
    {
        window = std::move(now);
        emit changed();
    }
};

// Players playing, as the test says; heard only while watched.
class FakeMediaPlayback : public platform::MediaPlayback {
public:
    bool watching = false;
    QStringList players;

    void setWatching(bool on) override { watching = on; }
    QStringList playing() const override { return watching ? players : QStringList(); }
    bool available() const override { return true; }
    void play(const QStringList& now)
    {
        players = now;
        emit changed();
    }
};

// Processes the test starts and ends by pid.
class FakeProcessWatcher : public platform::ProcessWatcher {
public:
    QSet<qint64> alive;
    QSet<qint64> watched;

    QString watch(qint64 pid, QString& problem) override
    {
        if (!alive.contains(pid)) {
            problem = QStringLiteral("no process %1 is running").arg(pid);
            return {};
        }
        watched.insert(pid);
        return QStringLiteral("proc%1").arg(pid);
    }
    void unwatch(qint64 pid) override { watched.remove(pid); }
    void end(qint64 pid)
    {
        alive.remove(pid);
        if (watched.remove(pid))
            emit exited(pid);
    }
};

} // namespace quillon::test
