#include "client/eject/MountUsers.h"

#include <gmock/gmock.h>

namespace {

TEST(MountUsersTest, AreNamedInASentenceUpToFive)
{
    EXPECT_EQ(MountUsers::sentence(""), "somebody who cannot be seen from here");
    EXPECT_EQ(MountUsers::sentence("less (process 1)\n"), "less (process 1)");
    EXPECT_EQ(MountUsers::sentence("a\nb\nc\nd\ne\n"), "a, b, c, d, e");
    EXPECT_EQ(MountUsers::sentence("a\nb\nc\nd\ne\nf\n"), "a, b, c, d, e and 1 more");
}

} // namespace
