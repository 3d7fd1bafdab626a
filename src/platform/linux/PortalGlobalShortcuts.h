#pragma once

#include "platform/GlobalShortcuts.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QVariantMap>
#include <memory>

class QTimer;

namespace quillon::platform::linux_ {

// org.freedesktop.portal.GlobalShortcuts on the session bus. Registering:
// check that the portal exposes the interface (its "version" property), open
// a session (CreateSession, whose Request's Response names the session) and
// bind the shortcuts to it (BindShortcuts, "LOGO+ALT+k" as the preferred
// trigger: the desktop may let the user rebind them). Held once the bind's
// Response says success; a Response other than 0, or none within answerMs,
// fails the registration and closes the session. Activated signals of our
// session are reported by shortcut id. Unregistering closes the session.
class PortalGlobalShortcuts : public GlobalShortcuts {
    Q_OBJECT
public:
    static constexpr int defaultAnswerMs = 2000;

    explicit PortalGlobalShortcuts(
        QDBusConnection sessionBus, int answerMs = defaultAnswerMs, QObject* parent = nullptr);
    ~PortalGlobalShortcuts() override;

    void registerShortcuts(const QList<Shortcut>& shortcuts) override;
    void unregisterShortcuts() override;
    State state() const override { return m_state; }
    // How long the next registration waits for each Response.
    void setAnswerMs(int ms) { m_answerMs = ms; }

    // "LOGO+ALT+k": the portal's trigger text for Super+Alt+key.
    static QString triggerFor(char key);

private slots:
    void onResponse(quint32 response, const QVariantMap& results);
    void onActivated(const QDBusObjectPath& session, const QString& id, qulonglong timestamp, const QVariantMap&);

private:
    enum class Step {
        idle,
        probing,
        creatingSession,
        binding,
        bound
    };

    void probed(bool present, const QString& problem);
    void createSession();
    void bindShortcuts();
    // Waits for the Response of the request the portal will make at
    // .../request/<us>/<token>: listening starts before the call goes out.
    QString awaitRequest(const QString& token);
    void stopAwaiting();
    void fail(const QString& problem);
    void closeSession();
    void setState(State state);
    QString nextToken();

    QDBusConnection m_bus;
    int m_answerMs;
    QList<Shortcut> m_shortcuts;
    Step m_step = Step::idle;
    quint64 m_generation = 0; // bumped on each (un)registration; late answers of an older one are dropped
    QString m_requestPath;
    QString m_sessionPath;
    std::unique_ptr<QTimer> m_answerTimer;
    State m_state;
};

} // namespace quillon::platform::linux_
