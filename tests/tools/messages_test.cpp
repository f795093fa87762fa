#include "tools/messages.h"

#include <gtest/gtest.h>

namespace tools {
namespace {

const std::vector<std::string_view> kNames = {
    "ChangeSaturationKVT",    "InvertGrayKVT",        "InvertKVT",  "InvertKVT",       "ReplaceBlueChannelKVT",
    "ReplaceGreenChannelKVT", "ReplaceRedChannelKVT", "HasMaskKVT", "EmbeddedMaskKVT", "MergeChannelsOfAllKVT",
};

const struct {
    const char *what;
    const char *written;
    std::vector<std::string_view> near;
} kWritten[] = {
    {"a letter too many", "InvertKVTT", {"InvertKVT"}},
    {"letters replaced, other case", "hasMusqKvt", {"HasMaskKVT"}},
    {"the name itself, once", "InvertKVT", {"InvertKVT"}},
    {"the start", "Invert", {"InvertKVT", "InvertGrayKVT"}},
    {"a part", "saturation", {"ChangeSaturationKVT"}},
    {"the shortest three", "Channel", {"ReplaceRedChannelKVT", "ReplaceBlueChannelKVT", "MergeChannelsOfAllKVT"}},
    {"nearest by letters before those that hold it", "MaskKVT", {"HasMaskKVT", "EmbeddedMaskKVT"}},
    {"two letters at a start", "In", {"InvertKVT", "InvertGrayKVT"}},
    {"two letters inside", "VT", {}},
    {"nothing like it", "Blur", {}},
    {"nothing at all", "", {}},
};

TEST(NearNames, ByLettersAndByParts) {
    for (const auto &row : kWritten)
        EXPECT_EQ(NearNames(row.written, kNames), row.near) << row.what;
}

TEST(NearNames, SuggestsInASentence) {
    EXPECT_EQ(Suggestion("Blur", kNames), "");
    EXPECT_EQ(Suggestion("Invert", kNames), "; did you mean \"InvertKVT\" or \"InvertGrayKVT\"?");
    EXPECT_EQ(Suggestion("Channel", {"Channels", "aChannel", "theChannel"}),
              "; did you mean \"Channels\", \"aChannel\" or \"theChannel\"?");
}

} // namespace
} // namespace tools
