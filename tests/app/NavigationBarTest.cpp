#include "app/NavigationBar.h"

#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

namespace {

qreal backOpacity(const NavigationBar &bar)
{
    const auto *effect = qobject_cast<QGraphicsOpacityEffect *>(bar.backButton()->graphicsEffect());
    return effect ? effect->opacity() : 1.0;
}

QLabel *titleLabel(const NavigationBar &bar)
{
    return bar.findChild<QLabel *>("breadcrumbTitle");
}

} // namespace

TEST(NavigationBar, IsPaintedInItsTintAndADisabledBackButtonIsHalfTransparentAndSendsNoClicks)
{
    NavigationBar bar;
    bar.resize(400, 30);
    bar.setColorTint(QColor(200, 40, 40));
    bar.setTextColour(Qt::yellow);
    bar.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&bar));
    QSignalSpy back(&bar, &NavigationBar::backClicked);

    bar.setBackEnabled(false);
    EXPECT_DOUBLE_EQ(backOpacity(bar), 0.5);
    QTest::mouseClick(bar.backButton(), Qt::LeftButton);
    EXPECT_EQ(back.count(), 0);

    bar.setBackEnabled(true);
    EXPECT_DOUBLE_EQ(backOpacity(bar), 1.0);
    QTest::mouseClick(bar.backButton(), Qt::LeftButton);
    EXPECT_EQ(back.count(), 1);

    bar.setShowsBackButton(false);
    EXPECT_FALSE(bar.backButton()->isVisible());
    const QColor middle = bar.grab().toImage().pixelColor(2, 15);
    EXPECT_GT(middle.red(), 150);
    EXPECT_LT(middle.green(), 80);
    EXPECT_EQ(titleLabel(bar)->palette().color(QPalette::WindowText), QColor(Qt::yellow));
    bar.setColorTint(QColor(40, 40, 200));
    EXPECT_GT(bar.grab().toImage().pixelColor(2, 15).blue(), 150);
}

TEST(NavigationBar, ALongTitleIsElidedToTheSpaceLeftAndShownWholeWhenItFits)
{
    NavigationBar bar;
    auto *refresh = new QToolButton;
    refresh->setText("Refresh");
    bar.addTrailingWidget(refresh);
    bar.resize(220, 30);
    bar.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&bar));

    const QString title = "A rather long feed title that cannot possibly fit into a narrow bar <b>at all</b>";
    bar.setTitle(title);
    QLabel *label = titleLabel(bar);
    ASSERT_NE(label, nullptr);
    EXPECT_TRUE(label->text().endsWith(QChar(0x2026))) << label->text().toStdString();
    EXPECT_LE(label->fontMetrics().horizontalAdvance(label->text()), label->contentsRect().width());
    EXPECT_LE(label->geometry().right(), refresh->geometry().left()) << "the title leaves the button room";
    EXPECT_EQ(label->toolTip(), title);
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_TRUE(refresh->autoRaise());

    bar.resize(2000, 30);
    QTest::qWait(0);
    EXPECT_EQ(label->text(), title);
    EXPECT_TRUE(label->toolTip().isEmpty());
}
