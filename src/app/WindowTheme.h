// The colours the window bars are drawn in for a "displayColourTheme" value: with "Default" the desktop's
// own palette, light or dark as the desktop is, otherwise one of the tinted colour themes. It chooses
// colours; it never paints and never changes a setting.
#pragma once

#include <QColor>
#include <QImage>
#include <QPalette>
#include <QString>

class WindowTheme
{
public:
    // Not an index of the tinted themes: the bars take the desktop's colours.
    static constexpr int DefaultTheme = -1;

    static QString nameOfTheme(int theme);
    static QColor tint(int theme, const QPalette &desktop);
    static QColor textColour(int theme, const QPalette &desktop);
    // A 16 by 16 sample for the theme menu.
    static QImage swatch(int theme, const QPalette &desktop);

    // A palette whose windows are darker than their text: the desktop has a dark look.
    static bool isDark(const QPalette &palette);
};
