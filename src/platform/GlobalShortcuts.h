#pragma once

#include <QList>
#include <QObject>
#include <QString>

namespace quillon::platform {

// System-wide keyboard shortcuts, held by whatever mechanism the desktop
// offers (on Linux: the GlobalShortcuts portal, else an X11 key grab). The
// caller names each shortcut by an id and a letter pressed with Super+Alt;
// a press is reported by that id. Where the desktop lets the user rebind
// shortcuts (the portal), the letter is only the preferred trigger.
//
// Registration may finish later (a portal answers asynchronously):
// stateChanged() announces every change of state(). Main thread only;
// activated() is emitted on the main thread.
class GlobalShortcuts : public QObject {
    Q_OBJECT
public:
    struct Shortcut {
        QString id;          // reported back by activated()
        QString description; // what the desktop's shortcut settings show
        char key = 0;        // a lower-case letter, pressed with Super+Alt
    };

    struct State {
        bool held = false;    // the shortcuts are registered and will be reported
        bool pending = false; // a registration is under way
        QString through;      // "portal" or "X11" while held, else empty
        QString problem;      // why they are not held after a failed registration, else empty
    };

    using QObject::QObject;

    // Registers the shortcuts (replacing any registered before); the outcome
    // shows in state(). A shortcut already taken by another program is not
    // an error the user hears about: state() says it is not held.
    virtual void registerShortcuts(const QList<Shortcut>& shortcuts) = 0;
    // Gives the shortcuts up; nothing is reported afterwards.
    virtual void unregisterShortcuts() = 0;
    virtual State state() const = 0;

signals:
    void activated(const QString& id);
    void stateChanged();
};

} // namespace quillon::platform
