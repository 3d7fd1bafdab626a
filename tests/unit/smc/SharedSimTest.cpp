#include "smc/SharedSimClient.h"
#include "smc/SharedSimServer.h"
#include "smc/SmcCodes.h"
#include "smc/SmcConnection.h"
#include "smc/SmcTransportFactory.h"
#include "smc/UnixSocket.h"

#include <QTemporaryDir>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace quillon::smc;

namespace {

// The shared simulator served from a thread of this process.
class ServedMac {
public:
    explicit ServedMac(std::string path)
        : m_server(std::move(path), m_mac)
    {
        EXPECT_EQ(::pipe(m_stop), 0);
        std::string error;
        listening = m_server.listen(error);
        EXPECT_TRUE(listening) << error;
        if (listening)
            m_thread = std::thread([this] { m_server.serve(m_stop[0]); });
    }
    ~ServedMac()
    {
        const char byte = 1;
        EXPECT_EQ(::write(m_stop[1], &byte, 1), 1);
        if (m_thread.joinable())
            m_thread.join();
        ::close(m_stop[0]);
        ::close(m_stop[1]);
    }
    bool listening = false;

private:
    SimulatedMac m_mac;
    SharedSimServer m_server;
    int m_stop[2] = {-1, -1};
    std::thread m_thread;
};

SmcConnection clientOf(const std::string& path)
{
    return SmcConnection(std::make_unique<SharedSimClient>(path));
}

// A socket path in a directory of the test's own.
class SharedSim : public ::testing::Test {
protected:
    QTemporaryDir temporary;
    const std::string dir = temporary.path().toStdString();
    const std::string path = dir + "/mac.sock";
};

TEST_F(SharedSim, ClientsShareOneMacOnAnOwnerOnlySocketRemovedOnStop)
{
    {
        ServedMac served(path);
        struct stat info;
        ASSERT_EQ(::stat(path.c_str(), &info), 0);
        EXPECT_TRUE(S_ISSOCK(info.st_mode));
        EXPECT_EQ(info.st_mode & 0077, 0u);
        SmcConnection first = clientOf(path);
        SmcConnection second = clientOf(path);
        ASSERT_EQ(first.writeU8("QLOD", 77), SmcStatus::kSuccess);
        EXPECT_EQ(second.readU8("QLOD"), 77);
        EXPECT_EQ(second.keyInfo("ZZZZ", nullptr, nullptr, nullptr), SmcResult::kKeyNotFound);
    }
    EXPECT_NE(::access(path.c_str(), F_OK), 0);
}

TEST_F(SharedSim, NoServerMeansNoServiceAndALostServerIsReconnected)
{
    SmcConnection client = clientOf(path);
    EXPECT_EQ(client.open(), SmcStatus::kServiceMissing);
    {
        ServedMac served(path);
        EXPECT_EQ(client.readU8("FNum"), 2);
    }
    bool ok = true;
    client.readU8("FNum", &ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(client.writeU8("QLOD", 5), SmcStatus::kIOReturnNotResponding);
    ServedMac again(path);
    EXPECT_EQ(client.readU8("FNum", &ok), 2);
    EXPECT_TRUE(ok);
}

TEST_F(SharedSim, ListenRefusesWhatItMustNotReplace)
{
    const std::string file = dir + "/precious.txt";
    std::ofstream(file) << "keep me";
    SimulatedMac mac;
    std::string error;
    SharedSimServer onFile(file, mac);
    EXPECT_FALSE(onFile.listen(error));
    EXPECT_NE(error.find("not a socket"), std::string::npos) << error;
    std::ifstream kept(file);
    std::string content;
    std::getline(kept, content);
    EXPECT_EQ(content, "keep me");

    ServedMac served(path);
    SharedSimServer second(path, mac);
    EXPECT_FALSE(second.listen(error));
    EXPECT_NE(error.find("already serves"), std::string::npos) << error;

    SharedSimServer tooLong(dir + "/" + std::string(200, 'x'), mac);
    EXPECT_FALSE(tooLong.listen(error));
    EXPECT_NE(error.find("too long"), std::string::npos) << error;

    SharedSimServer noDir(dir + "/missing/mac.sock", mac);
    EXPECT_FALSE(noDir.listen(error));
    EXPECT_NE(error.find("cannot listen"), std::string::npos) << error;
}

TEST_F(SharedSim, StaleSocketFromADeadServerIsReplaced)
{
    {
        // A bound socket that nobody accepts on, as a crashed server leaves it.
        sockaddr_un address;
        std::string error;
        ASSERT_TRUE(UnixSocket::makeAddress(path, address, error));
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(fd);
    }
    ServedMac served(path);
    EXPECT_TRUE(served.listening);
    SmcConnection client = clientOf(path);
    EXPECT_EQ(client.readU8("FNum"), 2);
}

TEST_F(SharedSim, GarbageAndHalfRequestsDoNotHurtOtherClients)
{
    ServedMac served(path);

    const int half = UnixSocket::connectTo(path);
    ASSERT_GE(half, 0);
    ASSERT_TRUE(UnixSocket::sendAll(half, "abcdefghij", 10)); // a tenth of a request, then silence

    const int junk = UnixSocket::connectTo(path);
    unsigned char noise[80 * 3];
    for (std::size_t i = 0; i < sizeof noise; ++i)
        noise[i] = static_cast<unsigned char>(i * 37 + 11);
    ASSERT_TRUE(UnixSocket::sendAll(junk, noise, sizeof noise));
    unsigned char reply[SharedSimWire::kReplySize * 3];
    EXPECT_TRUE(UnixSocket::receiveAll(junk, reply, sizeof reply, 2000)); // every record gets an answer
    ::close(junk);

    // A client that floods requests and never reads its replies is dropped.
    const int flooder = UnixSocket::connectTo(path);
    std::vector<unsigned char> flood(80 * 20000);
    UnixSocket::sendAll(flooder, flood.data(), flood.size());

    SmcConnection client = clientOf(path);
    EXPECT_EQ(client.writeU8("QLOD", 42), SmcStatus::kSuccess);
    EXPECT_EQ(client.readU8("QLOD"), 42);
    ::close(flooder);
    ::close(half);
}

TEST(SmcTransportFactory, UnderstandsItsSettingsAndNamesTheBadOnes)
{
    EXPECT_TRUE(SmcTransportFactory::fromSetting("sim").transport);
    EXPECT_TRUE(SmcTransportFactory::fromSetting("sim:/tmp/x.sock").transport);
    const auto platform = SmcTransportFactory::fromSetting("");
    EXPECT_TRUE(platform.error.empty());
#ifndef __APPLE__
    EXPECT_FALSE(platform.transport); // Linux has no SMC of its own here
#endif
    for (const char* bad : {"SIM", "sim:", "simulated", "iokit", " sim"}) {
        const auto choice = SmcTransportFactory::fromSetting(bad);
        EXPECT_FALSE(choice.transport) << bad;
        EXPECT_NE(choice.error.find("QUILLON_SMC"), std::string::npos) << bad;
    }
}

} // namespace
