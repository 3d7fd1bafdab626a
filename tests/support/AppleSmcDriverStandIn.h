#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace quillon::test {

// Plays the applesmc driver over a writable copy of a captured tree, for the
// transport in this process or in a helper process alike:
//  - key_at_index is a plain file the reader writes an index to;
//    key_at_index_name, _type, _data_length and _data are named pipes, each
//    answered (by a thread of ours) for the index that file holds now, from
//    the key list captured beside the tree ("smc-keys": one key a line,
//    "NAME TYPE LENGTH HEX", name and type four characters each);
//  - the fan keys follow the fan files: F{n}Ac/Mn/Mx/Tg read fan{n+1}_input,
//    _min, _max, _output in the key's type, the "FS! " bits and per-fan
//    F{n}Md read fan{n+1}_manual;
//  - a fan in manual mode runs at its _output (its _input follows within
//    kFollowInterval), like the SMC spinning it up.
// An index the list does not hold answers empty files.
class AppleSmcDriverStandIn {
public:
    static constexpr int kFollowIntervalMs = 20;

    // deviceDir: the tree's applesmc device folder; keyList: its smc-keys file.
    AppleSmcDriverStandIn(std::string deviceDir, const std::string& keyList);
    ~AppleSmcDriverStandIn();
    AppleSmcDriverStandIn(const AppleSmcDriverStandIn&) = delete;
    AppleSmcDriverStandIn& operator=(const AppleSmcDriverStandIn&) = delete;

    // How many answers the pipes gave: each is one key read through the driver.
    int answers() const { return m_answers; }

private:
    struct Key {
        std::string name;
        std::string type;
        std::string length;
        std::string bytes;
    };
    enum class Pipe {
        name,
        type,
        length,
        data
    };

    void serve(Pipe pipe);
    void follow();
    std::string answer(Pipe pipe);
    std::string dataOf(const Key& key) const;
    std::string file(const std::string& name) const { return m_dir + '/' + name; }
    long long fanValue(int fan, const char* suffix) const;

    std::string m_dir;
    std::vector<Key> m_keys;
    std::atomic<bool> m_stopping{false};
    std::atomic<int> m_answers{0};
    std::atomic<int> m_serving{0};
    std::vector<std::thread> m_threads;
};

} // namespace quillon::test
