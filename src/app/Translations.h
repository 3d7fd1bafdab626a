#pragma once

namespace quillon::app {

class Settings;

// Installs or removes the German translator on the running application, as
// Lang decides. The translations are compiled into the executable.
class Translations {
public:
    Translations() = delete;

    // Installs German when german is true, removes it otherwise. Needs a
    // QCoreApplication. Returns false when German was asked for but the
    // translations could not be loaded (the texts then stay English).
    static bool apply(bool german);
    // apply(Lang::isGerman(settings)).
    static bool apply(const Settings& settings);
};

} // namespace quillon::app
