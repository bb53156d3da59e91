#include "tools/tool_test.h"

namespace zelq::test {

namespace {

class CompletionTest : public ToolTest
{
  protected:
    /// What bash offers behind the words typed; the last one is incomplete.
    std::string Completed(const std::string& typed)
    {
        const std::string script = WriteFile("completion", RunAlone("completion bash").output);
        const std::string commands =
            "set -u; PATH=" + std::filesystem::path(Program()).parent_path().string() +
            ":$PATH; compopt() { :; }; . " + script + "; COMP_WORDS=(" + typed +
            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _zelq; echo \"${COMPREPLY[*]-}\"";
        PipedProcess bash("/bin/bash", {"--norc", "-c", commands}, variables_);
        EXPECT_EQ(bash.Wait(), 0);
        EXPECT_EQ(bash.Errors(), "");
        return bash.Output();
    }
};

TEST_F(CompletionTest, OffersVerbsOptionsChoicesAndNames)
{
    Configure(R"({"targets": {"press1": {}, "press2": {}}})");
    EXPECT_EQ(Completed("zelq sta"), "status\n");
    EXPECT_EQ(Completed("zelq -t press1 alarms re"), "reset\n");
    EXPECT_EQ(Completed("zelq home X --t"), "--to\n");
    EXPECT_EQ(Completed("zelq home X --to l"), "limit\n");
    EXPECT_EQ(Completed("zelq -t ''"), "press1 press2\n");
    EXPECT_EQ(Completed("zelq io set 5 1 o"), "on off\n");
    EXPECT_EQ(RunAlone("completion fish").exit, 2);
    EXPECT_EQ(RunAlone("completion targets --json").AsJson()["targets"].size(), 2U);
}

} // namespace

} // namespace zelq::test
