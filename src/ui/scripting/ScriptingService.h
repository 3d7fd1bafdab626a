#pragma once

#include "ui/scripting/AutomationCommands.h"
#include "ui/scripting/AwakeCommands.h"
#include "ui/scripting/CallerAdmission.h"
#include "ui/scripting/DelayedReplies.h"
#include "ui/scripting/FanCommands.h"
#include "ui/scripting/StatusReport.h"
#include "ui/tray/IconState.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <unistd.h>

namespace quillon::app {
class HelperLink;
class SleepManager;
class SleepAssertions;
struct InstallResult;
class TriggerManager;
} // namespace quillon::app

namespace quillon::ui {

// The running app's scripting interface, org.quillon.Quillon at
// /org/quillon/Quillon on the session bus (data/dbus/org.quillon.Quillon.xml;
// the adaptor generated from it calls the methods below). Every method does
// what the panel's control for it does, through the same model calls.
//
// It serves only the user it runs as: a bus may be open to other users, and
// their calls are refused. Each caller's user is asked of the bus once,
// asynchronously; a first call waits for that answer, never the GUI thread.
class ScriptingService : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    static constexpr const char* kService = "org.quillon.Quillon";
    static constexpr const char* kObjectPath = "/org/quillon/Quillon";

    struct Hooks {
        std::function<IconState()> iconState;
        std::function<void()> showPanel;
        std::function<void()> showSettings;
        std::function<void()> quit;
        std::function<StatusReport::HotkeyStatus()> hotkeys; // may be empty: reported off
        // The settings window's uninstall, confirmed: done hears its outcome
        // once; after `success` the app quits. May be empty: refused.
        std::function<void(std::function<void(const app::InstallResult&)> done)> uninstall;
    };

    // servedUid: the one user whose calls are served.
    ScriptingService(app::SleepManager& manager, app::HelperLink& link, Hooks hooks, uid_t servedUid = ::getuid(),
        QObject* parent = nullptr);

    // Exports the object and takes the name; false (with the reason) when
    // the bus is missing or another instance holds the name.
    bool registerOn(QDBusConnection bus, QString& error);

public:
    // The interface's methods, called by the generated adaptor.
    QString Status();
    bool StayAwake(const QStringList& kinds, const QString& until, QString& text);
    bool StopAwake(QString& text);
    bool FansOff(QString& text);
    bool FansAuto(const QString& profile, QString& text);
    bool FansManual(double percent, double seconds, QString& text);
    bool SetLid(bool on, QString& text);
    bool SetRenderMode(bool on, QString& text);
    bool CheckForUpdates(QString& text);
    bool Reset(QString& text);
    bool AwakeWhile(qint64 pid, QString& text);
    bool Pause(const QString& until, QString& text);
    bool Resume(QString& text);
    bool SetAutomation(bool on, QString& text);
    bool AddAutomationApp(const QString& id, const QString& cooling, QString& text);
    bool RemoveAutomationApp(const QString& id, QString& text);
    bool SetAutomationRule(const QString& rule, bool on, QString& text);
    bool SetExcludedApp(const QString& id, bool add, QString& text);
    // These two answer once their flow has ended, which includes the time
    // the user takes in the password dialog.
    bool InstallHelper(bool update, QString& text);
    bool Uninstall(QString& text);
    void ShowPanel();
    void ShowSettings();
    void Quit();

private:
    // Whether the current call may be served now. When not, it is answered
    // later (once its caller's user is known) or refused, and the method
    // returns at once with a value nobody reads.
    bool admitted();
    // Serves a call whose caller has just been admitted: the flows that
    // answer later themselves, or the method called again, by itself.
    void serveAdmitted(QDBusConnection bus, const QDBusMessage& call);
    // Answers a Status call once the report is whole.
    void statusFor(QDBusConnection bus, QDBusMessage call);
    // Answers call later, with (ok, text) from the outcome; then, after a
    // success, runs after when given.
    std::function<void(const app::InstallResult&)> laterReply(
        QDBusConnection bus, QDBusMessage call, const QString& doneText, std::function<void()> after = {});
    // The flows that wait for the password dialog: they answer call themselves.
    void installHelperFor(bool update, QDBusConnection bus, QDBusMessage call);
    void uninstallFor(QDBusConnection bus, QDBusMessage call);

    app::SleepManager& m_manager;
    app::HelperLink& m_link;
    Hooks m_hooks;
    CallerAdmission m_admission;
    DelayedReplies m_replies;
    AwakeCommands m_awake;
    FanCommands m_fans;
    AutomationCommands m_automation;
};

} // namespace quillon::ui
