#include "tools/moving_test.h"

#include <fstream>
#include <sstream>

namespace zelq::test {

namespace {

/// What stands under a heading of the README, as blocks of code.
std::vector<std::string> CodeBlocksUnder(const std::string& heading)
{
    std::ifstream file(ZELQ_README);
    std::vector<std::string> blocks;
    bool isThere = false;
    bool isCode = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("## ")) isThere = line == "## " + heading;
        if (!isThere) continue;
        if (line.starts_with("```")) {
            isCode = !isCode;
            if (isCode) blocks.emplace_back();
        } else if (isCode) {
            blocks.back() += line + '\n';
        }
    }
    return blocks;
}

std::string Replaced(std::string text, const std::string& what, const std::string& with)
{
    const std::size_t place = text.find(what);
    if (place != std::string::npos) text.replace(place, what.size(), with);
    return text;
}

class ReadmeTest : public MovingTest
{
  protected:
    ReadmeTest() : MovingTest(Findable(SmallMachine())) {}

    /// As on the desk of who reads it, where the simulated controller stands in.
    [[nodiscard]] std::string Here(const std::string& text) const
    {
        const std::string number = std::to_string(kNumber);
        const std::string port = std::to_string(server_.Port());
        std::string here =
            Replaced(text, "\"192.168.0\", \"controller\": 3, \"port\": 502",
                     "\"127.0.0\", \"controller\": " + number + ", \"port\": " + port);
        here = Replaced(here, "--network 192.168.0 --controller 3",
                        "--network 127.0.0 --controller " + number + " --port " + port);
        return Replaced(here, "before.json", FileName("before.json"));
    }

    void RunLine(const std::string& line)
    {
        SCOPED_TRACE(line);
        const std::string words = Here(line.substr(line.find("zelq ") + 5));
        if (words == "watch") { // goes on until it is ended
            PipedProcess watch(Program(), Split(words), variables_);
            EXPECT_TRUE(watch.AwaitOutput("motion"));
            watch.Interrupt();
            EXPECT_EQ(watch.Wait(), 0);
            return;
        }
        const Ran ran = RunAlone(words, "y\nq");
        EXPECT_EQ(ran.exit, 0) << ran.output << ran.errors;
    }
};

TEST_F(ReadmeTest, EveryCommandOfTheFirstHourWorks)
{
    int commands = 0;
    for (const std::string& block : CodeBlocksUnder("First hour with a controller")) {
        if (block.starts_with("{")) Configure(Here(block));
        std::istringstream lines(block);
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with("$ ")) continue;
            RunLine(line);
            ++commands;
        }
    }
    EXPECT_GE(commands, 15);
}

TEST_F(ReadmeTest, TheManualPageHasEveryVerb)
{
    const std::string page = RunAlone("manual").output;
    for (const char* verb : {"discover", "watch", "jog", "servo on", "params restore", "manual"}) {
        EXPECT_THAT(page, HasSubstr(std::string(".SS \"") + verb + "\"\n"));
    }
    EXPECT_THAT(page, HasSubstr("\\-\\-target"));
    EXPECT_THAT(RunAlone("manual --json").AsJson()["page"].get<std::string>(),
                HasSubstr(".TH ZELQ 1"));
    EXPECT_EQ(RunAlone("manual --nonsense").exit, 2);
}

} // namespace

} // namespace zelq::test
