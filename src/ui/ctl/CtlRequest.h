#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>
#include <variant>

namespace quillon::ui {

// One `quillon ctl` command line, checked and resolved: durations and times
// become absolute end times (in the caller's time zone), kinds and profiles
// are known names, percentages are in range.
struct CtlRequest {
    enum class Verb {
        help,
        status,
        awake,
        awakeOff,
        fansOff,
        fansAuto,
        fansManual,
        lid,
        render,
        updateCheck, // one update check, waited for
        reset,
        awakeWhile, // keep awake while a running process lives
        awakeRun,   // run a command and keep awake until it ends
        automation, // the master switch
        autoAdd,
        autoRemove,
        autoRule,      // the full-screen or media rule on or off
        autoExclude,   // an application whose full screen does not count
        autoInclude,   // ... counts again
        settings,      // open the settings window
        helperInstall, // the fan helper, through the password dialog
        helperUpdate,
        uninstall, // the helper and the app, through the password dialog
        pause,     // keep-awake paused, for a while or until resumed
        resume,
    };

    Verb verb = Verb::help;
    QStringList kinds;         // awake: system, display, network
    QDateTime until;           // awake: the end; invalid = until turned off; pause: invalid = until resumed
    QString profile;           // fansAuto: empty = keep the chosen one
    double percent = 0;        // fansManual: 0..100
    double boostSeconds = 0;   // fansManual: 0 = the last boost length
    bool on = false;           // lid, render
    qint64 pid = 0;            // awakeWhile
    QStringList command;       // awakeRun: the program and its arguments
    bool automationOn = false; // automation, autoRule
    QString appId;             // autoAdd, autoRemove, autoExclude, autoInclude: a desktop-entry id
    QString cooling;           // autoAdd: empty = none
    QString rule;              // autoRule: "fullscreen" or "media"

    // A usage error: what was wrong.
    struct Error {
        QString message;
    };

    // args: what follows "ctl". now: for --for and --until.
    static std::variant<CtlRequest, Error> parse(const QStringList& args, const QDateTime& now);

    // "90s", "45m", "1h30m", "2d": whole units in the order d, h, m, s; more than 0 s.
    static std::optional<qint64> parseDuration(const QString& text);
    // "HH:MM" (the next such time, today or tomorrow), "YYYY-MM-DDTHH:MM[:SS]"
    // or "YYYY-MM-DD HH:MM[:SS]" in local time; none when it does not parse.
    static std::optional<QDateTime> parseTime(const QString& text, const QDateTime& now);

    // The verbs and their options.
    static QString usage();
};

} // namespace quillon::ui
