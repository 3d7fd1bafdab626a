#pragma once

namespace quillon::platform {

// Plays the desktop's short event sounds. Fire and forget: a machine without
// sound plays nothing and says nothing. Main thread only.
class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;

    // "A long task has completed" (the sound theme's "complete" event, or the
    // app's own chime where no theme has one).
    virtual void playFinished() = 0;
};

} // namespace quillon::platform
