// What stands around the controller: the far end of its serial port, hosts that look for it, and
// its own restart.

#include "core/maintenance.h"
#include "core/serial_port.h"
#include "modbus_frames.h"
#include "server/server.h"

#include <asio.hpp>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace lumosim {
namespace {

using asio::ip::tcp;
using asio::ip::udp;
using test::Await;
using test::Bytes;
using test::kPatience;
using test::ReadFrame;
using test::RegistersFrame;

Bytes Pattern(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
    }
    return bytes;
}

ServerConfig Wired(SerialWiring::To to)
{
    ServerConfig config;
    config.clock = Clock::kByHand;
    config.serial.to = to;
    return config;
}

// Runs serial commands as a host's connection would.
class SerialHost
{
  public:
    explicit SerialHost(Server& server) : server_(server) {}

    void Write(std::initializer_list<Word> block)
    {
        const auto run = [&](Controller& controller) { return controller.Execute(block); };
        EXPECT_EQ(server_.With(run), Result::kDone);
    }

    // Reads until `size` bytes have come.
    Bytes Read(std::size_t size)
    {
        Bytes all;
        Await([&] {
            Reply reply;
            server_.With([&](Controller& controller) {
                controller.Run(std::vector<Word>{0x173, 1024}, reply);
            });
            std::size_t count = std::min<std::size_t>(reply.Words()[0], 1024);
            for (std::size_t i = 0; i < count; ++i) {
                const unsigned word = reply.Words()[1 + i / 2];
                all.push_back(static_cast<std::uint8_t>(i % 2 == 0 ? word : word >> 8U));
            }
            return all.size() >= size;
        });
        return all;
    }

  private:
    Server& server_;
};

TEST(SerialFarEnd, IsAProgramAtATcpPort)
{
    Server server(Wired(SerialWiring::To::kTcp));
    server.Start();
    SerialHost host(server);
    host.Write({0x172, 2, 0xEEEE}); // nobody is there
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE("program " + std::to_string(round));
        asio::io_context io;
        tcp::socket program(io);
        program.connect({asio::ip::make_address("127.0.0.1"), server.SerialTcpPort()});
        // More than the port's buffer holds: what it has no room for waits.
        const Bytes sent = Pattern(3 * SerialPort::kReceiveBuffer);
        std::thread sender([&] { asio::write(program, asio::buffer(sent)); });
        EXPECT_EQ(host.Read(sent.size()), sent);
        sender.join();

        host.Write({0x172, 5, 0x0201, 0x0403, 0xEE05});
        host.Write({0x172, 1, 0xEE06});
        Bytes received(6);
        asio::read(program, asio::buffer(received));
        EXPECT_EQ(received, (Bytes{1, 2, 3, 4, 5, 6}));
    }
}

TEST(SerialFarEnd, CanBeNothing)
{
    Server server(Wired(SerialWiring::To::kNothing));
    server.Start();
    SerialHost(server).Write({0x172, 2, 0x0201});
    EXPECT_EQ(server.With([](Controller& c) { return c.Get<SerialPort>().Waiting(); }), 0U);
    EXPECT_EQ(server.SerialTcpPort(), 0);
}

#ifndef _WIN32
TEST(SerialFarEnd, IsAPairOfNamedPipes)
{
    const auto folder = std::filesystem::temp_directory_path();
    ServerConfig config = Wired(SerialWiring::To::kPipe);
    const auto unique = std::chrono::steady_clock::now().time_since_epoch().count();
    config.serial.pipe = (folder / ("lumo-serial-" + std::to_string(unique))).string();
    const std::string in = config.serial.pipe + ".in";
    const std::string out = config.serial.pipe + ".out";
    {
        Server server(config);
        server.Start();
        SerialHost host(server);
        const Bytes sent = Pattern(5000);
        std::ofstream(in, std::ios::binary).write(reinterpret_cast<const char*>(sent.data()), 5000);
        EXPECT_EQ(host.Read(sent.size()), sent);

        host.Write({0x172, 3, 0x4241, 0x0A43});
        std::string line(3, ' ');
        std::ifstream(out, std::ios::binary).read(line.data(), 3);
        EXPECT_EQ(line, "ABC");
        server.Stop();
        EXPECT_FALSE(std::filesystem::exists(in));
        EXPECT_FALSE(std::filesystem::exists(out));
    }
    std::ofstream(in) << "an ordinary file";
    EXPECT_THROW(Server(config).Start(), std::system_error);
    EXPECT_TRUE(std::filesystem::remove(in));
}
#endif

// A host that looks for controllers.
class Seeker
{
  public:
    Seeker()
    {
        socket_.open(udp::v4());
        socket_.set_option(asio::socket_base::broadcast(true));
        socket_.bind({asio::ip::address_v4::loopback(), 0});
    }

    void Send(const Bytes& datagram, const std::string& address, std::uint16_t port)
    {
        socket_.send_to(asio::buffer(datagram), {asio::ip::make_address(address), port});
    }

    // The next answer; empty when none comes.
    Bytes Receive()
    {
        Bytes bytes(2000);
        std::size_t size = 0;
        socket_.async_receive(asio::buffer(bytes),
                              [&](const asio::error_code&, std::size_t n) { size = n; });
        io_.restart();
        io_.run_for(kPatience);
        socket_.cancel();
        io_.run();
        bytes.resize(size);
        return bytes;
    }

