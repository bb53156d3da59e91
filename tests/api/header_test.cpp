#include <gtest/gtest.h>

extern "C" int HeaderInC(void);

TEST(Header, ServesC99)
{
    EXPECT_EQ(HeaderInC(), 1);
}
