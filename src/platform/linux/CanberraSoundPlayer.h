#pragma once

#include "platform/SoundPlayer.h"

#include <QString>

struct ca_context;

namespace quillon::platform::linux_ {

// Event sounds through libcanberra, which plays the freedesktop sound
// theme's events on whatever sound server runs. Where the theme has no
// "complete" sound, the app's own chime is played: fallback names a file or
// a Qt resource (copied once to the cache folder, since the sound server
// needs a path). The context is opened on first use, so an app that never
// plays anything never talks to the sound server.
class CanberraSoundPlayer : public SoundPlayer {
public:
    explicit CanberraSoundPlayer(QString fallback);
    ~CanberraSoundPlayer() override;
    CanberraSoundPlayer(const CanberraSoundPlayer&) = delete;
    CanberraSoundPlayer& operator=(const CanberraSoundPlayer&) = delete;

    void playFinished() override;

private:
    QString fallbackPath();

    QString m_fallback;
    ca_context* m_context = nullptr;
};

} // namespace quillon::platform::linux_
