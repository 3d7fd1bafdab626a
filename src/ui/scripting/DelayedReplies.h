#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

namespace quillon::app {
class SleepAssertions;
}

namespace quillon::ui {

// Scripting calls that are answered later, once the desktop has confirmed or
// refused what they asked for, without anything waiting meanwhile.
//
// Main thread only.
class DelayedReplies : public QObject {
    Q_OBJECT
public:
    // A call's answer (ok, text).
    using Answer = std::function<void(bool ok, const QString& text)>;
    // Below the ctl client's 10 s wait; long enough for PowerDevil's 5 s.
    static constexpr int answerWithinMs = 8000;

    using QObject::QObject;

    // Sends call's answer on bus.
    static Answer replyTo(QDBusConnection bus, QDBusMessage call);
    // The kinds the holder has asked for that the desktop has not yet
    // confirmed or refused. One that nothing can confirm (a portal's) is as
    // settled as it gets, and not among them.
    static QStringList confirming(const app::SleepAssertions& holder);
    // "; asked for, not yet confirmed: …" and, per kind asked where nothing
    // can confirm it, through what and why; empty when nothing is.
    static QString unconfirmedNotes(const app::SleepAssertions& holder);
    // Answers with compose() once nothing of holder's is being confirmed any
    // more, or after answerWithinMs with what holds by then; once either way.
    void answerOnceConfirmed(
        const app::SleepAssertions& holder, std::function<bool(QString& text)> compose, Answer later);
};

} // namespace quillon::ui
