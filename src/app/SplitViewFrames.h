// The saved pane frames of the window's two split views, as text lists of "x, y, width, height,
// collapsed" per pane, and where they put the dividers. It only reads and writes the texts.
#pragma once

#include <QRect>
#include <QStringList>
#include <optional>

class SplitViewFrames
{
public:
    static constexpr int defaultSourceListWidth = 320;
    static constexpr int sideBarWidth = 220;

    static QString mainSplitViewKey() { return QStringLiteral("NSSplitView Subview Frames mainSplitView"); }
    static QString subSplitViewKey() { return QStringLiteral("NSSplitView Subview Frames subSplitView"); }

    // The source list's width: the saved first pane's width when it has one, else the default.
    static int sourceListWidth(const QStringList &frames);
    // The side-bar divider: the window's width when the saved side bar was collapsed, its saved
    // position otherwise, none when the saved frame says nothing, and the default with nothing saved.
    static std::optional<int> sideBarDivider(const QStringList &frames, int windowWidth, int layoutWidth);

    static QString frameText(const QRect &frame, bool collapsed);
};
