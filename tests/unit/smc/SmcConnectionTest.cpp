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

TEST(FourCC, PacksBigEndianAndPadsShortText)
{
    EXPECT_EQ(FourCC::pack("FNum"), 0x464E756Du);
    EXPECT_EQ(FourCC::pack("#KEY"), 0x234B4559u);
    EXPECT_EQ(FourCC::pack("Tp"), 0x54700000u);
    EXPECT_EQ(FourCC::pack(""), 0u);
    EXPECT_EQ(FourCC::pack("Tp09x"), FourCC::pack("Tp09"));
    EXPECT_EQ(FourCC::unpack(FourCC::pack("flt ")), "flt ");
}

// A missing service or a failed open reaches every caller; an open that
// worked is done once, lazily, and a failed one is tried again.
TEST(SmcConnectionOpen, OpensOnceAndLazilyRetriesAFailedOpenAndErrorsReachEveryCaller)
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

    Fixture f(pretendSmc("FNum", {1, SmcType::ui8, {2}}));
    EXPECT_EQ(f.transport->opens, 0);
    EXPECT_EQ(f.smc->readU8("FNum"), 2);
    EXPECT_EQ(f.smc->open(), SmcStatus::kSuccess);
    EXPECT_EQ(f.smc->readU8("FNum"), 2);
    EXPECT_EQ(f.transport->opens, 1);

    Fixture failing(pretendSmc("FNum", {1, SmcType::ui8, {2}}), kKernFailure);
    EXPECT_EQ(failing.smc->open(), kKernFailure);
    EXPECT_EQ(failing.smc->writeFlt("F0Tg", 1.0f), kKernFailure);
    EXPECT_EQ(failing.transport->opens, 2);
    EXPECT_TRUE(failing.transport->requests.empty());
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

// A transport failure in either phase returns its code; cached key info is
// asked for again after a failed value phase.
TEST(SmcCall, AMissingKeyStopsAfterKeyInfoAndCachedInfoLeavesOneRoundTripUntilAValuePhaseFails)
{
    int failing = -1; // the command the transport fails
    Fixture f([&](const SmcParamRecord& in, SmcParamRecord& out) {
        if (in.data8 == failing)
            return kKernFailure;
        return pretendSmc("F0Ac", {4, SmcType::flt, {0x00, 0x00, 0x96, 0x44}})(in, out);
    });
    for (const int command : {9, 6}) {
        failing = command;
        EXPECT_EQ(f.smc->writeFlt("F0Ac", 1.0f), kKernFailure) << command;
    }
    failing = -1;
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
    failing = 5;
    bool ok = true;
    EXPECT_EQ(f.smc->readFlt("F0Ac", &ok), 0.0f);
    EXPECT_FALSE(ok);
    failing = -1;
    EXPECT_EQ(requestsFor([&] { EXPECT_EQ(f.smc->readFlt("F0Ac"), 1200.0f); }), 2u)
        << "after a failed value phase the key is looked up again";
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

// The count and the keys by index are read through every transport's tests;
// a count of the wrong size is only seen here.
TEST(SmcKeyDiscovery, AKeyCountOfTheWrongSizeIsNone)
{
    Fixture shortCount(pretendSmc("#KEY", {2, SmcType::ui32, {0x01, 0x02}}));
    EXPECT_EQ(shortCount.smc->keyCount(), 0u);
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
