#include "csmc.h"

#include "SmcCodes.h"
#include "SmcConnection.h"

#include <cstring>
#include <string_view>

using quillon::smc::SmcConnection;
using quillon::smc::SmcStatus::kIOReturnBadArgument;

namespace {

SmcConnection& smc()
{
    return SmcConnection::processWide();
}

// A C caller's key: at most four characters up to the NUL. Null is no key.
std::string_view keyOf(const char* key)
{
    return key ? std::string_view(key, strnlen(key, 4)) : std::string_view();
}

} // namespace

extern "C" {

uint32_t csmc_open(void)
{
    return smc().open();
}

uint32_t smc_call(
    uint32_t key, uint8_t command, const uint8_t* input, uint32_t inputLength, uint8_t* output, uint32_t* ioLength)
{
    return smc().call(key, command, input, inputLength, output, ioLength);
}

float csmc_read_flt(const char* key, bool* ok)
{
    if (!key) {
        if (ok)
            *ok = false;
        return 0.0f;
    }
    return smc().readFlt(keyOf(key), ok);
}

uint32_t csmc_write_flt(const char* key, float value)
{
    return key ? smc().writeFlt(keyOf(key), value) : kIOReturnBadArgument;
}

uint8_t csmc_read_u8(const char* key, bool* ok)
{
    if (!key) {
        if (ok)
            *ok = false;
        return 0;
    }
    return smc().readU8(keyOf(key), ok);
}

uint32_t csmc_write_u8(const char* key, uint8_t value)
{
    return key ? smc().writeU8(keyOf(key), value) : kIOReturnBadArgument;
}

uint32_t csmc_write_fpe2(const char* key, int rpm)
{
    return key ? smc().writeFpe2(keyOf(key), rpm) : kIOReturnBadArgument;
}

uint32_t csmc_key_info(const char* key, uint32_t* dataSize, uint32_t* dataType, uint8_t* attributes)
{
    return key ? smc().keyInfo(keyOf(key), dataSize, dataType, attributes) : kIOReturnBadArgument;
}

uint32_t csmc_read_raw(const char* key, uint8_t* buffer, uint32_t capacity, uint32_t* length)
{
    if (!key) {
        if (length)
            *length = 0;
        return kIOReturnBadArgument;
    }
    return smc().readRaw(keyOf(key), buffer, capacity, length);
}

uint32_t csmc_key_count(void)
{
    return smc().keyCount();
}

uint32_t csmc_key_at_index(uint32_t index, char out[5])
{
    return smc().keyAtIndex(index, out);
}

} // extern "C"
