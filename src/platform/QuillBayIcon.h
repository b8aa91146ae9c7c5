// The program's icon, a quill over waves on a blue tile, drawn at any size: the one drawing behind the
// window icon, the about box and the icon files installed for the desktop. It only paints.
#pragma once

#include <QImage>

class QuillBayIcon
{
public:
    // A square image of side size, transparent outside the rounded tile.
    static QImage draw(int size);
};
