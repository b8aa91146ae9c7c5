// The window's small button pictures, drawn with the painter in the bar's text colour so that they
// follow the colour theme, at whatever size and screen density they are shown. It draws; it never loads
// a picture from disk.
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

class ToolbarIcons
{
public:
    // "list", "tiles", "action", "add", "remove", "expand" (side bar hidden) and "collapse" (side bar shown).
    static QIcon icon(const QString &name, const QColor &colour);
};