  private:
    asio::io_context io_;
    udp::socket socket_{io_};
};

// Asks for, and tells, the last two octets of a controller's address.
Bytes Request()
{
    Bytes frame = ReadFrame(7, 0xF407, 1);
    frame[6] = 255;
    return frame;
}

Bytes AnswerOf(unsigned number)
{
    Bytes frame = RegistersFrame(7, 3, {number << 8U});
    frame[6] = 255;
    return frame;
}

ServerConfig Findable(int number, std::uint16_t port)
{
    ServerConfig config;
    config.clock = Clock::kByHand;
    config.controller.number = number;
    config.address = "127.0.0." + std::to_string(number);
    config.discoveryPort = port;
    return config;
}

TEST(Discovery, AnswersEveryRequestAndNothingElse)
{
    Server server(Findable(21, 0));
    server.Start();
    Seeker seeker;
    const std::uint16_t port = server.DiscoveryPort();
    Bytes command = test::CommandFrame(1, {0x0101, 0x1A0, 1});
    command[6] = 255;
    // Silence follows what is no request: the next answer is that to the next request.
    const Bytes request = Request();
    Bytes otherFunction = request;
    otherFunction[7] = 4;
    for (const Bytes& datagram :
         {Bytes(), Bytes(600, 0xFF), command, otherFunction, ReadFrame(1, 0xF407, 125),
          Bytes(request.begin(), request.end() - 1)}) {
        seeker.Send(datagram, server.Address(), port);
    }
    for (int i = 0; i < 2; ++i) {
        seeker.Send(request, server.Address(), port);
        EXPECT_EQ(seeker.Receive(), AnswerOf(21));
    }
    EXPECT_EQ(server.With([](Controller& c) { return c.MainOutputs(); }), 0);
    server.Stop();
    server.Start();
    seeker.Send(request, server.Address(), server.DiscoveryPort());
    EXPECT_EQ(seeker.Receive(), AnswerOf(21));
}

TEST(Discovery, BroadcastReachesEveryController)
{
    Server first(Findable(22, 0));
    first.Start();
    Server second(Findable(23, first.DiscoveryPort()));
    second.Start();
    Seeker seeker;
    seeker.Send(Request(), "127.255.255.255", first.DiscoveryPort());
    const std::vector<Bytes> answers = {seeker.Receive(), seeker.Receive()};
    EXPECT_THAT(answers, testing::UnorderedElementsAre(AnswerOf(22), AnswerOf(23)));
}

// Connecting tells whether somebody listens.
bool Listens(const std::string& address, std::uint16_t port)
{
    asio::io_context io;
    tcp::socket socket(io);
    asio::error_code error;
    socket.connect({asio::ip::make_address(address), port}, error);
    return !error;
}

class RestartOnNetwork : public testing::Test
{
  protected:
    void SetUp() override
    {
        server_.Start();
        socket_.connect({asio::ip::make_address(server_.Address()), server_.Port()});
        ASSERT_TRUE(Await([this] { return server_.Connections() == 1; }));
    }

    void Execute(std::initializer_list<Word> block)
    {
        server_.With([&](Controller& c) { EXPECT_EQ(c.Execute(block), Result::kDone); });
    }

    asio::io_context io_;
    tcp::socket socket_{io_};
    Server server_{Findable(24, 0)};
};

TEST_F(RestartOnNetwork, DropsConnectionsAndComesBackInOneStep)
{
    Execute({0x1002, 0});
    EXPECT_EQ(server_.Connections(), 1U);
    server_.AdvanceBy(std::chrono::seconds(5));
    EXPECT_EQ(server_.Connections(), 0U);
    Bytes rest(1);
    asio::error_code error;
    EXPECT_EQ(asio::read(socket_, asio::buffer(rest), error), 0U);
    EXPECT_TRUE(Listens("127.0.0.24", server_.Port()));
    Seeker seeker;
    seeker.Send(Request(), "127.0.0.24", server_.DiscoveryPort());
    EXPECT_EQ(seeker.Receive(), AnswerOf(24));
}

TEST_F(RestartOnNetwork, StaysWhereItIsWhenTheComputerHasNoSuchAddress)
{
    Execute({0x01B1, 203, 0, 113, 255, 0, 0, 0, 0, 0, 0, 0});
    Execute({0x1002, 1});
    server_.AdvanceBy(std::chrono::seconds(1));
    EXPECT_EQ(server_.Address(), "127.0.0.24");
    EXPECT_TRUE(Listens("127.0.0.24", server_.Port()));
}

TEST_F(RestartOnNetwork, WaitsUntilItsPortIsFreeAgain)
{
    Execute({0x1002, 1});
    server_.AdvanceBy(Maintenance::kResetDelay);
    {
        const tcp::acceptor other(io_, {asio::ip::make_address("127.0.0.24"), server_.Port()});
        server_.AdvanceBy(Maintenance::kBootTime);
        EXPECT_EQ(server_.Connections(), 0U);
    }
    EXPECT_TRUE(Await([this] { return Listens("127.0.0.24", server_.Port()); }));
}

} // namespace
} // namespace lumosim
