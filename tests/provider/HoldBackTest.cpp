#include <vector>

#include <gtest/gtest.h>

#include "provider/HoldBack.h"

using namespace std::chrono_literals;
using Knowledge = UdevDatabase::Knowledge;

TEST(HoldBackTest, LastsUntilUDisks2HasHadTimeSinceUdevLearntSomething)
{
    struct Look
    {
        std::chrono::milliseconds at;
        Knowledge known;
        bool isOver;
    };
    const struct
    {
        const char* what;
        std::vector<Look> looks;
    } table[] = {
        {"udev was done before",
         {{0ms, Knowledge::Content, false},
          {199ms, Knowledge::Content, false},
          {200ms, Knowledge::Content, true}}},
        {"udev is slow",
         {{0ms, Knowledge::Nothing, false},
          {5000ms, Knowledge::Nothing, false},
          {5020ms, Knowledge::Content, false},
          {5219ms, Knowledge::Content, false},
          {5220ms, Knowledge::Content, true}}},
        {"nothing is recognised", {{20ms, Knowledge::Device, false}, {220ms, Knowledge::Device, true}}},
        {"udev learns more when it looks again",
         {{20ms, Knowledge::Device, false},
          {200ms, Knowledge::Content, false},
          {399ms, Knowledge::Content, false},
          {400ms, Knowledge::Content, true}}},
        {"there is no udev", {{9999ms, Knowledge::Nothing, false}, {10000ms, Knowledge::Nothing, true}}},
        {"udev is done at the last moment",
         {{9900ms, Knowledge::Content, false}, {10000ms, Knowledge::Content, true}}},
    };
    for (const auto& row : table) {
        const HoldBack::Clock::time_point start{};
        HoldBack held(start);
        for (const Look& look : row.looks) {
            EXPECT_EQ(held.isOver(look.known, start + look.at), look.isOver)
                << row.what << ", " << look.at.count() << " ms";
        }
    }
}
