#pragma once

#include "DelayedReplies.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>

namespace quillon::app {
class SleepManager;
}

namespace quillon::ui {

// The scripting interface's keep-awake commands, doing what the panel's
// controls do: each returns whether it holds and sets text to the answer a
// script reads (what holds, or why not). Callers are admitted already.
// Main thread only; manager and replies must outlive this.
class AwakeCommands {
public:
    AwakeCommands(app::SleepManager& manager, DelayedReplies& replies);

    // kinds ("system", "display", "network") until an ISO 8601 time ("":
    // until turned off). The answer now, or nullopt when it goes to later
    // once the desktop has confirmed or refused (only when later is given).
    std::optional<bool> stayAwake(
        const QStringList& kinds, const QString& until, QString& text, DelayedReplies::Answer later);
    bool stop(QString& text);
    // Keeps system and display awake while process pid runs.
    bool awakeWhile(qint64 pid, QString& text);
    // until: an ISO 8601 time still to come, or "" for until resumed.
    bool pause(const QString& until, QString& text);
    bool resume(QString& text);

private:
    bool answer(const QStringList& kinds, const QDateTime& end, QString& text) const;

    app::SleepManager& m_manager;
    DelayedReplies& m_replies;
};

} // namespace quillon::ui
