// The server over real loopback connections.

#include "modbus_frames.h"
#include "server/server.h"

#include <asio.hpp>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace lumosim {
namespace {

using test::Await;
using test::Bytes;
using test::CommandFrame;
using test::Joined;
using test::kPatience;
using test::ReadFrame;
using test::RegistersFrame;

// A host's connection. A server that never answers fails the test instead of hanging it.
class Host
{
  public:
    explicit Host(const Server& server)
    {
        socket_.connect({asio::ip::make_address(server.Address()), server.Port()});
        socket_.set_option(asio::ip::tcp::no_delay(true));
    }

    void Send(std::span<const std::uint8_t> bytes)
    {
        asio::write(socket_, asio::buffer(bytes.data(), bytes.size()));
    }

    // Up to `size` bytes, fewer when the server closes before.
    Bytes Receive(std::size_t size)
    {
        Bytes bytes(size);
        std::size_t received = 0;
        bool ended = false;
        asio::async_read(socket_, asio::buffer(bytes),
                         [&](const asio::error_code&, std::size_t count) {
                             received = count;
                             ended = true;
                         });
        io_.restart();
        io_.run_for(kPatience);
        EXPECT_TRUE(ended) << "no answer";
        if (!ended) {
            socket_.cancel();
            io_.run();
        }
        bytes.resize(received);
        return bytes;
    }

    bool ClosedByServer() { return Receive(1).empty(); }

  private:
    asio::io_context io_;
    asio::ip::tcp::socket socket_{io_};
};

ServerConfig ByHand()
{
    ServerConfig config;
    config.clock = Clock::kByHand;
    return config;
}

TEST(Server, AnswersManyFramesOfOneSegment)
{
    ServerConfig config = ByHand();
    config.controller.axes = 32;
    Server server(config);
    server.Start();
    Host host(server);
    Bytes requests;
    for (unsigned axis = 0; axis < 32; ++axis) {
        requests = Joined({requests, ReadFrame(axis + 1, axis << 8U | 0x38U, 2)});
    }
    host.Send(requests);
    const Bytes answers = host.Receive(32 * 13);
    ASSERT_EQ(answers.size(), 32U * 13U);
    EXPECT_EQ(Bytes(answers.end() - 13, answers.end()), RegistersFrame(32, 3, {1, 0}));
}

TEST(Server, GarbageClosesItsConnectionAndNoOther)
{
    Server server(ByHand());
    server.Start();
    Host good(server);
    Host bad(server);
    const Bytes garbage(32, 0xEE);
    bad.Send(garbage);
    EXPECT_TRUE(bad.ClosedByServer());
    good.Send(ReadFrame(1, 0x38, 2));
    EXPECT_EQ(good.Receive(13), RegistersFrame(1, 3, {1, 0}));
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
    const std::uint16_t port = server.Port();
    EXPECT_NE(port, 0);
    Host host(server);
    EXPECT_TRUE(Await([&server] { return server.Connections() == 1; }));
    server.DropConnections();
    EXPECT_TRUE(host.ClosedByServer());
    EXPECT_EQ(server.Connections(), 0U);

    Host second(server);
    server.With([](Controller& controller) { controller.SetMainInputs(0x11); });
    server.Stop();
    EXPECT_TRUE(second.ClosedByServer());
    EXPECT_THROW(Host{server}, std::system_error) << "nobody listens";

    server.Start();
    Host third(server);
    third.Send(ReadFrame(1, 0xF415, 1));
    EXPECT_EQ(third.Receive(11), RegistersFrame(1, 3, {0x11})) << "the same controller";
}

TEST(Server, TellsThatThePortIsTaken)
{
    Server first(ByHand());
    first.Start();
    ServerConfig config = ByHand();
    config.port = first.Port();
    Server second(config);
    EXPECT_THROW(second.Start(), std::system_error);
    second.Stop();
}

TEST(Server, ServesManyHostsAtOnce)
{
    ServerConfig config;
    Server server(config);
    server.Start();
    std::vector<std::thread> hosts;
    for (unsigned number = 0; number < 8; ++number) {
        hosts.emplace_back([&server, number] {
            Host host(server);
            for (unsigned i = 0; i < 200; ++i) {
                // Two frames of one command, so that mixed connections would show.
                host.Send(Joined({CommandFrame(i, {0x0201, 1, 1}),
                                  CommandFrame(i, {0x0202, number % 4, 1, 5000})}));
                ASSERT_EQ(host.Receive(22),
                          Joined({RegistersFrame(i, 23, {0}), RegistersFrame(i, 23, {0})}));
            }
        });
    }
    for (std::thread& host : hosts) {
        host.join();
    }
    EXPECT_TRUE(Await([&server] { return server.Connections() == 0; }));
}

} // namespace
} // namespace lumosim
