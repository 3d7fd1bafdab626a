#pragma once

#include "SmcTransport.h"

#include <cstddef>
#include <string>
#include <vector>

namespace quillon::smc {

// A transport that shows hwmon files as a sorted table of SMC keys, the way
// the layer above knows an SMC: "#KEY" counts them, key-by-index walks them
// in key order, key info gives each one's type and size (4 bytes, 1 for
// "ui8 "), and a key the table lacks answers as missing. Subclasses fill the
// table in open() and read and write the files behind each key.
class SysfsKeyTransport : public SmcTransport {
public:
    std::uint32_t call(const SmcParamRecord& in, SmcParamRecord& out) final;

protected:
    enum class Role {
        keyCount,
        fanCount,    // "FNum"
        fanActual,   // F{n}Ac, flt
        fanMin,      // F{n}Mn, flt
        fanMax,      // F{n}Mx, flt
        fanTarget,   // F{n}Tg, flt
        fanMode,     // F{n}Md, ui8
        temperature, // flt °C
    };
    struct Key {
        std::uint32_t name;
        std::uint32_t type;
        Role role;
        int channel = 0; // the subclass' own meaning
    };

    // Empties the table down to "#KEY" and "FNum".
    void clearKeys();
    // Adds a key unless one of that name is there already.
    void addKey(const std::string& name, std::uint32_t type, Role role, int channel = 0);
    // F{fan}Ac, Mn, Mx, Tg and Md, each with this channel.
    void addFanKeys(int fan, int channel);
    // Key order, once the table is complete.
    void sortKeys();
    std::size_t keyCount() const { return m_keys.size(); }

    virtual bool writable(const Key& key) const = 0;
    // The key's bytes into out.bytes: a status code, or 0 with out.result set.
    virtual std::uint32_t read(const Key& key, SmcParamRecord& out) = 0;
    // Called for writable keys only.
    virtual std::uint32_t write(const Key& key, const SmcParamRecord& in, SmcParamRecord& out) = 0;

private:
    const Key* find(std::uint32_t name) const;

    std::vector<Key> m_keys;
};

} // namespace quillon::smc
