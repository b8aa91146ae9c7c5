#include "app/DisclosureView.h"

#include <QLabel>
#include <QTest>
#include <QVBoxLayout>
#include <gtest/gtest.h>

TEST(DisclosureView, GrowsAndShrinksItsWindowByTheDetailKeepingTheTopEdgeAndATurnHalfWayEndsWhereItStarted)
{
    QWidget window;
    auto *detail = new QLabel("Detail");
    detail->setFixedHeight(80);
    auto *disclosure = new DisclosureView(detail);
    auto *layout = new QVBoxLayout(&window);
    layout->addWidget(new QLabel("Above"));
    layout->addWidget(disclosure, 1);
    layout->addWidget(new QLabel("Below"));
    window.setGeometry(100, 100, 300, 200);
    window.show();
    EXPECT_FALSE(disclosure->isDetailVisible());
    EXPECT_FALSE(detail->isVisibleTo(&window));
    const QRect before = window.geometry();

    disclosure->toggleDetailVisible();
    EXPECT_TRUE(detail->isVisibleTo(&window));
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.height() == before.height() + 80; }, 2000));
    EXPECT_EQ(window.geometry().top(), before.top());

    disclosure->toggleDetailVisible();
    // Shown until the window has shrunk, hidden afterwards.
    EXPECT_TRUE(QTest::qWaitFor([&] { return !detail->isVisibleTo(&window); }, 2000));
    EXPECT_EQ(window.geometry(), before);

    disclosure->toggleDetailVisible();
    disclosure->toggleDetailVisible();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !detail->isVisibleTo(&window); }, 2000));
    EXPECT_EQ(window.geometry(), before);
}
