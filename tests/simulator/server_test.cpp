// The server over real loopback connections: hosts, those who look for it, and its own restart.

#include "core/maintenance.h"
#include "host_sockets.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace lumosim {
namespace {

using asio::ip::tcp;
using asio::ip::udp;
using test::Await;
using test::ByHand;
using test::Bytes;
using test::CommandFrame;
using test::Frame;
using test::Host;
using test::Joined;
using test::TcpHost;

// A host that looks for controllers.
class Seeker : public Host<udp::socket>
{
  public:
    Seeker()
    {
        socket_.open(udp::v4());
        socket_.bind({asio::ip::address_v4::loopback(), 0});
    }

    void Send(const Bytes& datagram, const Server& server)
    {
        socket_.send_to(asio::buffer(datagram),
                        {asio::ip::make_address(server.Address()), server.DiscoveryPort()});
    }
    Bytes Receive()
    {
        return Host::Receive(
            2000, [this](auto buffer, auto handler) { socket_.async_receive(buffer, handler); });
    }

    // Asks for the last two octets of the server's address.
    void ExpectFinds(const Server& server, std::uint8_t number)
    {
        Send(Frame("03 F407 0001", 7, 255), server);
        Bytes answer = Frame("03 02 0000", 7, 255);
        answer[9] = number;
        EXPECT_EQ(Receive(), answer);
    }
};

TEST(Server, GarbageClosesItsConnectionAndNoOther)
{
    Server server(ByHand());
    server.Start();
    TcpHost good(server);
    TcpHost bad(server);
    bad.Send(Bytes(32, 0xEE));
    EXPECT_TRUE(bad.ClosedByServer());
    Bytes many; // frames of one segment
    for (int i = 0; i < 32; ++i) {
        many = Joined({many, Frame("03 0038 0002")});
    }
    good.Send(many);
    const Bytes answers = good.Receive(32 * 13);
    ASSERT_EQ(answers.size(), 32U * 13U);
    EXPECT_EQ(Bytes(answers.end() - 13, answers.end()), Frame("03 04 0001 0000"));
    EXPECT_TRUE(Await([&server] { return server.Connections() == 1; }));
}

TEST(Server, RealTimeRunsByItself)
{
    ServerConfig config;
    config.timeScale = 50;
    Server server(config);
    server.Start();
    const auto start = std::chrono::steady_clock::now();
    server.With([](Controller& controller) {
        controller.AxisAt(0).SwitchServo(true);
        controller.AxisAt(0).MoveTo(5000);
    });
    EXPECT_TRUE(Await([&server] {
        return server.With([](Controller& controller) { return !controller.AxisAt(0).Moving(); });
    }));
    // 0.6 s and the servo-on time, 50 times as fast.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(11));
    EXPECT_EQ(server.With([](Controller& c) { return c.AxisAt(0).CommandPosition(); }), 5000);
}

TEST(Server, DropsConnectionsAndStartsAgain)
{
    Server server(ByHand());
    server.Start();
    TcpHost host(server);
    EXPECT_TRUE(Await([&server] { return server.Connections() == 1; }));
    server.DropConnections();
    EXPECT_TRUE(host.ClosedByServer());
    EXPECT_EQ(server.Connections(), 0U);

    ServerConfig samePort = ByHand();
    samePort.port = server.Port();
    Server other(samePort);
    EXPECT_THROW(other.Start(), std::system_error);
    other.Stop();

    TcpHost second(server);
    server.With([](Controller& controller) { controller.SetMainInputs(0x11); });
    server.Stop();
    EXPECT_TRUE(second.ClosedByServer());
    EXPECT_THROW(TcpHost{server}, NetworkError) << "nobody listens";

    server.Start();
    TcpHost third(server);
    third.Send(Frame("03 F415 0001"));
    EXPECT_EQ(third.Receive(11), Frame("03 02 0011")) << "the same controller";
}

TEST(Server, ServesManyHostsAtOnce)
{
    Server server{ServerConfig()};
    server.Start();
    std::vector<std::thread> hosts;
    for (int number = 0; number < 8; ++number) {
        hosts.emplace_back([&server, axis = "000" + std::to_string(number % 4)] {
            TcpHost host(server);
            // Two frames of one command, so that mixed connections would show.
            const Bytes request = Joined(
                {CommandFrame("0201 0001 0001"), CommandFrame("0202 " + axis + " 0001 1388")});
            for (int i = 0; i < 200; ++i) {
                host.Send(request);
                ASSERT_EQ(host.Receive(22), Joined({Frame("17 02 0000"), Frame("17 02 0000")}));
            }
        });
    }
    for (std::thread& host : hosts) {
        host.join();
    }
    EXPECT_TRUE(Await([&server] { return server.Connections() == 0; }));
}

// A controller at 127.0.0.24 that can be found.
class NetworkServer : public testing::Test
{
  protected:
    static ServerConfig Config()
    {
        ServerConfig config = ByHand(24);
        config.discoveryPort = 0;
        return config;
    }

