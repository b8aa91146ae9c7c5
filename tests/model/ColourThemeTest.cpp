#include "model/ColourTheme.h"

#include <gtest/gtest.h>

TEST(ColourTheme, ThemesAreNamedAndUnknownIndexesLookLikeTheFirstWithBlackText)
{
    EXPECT_EQ(ColourTheme::themeCount(), 11);
    EXPECT_EQ(ColourTheme::nameOfTheme(0), "QuillBay Green");
    EXPECT_EQ(ColourTheme::nameOfTheme(2), "Aluminium");
    EXPECT_EQ(ColourTheme::nameOfTheme(10), "Noir");
    EXPECT_EQ(ColourTheme::nameOfTheme(11), "");

    EXPECT_EQ(ColourTheme::colourThemeOfType(0), QColor::fromHsvF(0.25f, 0.645f, 0.901f));
    EXPECT_EQ(ColourTheme::colourThemeOfType(2), QColor::fromHsvF(0.0f, 0.0f, 0.796f));
    for (const int unknown : {11, -1, 1000}) {
        EXPECT_EQ(ColourTheme::colourThemeOfType(unknown), ColourTheme::colourThemeOfType(0));
        EXPECT_EQ(ColourTheme::textColourForTheme(unknown), QColor(Qt::black));
    }
    EXPECT_EQ(ColourTheme::textColourForTheme(0), QColor(Qt::black));
    EXPECT_EQ(ColourTheme::textColourForTheme(1), QColor(Qt::white));
    EXPECT_EQ(ColourTheme::textColourForTheme(5), QColor(Qt::black));
    EXPECT_EQ(ColourTheme::textColourForTheme(9), QColor(Qt::white));
}

TEST(ColourTheme, BrightnessAboveOneDrawsAtFullBrightness)
{
    EXPECT_EQ(ColourTheme::colourThemeOfType(3), QColor::fromHsvF(0.585f, 0.601f, 1.0f));
    EXPECT_EQ(ColourTheme::colourThemeOfType(5), QColor::fromHsvF(0.087f, 0.78f, 1.0f));
    EXPECT_EQ(ColourTheme::colourThemeOfType(7).value(), 255);
}

TEST(ColourTheme, TheSwatchIsSixteenSquareInTheThemeColourWithADarkerEdge)
{
    const QImage swatch = ColourTheme::swatchForTheme(4);
    const QColor colour = ColourTheme::colourThemeOfType(4);
    EXPECT_EQ(swatch.size(), QSize(16, 16));
    EXPECT_EQ(swatch.pixelColor(8, 8).rgb(), colour.rgb());
    EXPECT_LT(swatch.pixelColor(0, 0).value(), colour.value());
    EXPECT_LT(swatch.pixelColor(15, 15).value(), colour.value());
    EXPECT_EQ(ColourTheme::swatchForTheme(42), ColourTheme::swatchForTheme(0));
}
