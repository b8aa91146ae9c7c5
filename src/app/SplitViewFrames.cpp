#include "app/SplitViewFrames.h"

namespace {

QStringList fields(const QString &frame)
{
    QStringList parts = frame.split(u',');
    for (QString &part : parts)
        part = part.trimmed();
    return parts;
}

bool isTrue(const QString &field)
{
    return field.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0 || field == QLatin1String("YES") ||
           field == QLatin1String("1");
}

} // namespace

int SplitViewFrames::sourceListWidth(const QStringList &frames)
{
    if (frames.isEmpty())
        return defaultSourceListWidth;
    const QStringList first = fields(frames.first());
    bool ok = false;
    const int width = first.size() >= 4 ? qRound(first.at(2).toDouble(&ok)) : 0;
    return ok ? width : defaultSourceListWidth;
}

// Side by side, a pane's y is always 0; the side bar's x is where its divider stands, so that is what
// is read back.
std::optional<int> SplitViewFrames::sideBarDivider(const QStringList &frames, int windowWidth,
                                                   int layoutWidth)
{
    if (frames.isEmpty())
        return layoutWidth - sideBarWidth;
    if (frames.size() < 2)
        return std::nullopt;
    const QStringList sideBar = fields(frames.at(1));
    if (sideBar.size() < 5)
        return std::nullopt;
    if (isTrue(sideBar.at(4)))
        return windowWidth;
    bool ok = false;
    const int position = qRound(sideBar.at(0).toDouble(&ok));
    return ok ? std::optional<int>(position) : std::nullopt;
}

QString SplitViewFrames::frameText(const QRect &frame, bool collapsed)
{
    return QStringLiteral("%1, %2, %3, %4, %5")
        .arg(frame.x())
        .arg(frame.y())
        .arg(frame.width())
        .arg(frame.height())
        .arg(collapsed ? QStringLiteral("YES") : QStringLiteral("NO"));
}
