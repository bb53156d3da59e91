#pragma once

#include "server/server.h"
#include "support/child_process.h"
#include "support/piped_process.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace zelq::test {

using Json = nlohmann::json;
using testing::HasSubstr;
using Words = std::vector<std::string>;

/// What a run of the program left.
struct Ran
{
    int exit = 0;
    std::string output;
    std::string errors;

    /// The only line of output, as JSON; null when it is none.
    [[nodiscard]] Json AsJson() const { return Json::parse(output, nullptr, false); }
};

/// A row of a table of runs: the words behind the target, what it ends with, a text that is seen
/// (in the errors, when it does not end with 0), a place in its JSON and what stands there.
struct Row
{
    std::string words;
    int exit;
    std::string text;
    std::string place; ///< "/axes/0/unit"; empty: the row is not run with --json
    Json value;
};

/// The real program, against a simulated controller whose time runs with the computer's.
class ToolTest : public testing::Test
{
  protected:
    static constexpr int kNumber = 11;

    ToolTest() : ToolTest(Config()) {}
    explicit ToolTest(const lumosim::ServerConfig& config);

    static lumosim::ServerConfig Config();
    /// One that hosts find, on the only port on which they look.
    static lumosim::ServerConfig Findable(lumosim::ServerConfig config)
    {
        constexpr std::uint16_t kDiscoveryPort = 7000;
        config.discoveryPort = kDiscoveryPort;
        return config;
    }

    void SetUp() override { server_.Start(); }
    void TearDown() override;

    /// "move 0 100" as words; quotes keep spaces in a word.
    static Words Split(const std::string& words);
    /// --network, --controller and --port of the simulator.
    [[nodiscard]] Words TargetWords() const;
    /// The program's file.
    static std::string Program();

    /// Runs it to its end, with the target in front; `typed`: what is typed meanwhile.
    Ran Run(const std::string& words, const std::string& typed = "") const;
    /// The same without a target.
    Ran RunAlone(const std::string& words, const std::string& typed = "") const;
    /// Starts it, with the target in front.
    [[nodiscard]] std::unique_ptr<PipedProcess> Start(const std::string& words) const;

    /// Runs rows, once as text and, where a place is given, once more with --json.
    void Check(const std::vector<Row>& rows) const;

    /// A file of the test's own, which is removed behind it.
    std::string WriteFile(const std::string& name, const std::string& text);
    [[nodiscard]] std::string FileName(const std::string& name) const;
    /// From now on the program's configuration.
    void Configure(const std::string& text)
    {
        variables_["ZELQ_CONFIG"] = WriteFile("config", text);
    }

    template <typename Use>
    auto WithAxis(int axis, Use use)
    {
        return server_.With([&](lumosim::Controller& c) { return use(c.AxisAt(axis)); });
    }

    lumosim::Server server_;
    std::filesystem::path folder_;
    std::map<std::string, std::string> variables_;
};

} // namespace zelq::test
