#include "client/watch/Screen.h"

#include <gmock/gmock.h>

TEST(ScreenTest, DrawsOverWhatWasThere)
{
    EXPECT_EQ(Screen::drawing("one\ntwo\n", 3), "\x1b[Hone\x1b[K\r\ntwo\x1b[K\x1b[J");
    EXPECT_EQ(Screen::drawing("one\ntwo\n", 2), "\x1b[Hone\x1b[K\r\ntwo\x1b[K\x1b[J");
    EXPECT_EQ(Screen::drawing("", 3), "\x1b[H\x1b[J");
}

TEST(ScreenTest, SaysHowManyLinesHaveNoRoom)
{
    EXPECT_EQ(Screen::drawing("one\ntwo\nthree\n", 2), "\x1b[Hone\x1b[K\r\n... 2 more\x1b[K\x1b[J");
    EXPECT_EQ(Screen::drawing("one\ntwo\n", 1), "\x1b[H... 2 more\x1b[K\x1b[J");
}
