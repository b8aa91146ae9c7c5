#include "ColourTheme.h"

#include <QPainter>
#include <algorithm>
#include <array>

namespace {

struct Theme
{
    const char *name;
    float hue;
    float saturation;
    float brightness; // some themes were tuned above 1; those draw at full brightness
    bool whiteText;
};

// Qt draws every theme in the same RGB space, including "Leather", which was tuned for device RGB.
constexpr std::array<Theme, 11> themes{{
    {"QuillBay Green", 0.25f, 0.645f, 0.901f, false},
    {"Graphite", 0.0f, 0.0f, 0.65f, true},
    {"Aluminium", 0.0f, 0.0f, 0.796f, false},
    {"Sky Blue", 0.585f, 0.601f, 1.079f, true},
    {"Midnight", 0.585f, 0.725f, 0.597f, true},
    {"Satsuma", 0.087f, 0.78f, 1.106f, false},
    {"Grape", 0.833f, 0.437f, 0.751f, true},
    {"Strawberry", 0.982f, 0.847f, 1.002f, true},
    {"Forest", 0.367f, 0.504f, 0.521f, true},
    {"Leather", 0.059f, 0.873f, 0.806f, true},
    {"Noir", 0.0f, 0.0f, 0.35f, true},
}};

bool isKnown(int index)
{
    return index >= 0 && index < int(themes.size());
}

const Theme &themeAt(int index)
{
    return themes[isKnown(index) ? index : 0];
}

} // namespace

int ColourTheme::themeCount()
{
    return int(themes.size());
}

QString ColourTheme::nameOfTheme(int index)
{
    return isKnown(index) ? QString::fromLatin1(themes[index].name) : QString();
}

QColor ColourTheme::colourThemeOfType(int index)
{
    const Theme &theme = themeAt(index);
    return QColor::fromHsvF(theme.hue, theme.saturation, std::min(theme.brightness, 1.0f), 1.0f);
}

QColor ColourTheme::textColourForTheme(int index)
{
    const bool white = isKnown(index) && themes[index].whiteText;
    return white ? QColor(Qt::white) : QColor(Qt::black);
}

QImage ColourTheme::swatchForTheme(int index)
{
    const QColor colour = colourThemeOfType(index);
    QImage swatch(16, 16, QImage::Format_ARGB32_Premultiplied);
    swatch.fill(colour);
    QPainter painter(&swatch);
    painter.setPen(colour.darker(125));
    painter.drawRect(swatch.rect().adjusted(0, 0, -1, -1));
    return swatch;
}
