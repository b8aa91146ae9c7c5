// The colour themes the windows are tinted with, looked up by the "displayColourTheme" index.
// It never fails on an unknown index: such an index gets the first theme's colour and black text.
#pragma once

#include <QColor>
#include <QImage>
#include <QString>

class ColourTheme
{
public:
    static int themeCount();
    static QString nameOfTheme(int index); // empty for an unknown index
    static QColor colourThemeOfType(int index);
    static QColor textColourForTheme(int index);

    // A 16 by 16 sample of the theme's colour with a slightly darker edge, for menus.
    static QImage swatchForTheme(int index);
};
