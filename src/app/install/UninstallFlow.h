#pragma once

#include "Uninstaller.h"

#include <QObject>
#include <QString>

namespace quillon::app {

// The uninstall dialogs as a model the settings window shows: a question,
// what the password is for while the root part runs, then either "removed" (the user's traces are gone
// too; its button quits the app) or "failed" with the reason. A dismissed
// authentication simply closes the flow. Texts follow the app's language.
class UninstallFlow : public QObject {
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString acceptLabel READ acceptLabel NOTIFY changed)
    Q_PROPERTY(QString cancelLabel READ cancelLabel NOTIFY changed)

public:
    enum class State {
        confirming,
        working,
        removed,
        failed,
        closed
    };
    Q_ENUM(State)

    UninstallFlow(Uninstaller& uninstaller, Uninstaller::UserTraces traces, QObject* parent = nullptr);

    State state() const { return m_state; }
    QString title() const;
    QString text() const;
    QString acceptLabel() const;
    // Empty where the dialog has only one button.
    QString cancelLabel() const;

    // The dialog's first button: removes (confirming), quits (removed) or
    // closes (failed).
    Q_INVOKABLE void accept();
    Q_INVOKABLE void cancel();

signals:
    void changed();
    void quitRequested();

private:
    void setState(State state);

    Uninstaller& m_uninstaller;
    Uninstaller::UserTraces m_traces;
    State m_state = State::confirming;
    QString m_failure;
};

} // namespace quillon::app
