// The far end of the serial port.

#include "core/command.h"
#include "core/serial_port.h"
#include "modbus_frames.h"
#include "network.h"
#include "server/server.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace lumosim {
namespace {

using asio::ip::tcp;
using test::Bytes;

ServerConfig Wired(SerialWiring::To to)
{
    ServerConfig config;
    config.clock = Clock::kByHand;
    config.serial.to = to;
    return config;
}

// Runs a command as a host's connection would.
void Write(Server& server, std::initializer_list<Word> block)
{
    EXPECT_EQ(server.With([&](Controller& c) { return c.Execute(block); }), Result::kDone);
}

// Reads until `size` bytes have come.
Bytes Read(Server& server, std::size_t size)
{
    Bytes all;
    test::Await([&] {
        Reply reply;
        server.With([&](Controller& c) { c.Run(std::vector<Word>{0x173, 1024}, reply); });
        CommandReader in(reply.Words());
        const std::size_t end = all.size() + std::min<std::size_t>(in.NextWord(), 1024);
        while (all.size() < end) { // two in each register, the earlier one in the low half
            const Word word = in.NextWord();
            all.push_back(static_cast<std::uint8_t>(word & 0xFFU));
            if (all.size() < end) all.push_back(static_cast<std::uint8_t>(word >> 8U));
        }
        return all.size() >= size;
    });
    return all;
}

Bytes Pattern(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
    }
    return bytes;
}

TEST(SerialFarEnd, IsAProgramAtATcpPort)
{
    Server server(Wired(SerialWiring::To::kTcp));
    server.Start();
    Write(server, {0x172, 2, 0xEEEE}); // nobody is there
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE("program " + std::to_string(round));
        asio::io_context io;
        tcp::socket program(io);
        program.connect({asio::ip::make_address("127.0.0.1"), server.SerialTcpPort()});
        // More than the port's buffer holds: what it has no room for waits.
        const Bytes sent = Pattern(3 * SerialPort::kReceiveBuffer);
        std::thread sender([&] { asio::write(program, asio::buffer(sent)); });
        EXPECT_EQ(Read(server, sent.size()), sent);
        sender.join();

        Write(server, {0x172, 5, 0x0201, 0x0403, 0xEE05});
        Write(server, {0x172, 1, 0xEE06});
        Bytes received(6);
        asio::read(program, asio::buffer(received));
        EXPECT_EQ(received, (Bytes{1, 2, 3, 4, 5, 6}));
    }
}

TEST(SerialFarEnd, CanBeNothing)
{
    Server server(Wired(SerialWiring::To::kNothing));
    server.Start();
    Write(server, {0x172, 2, 0x0201});
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
        const Bytes sent = Pattern(5000);
        std::ofstream(in, std::ios::binary).write(reinterpret_cast<const char*>(sent.data()), 5000);
        EXPECT_EQ(Read(server, sent.size()), sent);

        Write(server, {0x172, 3, 0x4241, 0x0A43});
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

} // namespace
} // namespace lumosim
