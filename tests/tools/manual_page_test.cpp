#include "tools/tool_test.h"

namespace zelq::test {

namespace {

TEST_F(ToolTest, TheManualPageHasEveryVerb)
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
