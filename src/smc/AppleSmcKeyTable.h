#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace quillon::smc {

// The SMC's key list as the applesmc driver shows it: key_count, and one key
// at a time through key_at_index (write an index, then read
// key_at_index_name, _type, _data_length and _data). The list is sorted by
// key, so a key is found by bisection; every name, index and key info is
// cached once read, and so are keys found missing, so after the first use a
// key costs one index write and one data read.
//
// The driver keeps one index for every process: another program walking the
// list at the same moment can change it between our write and our read. The
// driver offers nothing better; fan daemons rarely walk the list.
//
// Status results: 0, or the status SysfsFile::statusOf gives for the failure
// (a file the driver answers with nonsense counts as not responding).
class AppleSmcKeyTable {
public:
    struct Info {
        std::uint32_t type = 0; // packed like a key
        std::uint32_t size = 0; // 1..32
    };

    explicit AppleSmcKeyTable(std::string deviceDir);

    // Reads key_count and spot-checks that the list is sorted (first, middle
    // and last names ascending). False with error in words when it is not usable.
    bool load(std::string& error);
    std::uint32_t count() const { return m_count; }

    std::uint32_t nameAt(std::uint32_t index, std::uint32_t& name);
    // The key's index; nullopt with status 0 when the SMC has no such key.
    std::optional<std::uint32_t> find(std::uint32_t key, std::uint32_t& status);
    std::uint32_t info(std::uint32_t index, Info& info);
    // Exactly info.size bytes of the key's value; a shorter answer is an error.
    std::uint32_t data(std::uint32_t index, const Info& info, std::uint8_t* out);

private:
    std::uint32_t select(std::uint32_t index);
    // The first four bytes of a key_at_index_* file (names and types keep
    // trailing blanks, e.g. "FS! ").
    std::uint32_t readFourCC(const char* file, std::uint32_t& value);
    std::string path(const char* file) const { return m_dir + '/' + file; }

    std::string m_dir;
    std::uint32_t m_count = 0;
    std::vector<std::uint32_t> m_names; // 0 = not read yet
    std::vector<std::optional<Info>> m_infos;
    std::unordered_map<std::uint32_t, std::optional<std::uint32_t>> m_found; // key -> index, nullopt = missing
};

} // namespace quillon::smc
