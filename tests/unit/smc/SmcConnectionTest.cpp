#include "smc/SmcConnection.h"

#include "smc/FourCC.h"
#include "smc/SmcCodes.h"

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace quillon::smc;

namespace {

// A transport whose answers a test scripts, and which records every request,
// for checking the two-phase call byte by byte.
struct RecordingTransport : SmcTransport {
    using Answer = std::function<std::uint32_t(const SmcParamRecord& in, SmcParamRecord& out)>;

    std::uint32_t open() override
    {
        ++opens;
        return openStatus;
    }
    std::uint32_t call(const SmcParamRecord& in, SmcParamRecord& out) override
    {
        requests.push_back(in);
        return answer(in, out);
    }

    Answer answer;
    std::uint32_t openStatus = SmcStatus::kSuccess;
    int opens = 0;
    std::vector<SmcParamRecord> requests;
};

constexpr std::uint32_t kKernFailure = 0xE00002BCu; // kIOReturnError

// One key of a pretend SMC: its info and the bytes a read returns.
struct PretendKey {
    std::uint32_t size;
    std::uint32_t type;
    std::vector<std::uint8_t> value;
};

// Answers like an SMC that knows exactly one key.
RecordingTransport::Answer pretendSmc(const char* name, PretendKey key)
{
    return [name = FourCC::pack(name), key](const SmcParamRecord& in, SmcParamRecord& out) {
        if (in.key != name) {
            out.result = SmcResult::kKeyNotFound;
            return SmcStatus::kSuccess;
        }
        if (in.data8 == static_cast<std::uint8_t>(SmcCommand::keyInfo)) {
            out.keyInfo.dataSize = key.size;
            out.keyInfo.dataType = key.type;
        } else if (in.data8 == static_cast<std::uint8_t>(SmcCommand::readKey)) {
            std::memcpy(out.bytes, key.value.data(), std::min<std::size_t>(key.value.size(), 32));
        }
        return SmcStatus::kSuccess;
    };
}

struct Fixture {
    explicit Fixture(RecordingTransport::Answer answer, std::uint32_t openStatus = SmcStatus::kSuccess)
    {
        auto owned = std::make_unique<RecordingTransport>();
        owned->answer = std::move(answer);
        owned->openStatus = openStatus;
        transport = owned.get();
        smc = std::make_unique<SmcConnection>(std::move(owned));
    }
    RecordingTransport* transport;
    std::unique_ptr<SmcConnection> smc;
};

TEST(SmcParamRecord, FieldsLandAtTheirWireOffsets)
{
    SmcParamRecord record{};
    record.key = FourCC::pack("F0Ac");
    record.keyInfo.dataSize = 0x11223344;
    record.keyInfo.dataType = FourCC::pack("flt ");
    record.keyInfo.dataAttributes = 0xD4;
    record.result = 0x84;
    record.status = 0x01;
    record.data8 = 9;
    record.data32 = 0x0A0B0C0D;
    record.bytes[0] = 0xAB;
    record.bytes[31] = 0xCD;
    unsigned char wire[80];
    static_assert(sizeof wire == sizeof record);
    std::memcpy(wire, &record, sizeof wire);

    // Host fields are little-endian; the packed key reads "F0Ac" backwards.
    EXPECT_EQ(std::memcmp(wire + 0, "cA0F", 4), 0);
    EXPECT_EQ(wire[28], 0x44);
    EXPECT_EQ(wire[31], 0x11);
    EXPECT_EQ(std::memcmp(wire + 32, " tlf", 4), 0);
    EXPECT_EQ(wire[36], 0xD4);
    EXPECT_EQ(wire[40], 0x84);
    EXPECT_EQ(wire[41], 0x01);
    EXPECT_EQ(wire[42], 9);
    EXPECT_EQ(wire[44], 0x0D);
    EXPECT_EQ(wire[47], 0x0A);
    EXPECT_EQ(wire[48], 0xAB);
    EXPECT_EQ(wire[79], 0xCD);
}

TEST(FourCC, PacksBigEndianAndPadsShortText)
{
    EXPECT_EQ(FourCC::pack("FNum"), 0x464E756Du);
    EXPECT_EQ(FourCC::pack("#KEY"), 0x234B4559u);
    EXPECT_EQ(FourCC::pack("Tp"), 0x54700000u);
    EXPECT_EQ(FourCC::pack(""), 0u);
    EXPECT_EQ(FourCC::pack("Tp09x"), FourCC::pack("Tp09"));
    EXPECT_EQ(FourCC::unpack(FourCC::pack("flt ")), "flt ");
}

TEST(SmcConnectionOpen, MissingServiceAndOpenErrorsReachEveryCaller)
{
    SmcConnection none(nullptr);
    bool ok = true;
    EXPECT_EQ(none.open(), SmcStatus::kServiceMissing);
    EXPECT_EQ(none.readFlt("F0Ac", &ok), 0.0f);
    EXPECT_FALSE(ok);
    ok = true;
    EXPECT_EQ(none.readU8("F0Md", &ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(none.writeU8("F0Md", 1), SmcStatus::kServiceMissing);
    EXPECT_EQ(none.keyCount(), 0u);
    char name[5] = "none";
    EXPECT_EQ(none.keyAtIndex(0, name), SmcStatus::kServiceMissing);
    EXPECT_STREQ(name, "none");

    Fixture refused(pretendSmc("F0Ac", {4, SmcType::flt, {}}), kKernFailure);
    EXPECT_EQ(refused.smc->writeFlt("F0Tg", 1.0f), kKernFailure);
    EXPECT_TRUE(refused.transport->requests.empty());
}

TEST(SmcConnectionOpen, OpensOnceAndLazilyButRetriesAFailedOpen)
{
    Fixture f(pretendSmc("FNum", {1, SmcType::ui8, {2}}));
    EXPECT_EQ(f.transport->opens, 0);
    EXPECT_EQ(f.smc->readU8("FNum"), 2);
    EXPECT_EQ(f.smc->open(), SmcStatus::kSuccess);
    EXPECT_EQ(f.smc->readU8("FNum"), 2);
    EXPECT_EQ(f.transport->opens, 1);

    Fixture failing(pretendSmc("FNum", {1, SmcType::ui8, {2}}), kKernFailure);
    EXPECT_EQ(failing.smc->open(), kKernFailure);
    EXPECT_EQ(failing.smc->open(), kKernFailure);
    EXPECT_EQ(failing.transport->opens, 2);
}

// A read learns the key's size and type first and reads with them; a write
// sends the SMC's own size (not the caller's single byte) and the caller's bytes.
TEST(SmcCall, EachCallAsksForKeyInfoThenReadsOrWritesWithTheLearnedSize)
{
    Fixture f(pretendSmc("F0Ac", {4, SmcType::flt, {0x00, 0x00, 0x96, 0x44}}));
    bool ok = false;
    EXPECT_EQ(f.smc->readFlt("F0Ac", &ok), 1200.0f);
    EXPECT_TRUE(ok);
    EXPECT_EQ(f.smc->writeU8("F0Ac", 0x7F), SmcStatus::kSuccess);
    ASSERT_EQ(f.transport->requests.size(), 4u);
    const SmcParamRecord& info = f.transport->requests[0];
    EXPECT_EQ(info.key, FourCC::pack("F0Ac"));
    EXPECT_EQ(info.data8, 9);
    const SmcParamRecord& read = f.transport->requests[1];
    EXPECT_EQ(read.data8, 5);
    EXPECT_EQ(read.keyInfo.dataSize, 4u);
    EXPECT_EQ(read.keyInfo.dataType, SmcType::flt);
    const SmcParamRecord& write = f.transport->requests[3];
    EXPECT_EQ(write.data8, 6);
    EXPECT_EQ(write.keyInfo.dataSize, 4u);
    EXPECT_EQ(write.keyInfo.dataType, 0u);
    EXPECT_EQ(write.bytes[0], 0x7F);
    EXPECT_EQ(write.bytes[1], 0);
}

TEST(SmcCall, AMissingKeyStopsAfterKeyInfoAndCachedInfoLeavesOneRoundTripUntilAValuePhaseFails)
{
    bool valuesFail = false;
    Fixture f([&](const SmcParamRecord& in, SmcParamRecord& out) {
        if (valuesFail && in.data8 != 9)
            return kKernFailure;
        return pretendSmc("F0Ac", {4, SmcType::flt, {0x00, 0x00, 0x96, 0x44}})(in, out);
    });
    const auto requestsFor = [&f](const std::function<void()>& calls) {
        const std::size_t before = f.transport->requests.size();
        calls();
        return f.transport->requests.size() - before;
    };
    EXPECT_EQ(requestsFor([&] {
        bool ok = true;
        EXPECT_EQ(f.smc->readFlt("F9Ac", &ok), 0.0f);
        EXPECT_FALSE(ok);
        EXPECT_EQ(f.smc->writeFlt("F9Tg", 1.0f), SmcResult::kKeyNotFound);
    }),
        2u) << "one key-info request each, no value phase";

    f.smc->setKeyInfoCached(true);
    EXPECT_EQ(requestsFor([&] {
        f.smc->readFlt("F0Ac");
        f.smc->readFlt("F0Ac");
    }),
        3u) << "one look-up for two reads";
    EXPECT_EQ(requestsFor([&] {
        f.smc->readFlt("F9Ac");
        EXPECT_EQ(f.smc->writeFlt("F9Ac", 1.0f), SmcResult::kKeyNotFound);
    }),
        1u) << "a missing key is asked about once";
    valuesFail = true;
    EXPECT_EQ(f.smc->readFlt("F0Ac"), 0.0f);
    valuesFail = false;
    EXPECT_EQ(requestsFor([&] { EXPECT_EQ(f.smc->readFlt("F0Ac"), 1200.0f); }), 2u)
        << "after a failed value phase the key is looked up again";
}

TEST(SmcCall, TransportFailureInEitherPhaseReturnsItsCode)
{
    int calls = 0;
    int failOn = 1;
    Fixture f([&](const SmcParamRecord& in, SmcParamRecord& out) {
        ++calls;
        if (calls == failOn)
            return kKernFailure;
        return pretendSmc("F0Ac", {4, SmcType::flt, {}})(in, out);
    });
    EXPECT_EQ(f.smc->writeFlt("F0Ac", 1.0f), kKernFailure);
    calls = 0;
    failOn = 2;
    EXPECT_EQ(f.smc->writeFlt("F0Ac", 1.0f), kKernFailure);
    calls = 0;
    failOn = 2;
    bool ok = true;
    EXPECT_EQ(f.smc->readFlt("F0Ac", &ok), 0.0f);
    EXPECT_FALSE(ok);
}

TEST(SmcCall, AValueResultByteIsTheStatusAndAShortFloatIsNoRead)
{
    Fixture f([](const SmcParamRecord& in, SmcParamRecord& out) {
        if (in.data8 == 9)
            out.keyInfo.dataSize = in.key == FourCC::pack("F0Ac") ? 2 : 1;
        else if (in.key == FourCC::pack("F0Ac"))
            std::memcpy(out.bytes, "\x12\xC0", 2); // an fpe2 speed
        else
            out.result = SmcResult::kKeyNotWritable;
        return SmcStatus::kSuccess;
    });
    EXPECT_EQ(f.smc->writeU8("FNum", 3), SmcResult::kKeyNotWritable);
    bool ok = true;
    EXPECT_EQ(f.smc->readU8("FNum", &ok), 0);
    EXPECT_FALSE(ok);
    ok = true;
    EXPECT_EQ(f.smc->readFlt("F0Ac", &ok), 0.0f);
    EXPECT_FALSE(ok);
}

// Reads are cut to the caller's capacity and to 32 bytes; a write of more
// than 32 bytes, or without its bytes, is refused before anything is sent.
TEST(SmcCall, ReadsAndWritesStayWithinThirtyTwoBytes)
{
    std::vector<std::uint8_t> forty(40);
    for (std::size_t i = 0; i < forty.size(); ++i)
        forty[i] = static_cast<std::uint8_t>(i + 1);
    Fixture f(pretendSmc("RBIG", {40, FourCC::pack("ch8*"), forty}));
    const std::uint8_t bytes[33] = {};
    EXPECT_EQ(
        f.smc->call(FourCC::pack("RBIG"), 6, bytes, sizeof bytes, nullptr, nullptr), SmcStatus::kIOReturnBadArgument);
    EXPECT_EQ(f.smc->call(FourCC::pack("RBIG"), 6, nullptr, 4, nullptr, nullptr), SmcStatus::kIOReturnBadArgument);
    EXPECT_TRUE(f.transport->requests.empty());

    std::uint8_t buffer[64];
    std::memset(buffer, 0xEE, sizeof buffer);
    std::uint32_t length = 0;
    EXPECT_EQ(f.smc->readRaw("RBIG", buffer, sizeof buffer, &length), SmcStatus::kSuccess);
    EXPECT_EQ(length, 32u);
    EXPECT_EQ(buffer[31], 32);
    EXPECT_EQ(buffer[32], 0xEE); // nothing written past 32 bytes
    EXPECT_EQ(f.smc->readRaw("RBIG", buffer, 3, &length), SmcStatus::kSuccess);
    EXPECT_EQ(length, 3u);
    // A u8 read takes the first byte without checking the length.
    EXPECT_EQ(f.smc->readU8("RBIG"), 1);
}

TEST(SmcKeyDiscovery, KeyCountAndKeyAtIndex)
{
    Fixture f(pretendSmc("#KEY", {4, SmcType::ui32, {0x00, 0x00, 0x01, 0x02}}));
    EXPECT_EQ(f.smc->keyCount(), 0x102u);

    Fixture shortCount(pretendSmc("#KEY", {2, SmcType::ui32, {0x01, 0x02}}));
    EXPECT_EQ(shortCount.smc->keyCount(), 0u);

    Fixture byIndex([](const SmcParamRecord& in, SmcParamRecord& out) {
        if (in.data32 == 7)
            out.key = FourCC::pack("Tp09");
        else
            out.result = SmcResult::kKeyIndexRange;
        return SmcStatus::kSuccess;
    });
    char name[5] = {};
    EXPECT_EQ(byIndex.smc->keyAtIndex(7, name), SmcStatus::kSuccess);
    EXPECT_STREQ(name, "Tp09");
    EXPECT_EQ(byIndex.transport->requests.back().data8, 8);
    EXPECT_EQ(byIndex.smc->keyAtIndex(8, name), SmcResult::kKeyIndexRange);
}

struct Fpe2Row {
    int rpm;
    std::uint8_t hi;
    std::uint8_t lo;
};

TEST(Fpe2, EncodingClampsToFourteenBits)
{
    const Fpe2Row rows[] = {
        {-5, 0x00, 0x00},
        {0, 0x00, 0x00},
        {1, 0x00, 0x04},
        {1200, 0x12, 0xC0},
        {16383, 0xFF, 0xFC},
        {16384, 0xFF, 0xFC},
        {20000, 0xFF, 0xFC},
        {std::numeric_limits<int>::min(), 0x00, 0x00},
        {std::numeric_limits<int>::max(), 0xFF, 0xFC},
    };
    for (const Fpe2Row& row : rows) {
        std::uint8_t out[2];
        SmcConnection::encodeFpe2(row.rpm, out);
        EXPECT_EQ(out[0], row.hi) << row.rpm;
        EXPECT_EQ(out[1], row.lo) << row.rpm;
    }

    Fixture f(pretendSmc("F0Sf", {2, SmcType::fpe2, {}}));
    EXPECT_EQ(f.smc->writeFpe2("F0Sf", 20000), SmcStatus::kSuccess);
    EXPECT_EQ(f.transport->requests.back().bytes[0], 0xFF);
    EXPECT_EQ(f.transport->requests.back().bytes[1], 0xFC);
}

} // namespace
