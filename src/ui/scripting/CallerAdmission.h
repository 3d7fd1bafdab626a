#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QHash>
#include <QObject>
#include <QString>
#include <functional>
#include <sys/types.h>

namespace quillon::ui {

// Who may call the scripting interface: only processes that run as the one
// user it serves, since a bus may be open to other users. Each caller's user
// is asked of the bus once, without waiting, and remembered; the memory is
// bounded, so a flood of short-lived callers costs only questions asked again.
//
// Main thread only.
class CallerAdmission : public QObject {
    Q_OBJECT
public:
    enum class Verdict {
        served,
        refused,
        unknown, // not asked yet: ask()
    };

    explicit CallerAdmission(uid_t servedUid, QObject* parent = nullptr);

    // A connection always served and never forgotten (the service's own).
    void trust(const QString& uniqueName);
    Verdict verdict(const QString& caller) const;
    // Asks the bus which user call's sender runs as, remembers it, and then
    // tells done whether it is served (false also when the bus cannot say).
    void ask(QDBusConnection bus, const QDBusMessage& call, std::function<void(bool served)> done);
    // What a refused caller is told.
    static QString refusal();

private:
    static constexpr qsizetype kMaxCallers = 256;

    uid_t m_servedUid;
    QString m_trusted;
    QHash<QString, bool> m_callers; // unique bus name -> runs as the served user
};

} // namespace quillon::ui
