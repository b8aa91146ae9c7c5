#include "model/ColourTheme.h"

#include <gtest/gtest.h>

TEST(ColourTheme, UnknownIndexesLookLikeTheFirstWithBlackTextAndBrightnessAboveOneDrawsAtFull)
{
    EXPECT_EQ(ColourTheme::nameOfTheme(ColourTheme::themeCount()), "");
    for (const int unknown : {11, -1, 1000}) {
        EXPECT_EQ(ColourTheme::colourThemeOfType(unknown), ColourTheme::colourThemeOfType(0));
        EXPECT_EQ(ColourTheme::textColourForTheme(unknown), QColor(Qt::black));
        EXPECT_EQ(ColourTheme::swatchForTheme(unknown), ColourTheme::swatchForTheme(0));
    }
    EXPECT_EQ(ColourTheme::textColourForTheme(1), QColor(Qt::white));
    EXPECT_EQ(ColourTheme::colourThemeOfType(5), QColor::fromHsvF(0.087f, 0.78f, 1.0f)) << "tuned at 1.106";

    const QImage swatch = ColourTheme::swatchForTheme(4);
    const QColor colour = ColourTheme::colourThemeOfType(4);
    EXPECT_EQ(swatch.size(), QSize(16, 16));
    EXPECT_EQ(swatch.pixelColor(8, 8).rgb(), colour.rgb());
    EXPECT_LT(swatch.pixelColor(0, 0).value(), colour.value()) << "a darker edge";
    EXPECT_LT(swatch.pixelColor(15, 15).value(), colour.value());
}
