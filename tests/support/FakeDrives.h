#pragma once

#include "platform/DriveToucher.h"
#include "platform/VolumeSource.h"

#include <QMap>
#include <QSet>
#include <QThread>
#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

namespace quillon::test {

// Volumes as the test lists them, answered at once, or, while held, when
// answerHeld() is called (a slow system).
class FakeVolumeSource : public platform::VolumeSource {
public:
    void askExternalVolumes(Answer answer) override
    {
        ++asked;
        if (held)
            m_waiting.push_back(std::move(answer));
        else
            answer(volumes);
    }
    void answerHeld()
    {
        for (const Answer& answer : std::exchange(m_waiting, {}))
            answer(volumes);
    }

    QList<platform::MountedVolume> volumes;
    bool held = false;
    int asked = 0;

private:
    std::vector<Answer> m_waiting;
};

// Records every touch with the thread it ran on and answers with the outcome
// set for its path (listed by default). hold(path) keeps touches of that path
// waiting (a hung drive) until release(). Called from worker threads.
class FakeDriveToucher : public platform::DriveToucher {
public:
    struct Touch {
        QString path;
        QThread* thread;
    };

    platform::DriveTouchOutcome touch(const QString& path) override
    {
        std::unique_lock lock(m_mutex);
        m_touches.push_back({path, QThread::currentThread()});
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return !m_held.contains(path); });
        return m_outcomes.value(path, platform::DriveTouchOutcome::listed);
    }

    void setOutcome(const QString& path, platform::DriveTouchOutcome outcome)
    {
        std::lock_guard lock(m_mutex);
        m_outcomes[path] = outcome;
    }
    void hold(const QString& path)
    {
        std::lock_guard lock(m_mutex);
        m_held.insert(path);
    }
    void release()
    {
        std::lock_guard lock(m_mutex);
        m_held.clear();
        m_changed.notify_all();
    }
    // Touches of this path begun so far.
    size_t touchesOf(const QString& path) const
    {
        std::lock_guard lock(m_mutex);
        return std::count_if(m_touches.begin(), m_touches.end(), [&](const Touch& t) { return t.path == path; });
    }
    // Waits until count touches have begun (or a second has passed).
    bool waitForTouches(size_t count)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(1), [&] { return m_touches.size() >= count; });
    }
    std::vector<Touch> touches() const
    {
        std::lock_guard lock(m_mutex);
        return m_touches;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Touch> m_touches;
    QMap<QString, platform::DriveTouchOutcome> m_outcomes;
    QSet<QString> m_held;
};

} // namespace quillon::test
