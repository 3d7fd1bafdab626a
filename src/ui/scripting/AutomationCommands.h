#pragma once

#include "DelayedReplies.h"

#include <QObject>
#include <QString>
#include <optional>

namespace quillon::app {
class SleepManager;
class TriggerManager;
} // namespace quillon::app

namespace quillon::ui {

// The scripting interface's automation commands: switching automation, its
// application list, its rules and the apps excluded from the full-screen
// rule. Each returns whether it holds, and sets text to the answer a script
// reads; a change that did not reach the settings file is not done (it
// would not outlast the app). Callers are admitted already. Main thread
// only; manager and replies must outlive this.
class AutomationCommands : public QObject {
    Q_OBJECT
public:
    AutomationCommands(app::SleepManager& manager, DelayedReplies& replies, QObject* parent = nullptr);

    // The answer now, or nullopt when it goes to later once the running
    // applications are known and the desktop has confirmed what the rules
    // hold (only when later is given).
    std::optional<bool> setAutomation(bool on, QString& text, DelayedReplies::Answer later);
    // id: a desktop id; cooling: "silent", "balanced", "max" or "" for none.
    // An app on the list already gets the new cooling.
    bool addApp(const QString& id, const QString& cooling, QString& text);
    bool removeApp(const QString& id, QString& text);
    // rule: "fullscreen" or "media".
    bool setRule(const QString& rule, bool on, QString& text);
    bool setExcluded(const QString& id, bool add, QString& text);

private:
    app::TriggerManager& triggers() const;
    // After automation was switched: the answer now, or nullopt when it goes
    // to later once the desktop has confirmed what the rules hold.
    std::optional<bool> settle(bool on, QString& text, DelayedReplies::Answer later);
    // What automation holds now, switched on or off.
    bool answer(bool on, QString& text) const;
    // False, with the reason added to text, when the change just made did not
    // reach the settings file.
    bool saved(QString& text) const;

    app::SleepManager& m_manager;
    DelayedReplies& m_replies;
};

} // namespace quillon::ui
