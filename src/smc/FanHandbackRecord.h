#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillon::smc {

// What the helper found on each fan channel before its first write, kept in
// a file for as long as it holds any channel, so that a helper that was
// killed (or `quillon-helper --release` after it) still hands every channel
// back exactly as it was found. One line per channel:
//   <channel id> <pwmN_enable or -> <pwmN or ->
// A line that does not parse is skipped: its channel falls back to its
// driver's automatic mode.
class FanHandbackRecord {
public:
    struct Entry {
        std::string channel; // device path + "/pwmN": stable across boots
        std::optional<long long> enable;
        std::optional<long long> duty;
    };

    // Where the record lives: $RUNTIME_DIRECTORY (the helper unit's own
    // folder under /run) or else /run/quillon-helper, file "hwmon-fans".
    static std::string defaultPath();

    explicit FanHandbackRecord(std::string path);

    std::vector<Entry> load() const;
    // Replaces the record (written to a new file, then renamed over it);
    // an empty list removes it. Whether it is on disk as given.
    bool save(const std::vector<Entry>& entries) const;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace quillon::smc
