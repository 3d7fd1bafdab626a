#pragma once

#include <QObject>
#include <QString>
#include <optional>

namespace quillon::platform {

// Whether the window the user is looking at covers its whole screen (a
// film, a game, a presentation). Watches only while asked to.
class FullScreenWindows : public QObject {
    Q_OBJECT
public:
    struct Window {
        qint64 pid = 0;      // 0 when the window does not say
        QString windowClass; // its class ("firefox-esr"); may be empty
        QString name;        // what to call its application ("Firefox-esr")
        bool operator==(const Window&) const = default;
    };
    enum class Support {
        available,
        wayland,   // the compositor tells other applications nothing of its windows
        noDisplay, // no display to ask
    };

    using QObject::QObject;

    virtual Support support() const = 0;
    virtual void setWatching(bool on) = 0;
    // The active window, when it is full screen and not one of this
    // process's own; none otherwise, and while not watching.
    virtual std::optional<Window> current() = 0;

signals:
    // Another window became active, or the active one entered or left full screen.
    void changed();
};

} // namespace quillon::platform
