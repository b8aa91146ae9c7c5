#include "headlines/SummaryRewriter.h"

#include <gtest/gtest.h>

TEST(SummaryRewriter, PhotoPagesShowTheLargePictureOnlyForLongImageTags)
{
    // 69 characters is not long enough; 70 is. (The photo page test shows sizes dropped from a real tag.)
    const auto tagOfLength = [](qsizetype length) {
        return "<img src=\"http://p.example/" + QString(length - 44, u'p') + "_m.jpg\" alt=\"x\"/>";
    };
    ASSERT_EQ(tagOfLength(69).size(), 69);
    EXPECT_EQ(SummaryRewriter::modifiedPhotoSummary(tagOfLength(69)), tagOfLength(69));
    EXPECT_EQ(SummaryRewriter::modifiedPhotoSummary(tagOfLength(70)),
              "<img src=\"http://p.example/" + QString(26, u'p') + "_z.jpg\" alt=\"x\"/>");

    const QString noSource =
        "<img alt=\"nothing to point at here at all, but long enough to count\" width=1>";
    EXPECT_EQ(SummaryRewriter::modifiedPhotoSummary(noSource), noSource);
    const QString shortSource = "<img src=\"a.jpg\" alt=\"a picture with a very short source address here\">";
    ASSERT_GE(shortSource.size(), 70);
    EXPECT_EQ(SummaryRewriter::modifiedPhotoSummary(shortSource), shortSource);
    EXPECT_EQ(SummaryRewriter::modifiedPhotoSummary("<img src=\"x\" no end"), "<img src=\"x\" no end");
}
