#include "frame/program.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zelq::tool {

namespace {

constexpr const char* kFlashManual =
    R"(Reads, writes, erases and compares the flash memory of a controller. Addresses and lengths are
bytes, also as 0x40000. Writing can only clear bits: erase the sectors first. What a controller
keeps where is its own; writing over its firmware makes it useless. Modes and sectors are those of
the simulated controller: 256 sectors of 4096 bytes.

  zelq -t press1 flash read 0x40000 65536 image.bin
  zelq -t press1 flash erase 64 79
  zelq -t press1 flash write 0x40000 image.bin
  zelq -t press1 flash verify 0x40000 image.bin)";

// What the controller takes the mode for.
constexpr short kEraseFlash = 0;
constexpr unsigned short kWriteFlash = 1;
constexpr unsigned short kReadFlash = 2;

constexpr std::size_t kMostFlashBytes = 1024;
/// Erasing a sector takes longer than other commands.
constexpr short kEraseMs = 1000;

using FlashBytes = std::vector<unsigned char>;

struct FlashOptions
{
    std::uint32_t address = 0;
    std::uint32_t length = 0;
    int first = 0;
    int last = 0;
    std::string file;
    bool yes = false;
};

std::string Hex(std::uint64_t value)
{
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "0x%llX", static_cast<unsigned long long>(value));
    return text.data();
}

FlashBytes ReadImage(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    if (!file) throw Failure(kUsage, name + ": cannot be read");
    FlashBytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (bytes.empty()) throw Failure(kUsage, name + ": is empty");
    return bytes;
}

void CheckRange(std::uint64_t address, std::uint64_t length)
{
    // Flash is addressed in words of two bytes.
    if (address % 2 != 0) throw Failure(kUsage, "the address has to be even");
    if (address + length > (std::uint64_t{1} << 32))
        throw Failure(kUsage, "there is no such address");
}

/// Uses pieces of the range one after the other: (address, offset, size). Tells how far it has come
/// when it is interrupted.
template <typename Use>
void ForEachPiece(Context& context, const char* what, const FlashOptions& options,
                  std::size_t length, Use use)
{
    for (std::size_t at = 0; at < length; at += kMostFlashBytes) {
        if (Interrupted()) {
            throw Failure(kInterrupted, "interrupted at " + Hex(options.address + at) +
                                            ", behind " + std::to_string(at) + " bytes");
        }
        const std::size_t size = std::min(kMostFlashBytes, length - at);
        use(options.address + static_cast<std::uint32_t>(at), at, size);
        context.out.Progress(std::string(what) + " " + std::to_string(100 * (at + size) / length) +
                             " %");
    }
    context.out.EndProgress();
}

/// An odd last byte is read with the one behind it.
void ReadPiece(const Controller& controller, std::uint32_t address, unsigned char* to,
               std::size_t size)
{
    std::array<unsigned char, kMostFlashBytes> piece{};
    const auto even = static_cast<short>(size + size % 2);
    Expect(zelQ_FlashRead(static_cast<unsigned short>(controller.Number()), kReadFlash, address,
                          piece.data(), even),
           "read flash at " + Hex(address));
    std::copy_n(piece.begin(), size, to);
}

void FlashDone(Context& context, const char* what, const FlashOptions& options, std::size_t length)
{
    context.out.Line(std::to_string(length) + " bytes " + what + " at " + Hex(options.address));
    context.out.Show(Json{{"address", options.address}, {"bytes", length}});
}