    void SetUp() override { server_.Start(); }

    void Execute(std::initializer_list<Word> block)
    {
        server_.With([&](Controller& c) { EXPECT_EQ(c.Execute(block), Result::kDone); });
    }
    // Connecting tells whether somebody listens.
    bool Listens()
    {
        try {
            const TcpHost host("127.0.0.24", server_.Port());
            return true;
        } catch (const NetworkError&) {
            return false;
        }
    }

    Server server_{Config()};
    Seeker seeker_;
};

TEST_F(NetworkServer, AnswersEveryRequestOfDiscoveryAndNothingElse)
{
    const Bytes request = Frame("03 F407 0001", 7, 255);
    Bytes command = CommandFrame("0101 01A0 0001");
    command[6] = 255;
    // Silence follows what is no request: the next answer is that to the next request.
    for (const Bytes& datagram :
         {Bytes(), Bytes(600, 0xFF), command, Frame("04 F407 0001", 7, 255), Frame("03 F407 007D"),
          Bytes(request.begin(), request.end() - 1)}) {
        seeker_.Send(datagram, server_);
    }
    seeker_.ExpectFinds(server_, 24);
    seeker_.ExpectFinds(server_, 24);
    EXPECT_EQ(server_.With([](Controller& c) { return c.MainOutputs(); }), 0);
    server_.Stop();
    server_.Start();
    seeker_.ExpectFinds(server_, 24);
}

TEST_F(NetworkServer, ARestartDropsConnectionsAndComesBackInOneStep)
{
    TcpHost host(server_);
    ASSERT_TRUE(Await([this] { return server_.Connections() == 1; }));
    Execute({0x1002, 0});
    EXPECT_EQ(server_.Connections(), 1U);
    server_.AdvanceBy(std::chrono::seconds(5));
    EXPECT_EQ(server_.Connections(), 0U);
    EXPECT_TRUE(host.ClosedByServer());
    EXPECT_TRUE(Listens());
    seeker_.ExpectFinds(server_, 24);
}

TEST_F(NetworkServer, StaysWhereItIsWhenTheComputerHasNoSuchAddress)
{
    Execute({0x01B1, 203, 0, 113, 255, 0, 0, 0, 0, 0, 0, 0});
    Execute({0x1002, 1});
    server_.AdvanceBy(std::chrono::seconds(1));
    EXPECT_EQ(server_.Address(), "127.0.0.24");
    EXPECT_TRUE(Listens());
}

TEST_F(NetworkServer, ARestartWaitsUntilItsPortIsFreeAgain)
{
    Execute({0x1002, 1});
    server_.AdvanceBy(Maintenance::kResetDelay);
    {
        asio::io_context io;
        const tcp::acceptor other(io, {asio::ip::make_address("127.0.0.24"), server_.Port()});
        server_.AdvanceBy(Maintenance::kBootTime);
        EXPECT_EQ(server_.Connections(), 0U);
    }
    EXPECT_TRUE(Await([this] { return Listens(); }));
}

} // namespace
} // namespace lumosim
