#pragma once

#include <QObject>
#include <QStringList>

namespace quillon::platform {

// Which media players are playing now. Only a player that says it plays
// counts: a paused or stopped one does not, however its audio stream stands.
// Watches only while asked to, so an unused rule costs nothing.
class MediaPlayback : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    virtual void setWatching(bool on) = 0;
    // The players playing, by the names they give ("VLC media player"),
    // each once, sorted; empty while not watching.
    virtual QStringList playing() const = 0;
    // False where players cannot be heard (no session bus).
    virtual bool available() const = 0;

signals:
    // A player came, went, or started or stopped playing.
    void changed();
};

} // namespace quillon::platform
