// Runs the inputs of a fuzz target once, in a build without libFuzzer: replay folder
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int, char** argv)
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<std::uint8_t> input(std::istreambuf_iterator<char>(file), {});
        // Named first: what breaks ends the program.
        std::printf("%s\n", entry.path().filename().string().c_str());
        std::fflush(stdout);
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++count;
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