ExitCode ReadFlash(Context& context, const FlashOptions& options)
{
    CheckRange(options.address, options.length);
    const Controller& controller = context.Connected();
    FlashBytes bytes(options.length);
    ForEachPiece(context, "reading", options, bytes.size(),
                 [&](std::uint32_t address, std::size_t at, std::size_t size) {
                     ReadPiece(controller, address, &bytes[at], size);
                 });
    std::ofstream file(options.file, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw Failure(kUsage, options.file + ": cannot be written");
    FlashDone(context, "read", options, bytes.size());
    return kDone;
}

ExitCode WriteFlash(Context& context, const FlashOptions& options)
{
    FlashBytes image = ReadImage(options.file);
    CheckRange(options.address, image.size());
    const Controller& controller = context.Connected();
    context.Confirm("Write " + std::to_string(image.size()) + " bytes to flash at " +
                        Hex(options.address) + "?",
                    options.yes);
    const std::size_t length = image.size();
    // A last byte by itself goes with one that changes nothing.
    if (length % 2 != 0) image.push_back(0xFF);
    ForEachPiece(context, "writing", options, image.size(),
                 [&](std::uint32_t address, std::size_t at, std::size_t size) {
                     Expect(zelQ_FlashWrite(static_cast<unsigned short>(controller.Number()),
                                            kWriteFlash, address, &image[at],
                                            static_cast<short>(size)),
                            "write flash at " + Hex(address));
                 });
    FlashDone(context, "written", options, length);
    return kDone;
}

ExitCode VerifyFlash(Context& context, const FlashOptions& options)
{
    const FlashBytes image = ReadImage(options.file);
    CheckRange(options.address, image.size());
    const Controller& controller = context.Connected();
    FlashBytes bytes(image.size());
    ForEachPiece(context, "comparing", options, image.size(),
                 [&](std::uint32_t address, std::size_t at, std::size_t size) {
                     ReadPiece(controller, address, &bytes[at], size);
                 });
    const auto [theirs, ours] = std::mismatch(bytes.begin(), bytes.end(), image.begin());
    if (theirs != bytes.end()) {
        const auto offset = static_cast<std::uint64_t>(theirs - bytes.begin());
        throw Failure(kRefused, "flash and file differ, first at " + Hex(options.address + offset) +
                                    ": " + Hex(*theirs) + " is not " + Hex(*ours));
    }
    FlashDone(context, "are the same", options, image.size());
    return kDone;
}

ExitCode EraseFlash(Context& context, const FlashOptions& options)
{
    if (options.last < options.first)
        throw Failure(kUsage, "the last sector lies before the first");
    const Controller& controller = context.Connected();
    context.Confirm("Erase the flash sectors " + std::to_string(options.first) + " to " +
                        std::to_string(options.last) + "?",
                    options.yes);
    zelQ_TMOSet(controller.Number(), kEraseMs, kEraseMs, kEraseMs);
    for (int sector = options.first; sector <= options.last; ++sector) {
        if (Interrupted()) {
            throw Failure(kInterrupted, "interrupted before sector " + std::to_string(sector));
        }
        const auto number = static_cast<short>(sector);
        Expect(zelQ_FlashErase(controller.Number(), kEraseFlash, number, number),
               "erase sector " + std::to_string(sector));
        context.out.Progress("sector " + std::to_string(sector) + " erased");
    }
    context.out.EndProgress();
    context.out.Line("sectors " + std::to_string(options.first) + " to " +
                     std::to_string(options.last) + " erased");
    context.out.Show(Json{{"first", options.first}, {"last", options.last}});
    return kDone;
}

} // namespace

void AddFlash(Program& program)
{
    const auto options = std::make_shared<FlashOptions>();
    CLI::App& outer = program.AddVerb(
        {"flash", Group::kKeep, "read, write, erase and compare flash memory", kFlashManual}, {});
    const auto add = [&](const char* name, const char* summary,
                         ExitCode (*verb)(Context&, const FlashOptions&)) -> CLI::App& {
        return program.AddVerb(outer, name, summary, [options, verb](Context& context) {
            return verb(context, *options);
        });
    };
    const auto addAddress = [&](CLI::App& app) {
        app.add_option("address", options->address, "where it begins, even")->required();
    };
    const auto addFile = [&](CLI::App& app) {
        app.add_option("file", options->file, "the file")->required()->type_name("FILE");
    };
    const auto addYes = [&](CLI::App& app) { app.add_flag("--yes", options->yes, "do not ask"); };
    CLI::App& read = add("read", "read flash into a file", ReadFlash);
    addAddress(read);
    read.add_option("length", options->length, "bytes")->required()->check(CLI::Range(1, 1 << 28));
    addFile(read);
    CLI::App& write = add("write", "write a file to flash", WriteFlash);
    addAddress(write);
    addFile(write);
    addYes(write);
    CLI::App& erase = add("erase", "erase sectors", EraseFlash);
    for (const auto& [name, value] :
         {std::pair("first", &options->first), std::pair("last", &options->last)}) {
        erase.add_option(name, *value, "sector")->required()->check(CLI::Range(0, 32767));
    }
    addYes(erase);
    CLI::App& verify = add("verify", "compare flash with a file", VerifyFlash);
    addAddress(verify);
    addFile(verify);
}

} // namespace zelq::tool
