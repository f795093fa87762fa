#include "support/levels.h"
#include "sweep/trial.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

/// Every registered routine on hosts that align no more than they must: the stack to 4 bytes, where the platform's
/// calls allow that at all, and instance data to the size of a pointer. Results are those of a host that aligns
/// everything.
namespace {

using namespace sweep;

struct Misalignment {
    int stackShift;
    std::uint32_t dataOffset;
};

#if defined(__i386__)
constexpr std::uint32_t kAlignedData = 32;
constexpr Misalignment kMisalignments[] = {{4, 4}, {8, 12}, {12, 20}, {0, 24}};
#else
// Calls of 64 bits keep the stack aligned to 16 bytes, and pointers in instance data are aligned to 8.
constexpr std::uint32_t kAlignedData = 32;
constexpr Misalignment kMisalignments[] = {{0, 8}, {0, 24}, {0, 40}};
#endif

/// Wide enough for every vector, with a rest.
const Situation kSituations[] = {
    {.what = "bitmaps", .pictures = {.width = 133, .height = 5}},
    {.what = "bitmaps with an alpha channel", .pictures = {.width = 133, .height = 5, .hasAlphaChannel = true}},
    {.what = "graphics worlds", .pictures = {.width = 133, .height = 5, .form = standin::Form::GraphicsWorld}},
    {.what = "nil arguments", .pictures = {.width = 133, .height = 5}, .nilArguments = true},
};

class MisalignedHost : public testing::TestWithParam<int> {};

TEST_P(MisalignedHost, GetsWhatAnAlignedOneGets) {
    int calls = 0;
    for (const Situation &situation : kSituations)
        for (const Routine &routine : Routines()) {
            if (!routine.Meets(situation))
                continue;
            const Outcome aligned = Try(routine, situation, {.dataOffset = kAlignedData}, nullptr, GetParam());
            for (const auto &[stackShift, dataOffset] : kMisalignments) {
                SCOPED_TRACE(fmt::format("{}, {}: stack {} bytes off, data at {}", routine.Describe(), situation.what,
                                         stackShift, dataOffset));
                const Outcome outcome =
                    Try(routine, situation, {.dataOffset = dataOffset, .stackShift = stackShift}, nullptr, GetParam());
                EXPECT_EQ(outcome.problems, std::vector<std::string>());
                EXPECT_EQ(outcome.result, aligned.result);
                EXPECT_EQ(outcome.raised, aligned.raised);
                ASSERT_EQ(outcome.changed.size(), aligned.changed.size());
                for (std::size_t i = 0; i < outcome.changed.size(); ++i)
                    EXPECT_EQ(outcome.changed[i].after, aligned.changed[i].after);
                ++calls;
            }
        }
    fmt::print("misaligned: {} calls\n", calls);
}

INSTANTIATE_TEST_SUITE_P(Levels, MisalignedHost, testing::ValuesIn(EveryLevelOffered()),
                         [](const auto &parameter) { return std::string(kLevelNames[parameter.param]); });

} // namespace
