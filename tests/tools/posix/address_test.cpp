// What only Linux can show. Under Wine all loopback addresses share a datagram port, so that
// somebody always answers; and where the port of a server that closes before its clients do is
// taken for some time, the simulated controller comes back later than anybody waits here.

#include "tools/tool_test.h"

namespace zelq::test {

namespace {

using AddressTest = ToolTest;

TEST_F(AddressTest, NobodyIsFoundWhereNobodyIs)
{
    const Ran nobody = RunAlone("discover --at 127.0.0.12 --json");
    EXPECT_EQ(nobody.exit, 3);
    EXPECT_EQ(nobody.AsJson(), Json::parse(R"({"found": []})"));
}

TEST_F(AddressTest, ARestartedControllerHasItsNewSettings)
{
    EXPECT_EQ(Run("reset", "n\n").exit, 2);
    const Ran ran = Run("reset --json --yes");
    EXPECT_EQ(ran.exit, 0) << ran.errors;
    EXPECT_EQ(ran.AsJson()["powerResets"], 1);

    EXPECT_EQ(Run("network set 127.0.1 --mask 255.255.0.0 --yes").exit, 0);
    // At its old address it is not to be found any more.
    EXPECT_EQ(Run("reset --yes --wait 1").exit, 4);
    EXPECT_EQ(RunAlone("--network 127.0.1 --controller 11 --port " +
                       std::to_string(server_.Port()) + " network show")
                  .exit,
              0);
}

} // namespace

} // namespace zelq::test
