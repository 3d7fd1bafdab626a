#pragma once

namespace quillon::app {

class Settings;

// Installs the translators the app's texts go through: German when Lang
// says so, and, on a computer that is not a Mac, the wording that speaks of
// "your computer" and "the firmware" where the texts were written for a Mac
// ("your Mac", "macOS"), in English or German. The translations are
// compiled into the executable.
class Translations {
public:
    Translations() = delete;

    // Installs German when german is true, removes it otherwise; the same
    // for the non-Mac wording, by onMac. Needs a QCoreApplication. Returns
    // false when a translation could not be loaded (those texts then stay
    // as written).
    static bool apply(bool german, bool onMac = true);
    // apply(Lang::isGerman(settings), onMac).
    static bool apply(const Settings& settings, bool onMac = true);
};

} // namespace quillon::app
