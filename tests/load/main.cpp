#include "load/child_roles.h"

#include <gtest/gtest.h>

// The tests, or the role of a child that a test has started.
int main(int argc, char** argv)
{
    if (argc > 2 && std::string(argv[1]) == zelq::test::kChildArgument) {
        return zelq::test::PlayChildRole({argv + 2, argv + argc});
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
