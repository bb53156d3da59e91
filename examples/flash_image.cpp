// Flash image: erase flash sectors, write an image into them, read it back and compare.
//
//   flash_image                                     a simulated controller inside the program
//   flash_image --image program.bin                 writes that file in place of a test pattern
//   flash_image --network 192.168.0 --controller 3  the real one at 192.168.0.3
//
// On a real controller this destroys what its flash holds there: know the address.

#include "support/console.h"
#include "support/target.h"
#include "zelq.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

// What the controller takes the mode word for, and how its flash is divided.
constexpr short kErase = 0;
constexpr unsigned short kWrite = 1;
constexpr unsigned short kRead = 2;
constexpr std::size_t kSectorBytes = 4096;

constexpr std::size_t kMostAtOnce = 1024;

using Bytes = std::vector<unsigned char>;

/// The file's bytes, or a pattern of 64 KiB where no file is named.
Bytes LoadImage(const std::string& file)
{
    Bytes image;
    if (file.empty()) {
        for (unsigned i = 0; i < 65536; ++i) {
            image.push_back(static_cast<unsigned char>(i * 7 + i / 256));
        }
        return image;
    }
    std::ifstream in(file, std::ios::binary);
    image.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (image.empty()) throw std::runtime_error("there is nothing in " + file);
    // Flash is written in words of two bytes.
    if (image.size() % 2 != 0) image.push_back(0xFF);
    return image;
}

void Check(const char* what, short result)
{
    if (result == ZELQ_OK) return;
    throw std::runtime_error(std::string(what) + " gives " + std::to_string(result));
}

class FlashImage
{
  public:
    FlashImage(short zelNo, unsigned int address, Bytes image)
        : zelNo_(zelNo),
          number_(static_cast<unsigned short>(zelNo)),
          address_(address),
          image_(std::move(image))
    {}

    void Erase() const
    {
        const std::size_t first = address_ / kSectorBytes;
        const std::size_t last = (address_ + image_.size() - 1) / kSectorBytes;
        example::LiveLines live;
        for (std::size_t sector = first; sector <= last; ++sector) {
            const auto number = static_cast<short>(sector);
            Check("zelQ_FlashErase", zelQ_FlashErase(zelNo_, kErase, number, number));
            Progress(live, "erase", sector - first + 1, last - first + 1);
        }
    }

    void Write() const
    {
        ForEachPiece("write", [&](unsigned int address, std::size_t at, short size) {
            Check("zelQ_FlashWrite", zelQ_FlashWrite(number_, kWrite, address, &image_[at], size));
        });
    }

    void Compare() const
    {
        ForEachPiece("compare", [&](unsigned int address, std::size_t at, short size) {
            std::array<unsigned char, kMostAtOnce> read{};
            Check("zelQ_FlashRead", zelQ_FlashRead(number_, kRead, address, read.data(), size));
            if (!std::equal(read.begin(), read.begin() + size, &image_[at])) {
                throw std::runtime_error("what was read at " + std::to_string(address) +
                                         " is not what was written");
            }
        });
    }

  private:
    template <typename Use>
    void ForEachPiece(const char* what, Use use) const
    {
        example::LiveLines live;
        for (std::size_t at = 0; at < image_.size(); at += kMostAtOnce) {
            const std::size_t size = std::min(kMostAtOnce, image_.size() - at);
            use(address_ + static_cast<unsigned int>(at), at, static_cast<short>(size));
            Progress(live, what, at + size, image_.size());
        }
    }

    static void Progress(example::LiveLines& live, const char* what, std::size_t done,
                         std::size_t all)
    {
        constexpr std::size_t kBar = 40;
        std::string bar(kBar, '.');
        std::fill_n(bar.begin(), kBar * done / all, '#');
        std::array<char, 96> line{};
        std::snprintf(line.data(), line.size(), "  %-8s [%s] %3u %%", what, bar.c_str(),
                      static_cast<unsigned>(100 * done / all));
        live.Show({line.data()}, done == all);
    }

    short zelNo_;
    unsigned short number_; // the same, as writing and reading take it
    unsigned int address_;
    Bytes image_;
};

} // namespace

int main(int argc, char** argv)
{
    std::string file;
    unsigned int address = 0x40000;
    example::Target target(
        argc, argv, "Writes an image into a Lumo controller's flash and compares it.",
        {{"--image", "File to write; without it, a test pattern of 64 KiB", &file},
         {"--address", "Where to write it", &address}});
    try {
        Bytes image = LoadImage(file);
        target.Connect();
        // Real flash takes its time.
        Check("zelQ_TMOSet", zelQ_TMOSet(target.Number(), 100, 100, 1000));
        std::printf("%zu bytes at 0x%X\n", image.size(), address);
        const FlashImage flash(target.Number(), address, std::move(image));
        flash.Erase();
        flash.Write();
        flash.Compare();
        std::printf("equal\n");
        zelQ_Disconnect(target.Number());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\nflash_image: %s\n", error.what());
        return 1;
    }
    return 0;
}
