#include "app/WindowTheme.h"

#include "model/ColourTheme.h"

#include <QCoreApplication>
#include <QPainter>

QString WindowTheme::nameOfTheme(int theme)
{
    return theme == DefaultTheme ? QCoreApplication::translate("WindowTheme", "Default")
                                 : ColourTheme::nameOfTheme(theme);
}

QColor WindowTheme::tint(int theme, const QPalette &desktop)
{
    return theme == DefaultTheme ? desktop.color(QPalette::Window) : ColourTheme::colourThemeOfType(theme);
}

QColor WindowTheme::textColour(int theme, const QPalette &desktop)
{
    return theme == DefaultTheme ? desktop.color(QPalette::WindowText)
                                 : ColourTheme::textColourForTheme(theme);
}

QImage WindowTheme::swatch(int theme, const QPalette &desktop)
{
    if (theme != DefaultTheme)
        return ColourTheme::swatchForTheme(theme);
    // The desktop's window colour beside its text colour, as the bars will show them.
    QImage image(16, 16, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.fillRect(QRect(1, 1, 14, 14), tint(theme, desktop));
    painter.fillRect(QRect(9, 1, 6, 14), textColour(theme, desktop));
    painter.setPen(tint(theme, desktop).darker(140));
    painter.drawRect(QRect(0, 0, 15, 15));
    return image;
}

bool WindowTheme::isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}
