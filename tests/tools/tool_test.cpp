#include "tools/tool_test.h"

#include <atomic>
#include <fstream>
#include <random>

namespace zelq::test {

namespace {

/// A folder that no other test has, at this or another time.
std::filesystem::path FreshFolder()
{
    static std::atomic<int> count = 0;
    const auto name =
        "zelq-tool-" + std::to_string(std::random_device()()) + "-" + std::to_string(++count);
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directory(folder);
    return folder;
}

} // namespace

ToolTest::ToolTest(const lumosim::ServerConfig& config) : server_(config), folder_(FreshFolder())
{
    // Nothing of who runs the tests.
    for (const char* name : {"ZELQ_TARGET", "ZELQ_NETWORK", "ZELQ_CONTROLLER", "ZELQ_PORT"}) {
        variables_[name] = "";
    }
    Configure("{}");
}

lumosim::ServerConfig ToolTest::Config()
{
    lumosim::ServerConfig config;
    config.controller.number = kNumber;
    for (const auto& [station, type] :
         {std::pair(4, lumosim::SlaveType::kInput), std::pair(5, lumosim::SlaveType::kOutput)}) {
        lumosim::SlaveConfig slave;
        slave.position = station;
        slave.type = type;
        config.controller.slaves.push_back(slave);
    }
    config.address = "127.0.0." + std::to_string(kNumber);
    return config;
}

void ToolTest::TearDown()
{
    server_.Stop();
    std::filesystem::remove_all(folder_);
}

Words ToolTest::Split(const std::string& words)
{
    Words split;
    bool isQuoted = false;
    bool isInWord = false;
    for (const char letter : words) {
        const bool isGap = letter == ' ' && !isQuoted;
        if (!isGap && !isInWord) split.emplace_back();
        isInWord = !isGap;
        if (letter == '\'')
            isQuoted = !isQuoted;
        else if (!isGap)
            split.back() += letter;
    }
    return split;
}

Words ToolTest::TargetWords() const
{
    return {"--network",    "127.0.0",
            "--controller", std::to_string(kNumber),
            "--port",       std::to_string(server_.Port())};
}

std::string ToolTest::Program()
{
    const std::filesystem::path own = ProgramPath();
    return (own.parent_path() / "zelq").replace_extension(own.extension()).string();
}

Ran ToolTest::RunAlone(const std::string& words, const std::string& typed) const
{
    PipedProcess process(Program(), Split(words), variables_);
    if (!typed.empty()) process.Type(typed);
    const int exit = process.Wait();
    return {exit, process.Output(), process.Errors()};
}

std::unique_ptr<PipedProcess> ToolTest::Start(const std::string& words) const
{
    Words all = TargetWords();
    const Words own = Split(words);
    all.insert(all.end(), own.begin(), own.end());
    return std::make_unique<PipedProcess>(Program(), all, variables_);
}

Ran ToolTest::Run(const std::string& words, const std::string& typed) const
{
    const auto process = Start(words);
    if (!typed.empty()) process->Type(typed);
    const int exit = process->Wait();
    return {exit, process->Output(), process->Errors()};
}

void ToolTest::Check(const std::vector<Row>& rows) const
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.words);
        const Ran ran = Run(row.words);
        EXPECT_EQ(ran.exit, row.exit) << ran.output << ran.errors;
        EXPECT_THAT(row.exit == 0 ? ran.output : ran.errors, HasSubstr(row.text));
        if (row.place.empty()) continue;
        const Ran json = Run(row.words + " --json");
        const Json document = json.AsJson();
        EXPECT_EQ(json.exit, row.exit) << json.output << json.errors;
        EXPECT_EQ(json.errors, "");
        const Json::json_pointer place(row.place);
        ASSERT_TRUE(document.contains(place)) << json.output;
        EXPECT_EQ(document[place], row.value) << json.output;
    }
}

std::string ToolTest::FileName(const std::string& name) const
{
    return (folder_ / name).generic_string();
}

std::string ToolTest::WriteFile(const std::string& name, const std::string& text)
{
    std::ofstream(FileName(name), std::ios::binary) << text;
    return FileName(name);
}

} // namespace zelq::test
