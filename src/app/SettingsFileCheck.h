#pragma once

#include <QString>

class QSettings;

namespace quillon::app {

// What the settings file must be before QSettings may read it, and what is
// kept of it when it is not: the app never hangs on it, never spends seconds
// on it, and never overwrites a file it could not read without a copy.
class SettingsFileCheck {
public:
    SettingsFileCheck() = delete;

    // Larger than any settings file of ours; such a file is not ours.
    static constexpr qint64 kMaxBytes = 1024 * 1024;

    // Before reading: a path that holds (or links to) something other than a
    // regular file (a FIFO, a device, a folder) or a file above kMaxBytes is moved aside
    // to "<path>.unreadable" (replacing an older one), so that reading
    // neither blocks nor crawls and the app starts from its defaults. Returns
    // what was done, for the log; empty when the file was fine or absent.
    static QString prepare(const QString& path);

    // After reading: when QSettings could not parse the file, a copy is kept
    // as "<path>.corrupt" before anything rewrites it. Returns what was done.
    static QString preserveIfUnparsable(const QSettings& settings);
};

} // namespace quillon::app
