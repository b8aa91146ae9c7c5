#include "app/SplitViewFrames.h"

#include <gtest/gtest.h>

TEST(SplitViewFrames, SavedFramesPlaceTheDividersAndMissingOrShortOnesFallBack)
{
    EXPECT_EQ(SplitViewFrames::sourceListWidth({}), 320);
    EXPECT_EQ(SplitViewFrames::sourceListWidth({"0, 0, 244, 700, NO", "245, 0, 700, 700, NO"}), 244);
    EXPECT_EQ(SplitViewFrames::sourceListWidth({"0, 0, 244"}), 320) << "fewer than four fields";

    EXPECT_EQ(SplitViewFrames::sideBarDivider({}, 970, 700), 480) << "220 left of the pane's edge";
    EXPECT_EQ(SplitViewFrames::sideBarDivider({"0, 0, 500, 700, NO", "501, 0, 220, 700, YES"}, 970, 700),
              970);
    EXPECT_EQ(SplitViewFrames::sideBarDivider({"0, 0, 500, 700, NO", "501, 0, 220, 700, NO"}, 970, 700), 501);
    EXPECT_EQ(SplitViewFrames::sideBarDivider({"0, 0, 500, 700", "501, 0, 220, 700"}, 970, 700),
              std::nullopt);

    const QString written = SplitViewFrames::frameText(QRect(501, 0, 220, 700), true);
    EXPECT_EQ(SplitViewFrames::sideBarDivider({"", written}, 1200, 900), 1200)
        << "what is written reads back";
}
