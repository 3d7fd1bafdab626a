/* SMC key access for C and C++ callers.
 *
 * Plain functions over one process-wide SMC connection, opened lazily on
 * first use and kept for the life of the process. Which SMC that is depends
 * on QUILLON_SMC: "sim" (a simulated Mac inside this process),
 * "sim:/path/to.sock" (the shared simulated Mac served by
 * `quillon-helper --smc-sim`), or unset (the machine's AppleSMC; Linux has
 * none, so every call reports the missing service).
 *
 * Keys are NUL-terminated four-character strings such as "F0Ac". Status
 * results: 0 on success; the transport's (IOKit) error code; otherwise the
 * SMC's non-zero result byte; 0xFFFFFFFF when no SMC service exists.
 * Not thread-safe; nothing is logged. */
#ifndef QUILLON_CSMC_H
#define QUILLON_CSMC_H

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 0 if already open (without touching the service again); 0xFFFFFFFF if there
 * is no SMC service; otherwise the error of opening it. */
uint32_t csmc_open(void);

/* The two-phase key call: key info (command 9), then command 5 (read) or any
 * other command (write, typically 6) with the SMC's own data size. A write
 * sends input[0..inputLength), at most 32 bytes. A read copies at most
 * min(*ioLength, data size, 32) bytes to output and stores the count in
 * *ioLength. */
uint32_t smc_call(
    uint32_t key, uint8_t command, const uint8_t* input, uint32_t inputLength, uint8_t* output, uint32_t* ioLength);

/* 0.0 and *ok = false unless the read succeeded with at least 4 bytes. */
float csmc_read_flt(const char* key, bool* ok);
/* Writes the float's 4 bytes in host order. */
uint32_t csmc_write_flt(const char* key, float value);
/* The first value byte (0 if none came back); *ok = (status == 0). */
uint8_t csmc_read_u8(const char* key, bool* ok);
uint32_t csmc_write_u8(const char* key, uint8_t value);
/* Clamps rpm to 0..16383 and writes it as fpe2 (rpm * 4, big-endian). */
uint32_t csmc_write_fpe2(const char* key, int rpm);
/* Any out pointer may be null. */
uint32_t csmc_key_info(const char* key, uint32_t* dataSize, uint32_t* dataType, uint8_t* attributes);
/* *length = bytes copied (at most min(capacity, 32)); length may be null. */
uint32_t csmc_read_raw(const char* key, uint8_t* buffer, uint32_t capacity, uint32_t* length);
/* The number of keys ("#KEY" as big-endian u32); 0 on any failure. */
uint32_t csmc_key_count(void);
/* On success writes the key's four characters and a NUL to out[0..5). */
uint32_t csmc_key_at_index(uint32_t index, char out[5]);

#ifdef __cplusplus
}
#endif

#endif
