#include "app/DisclosureView.h"

#include <QPropertyAnimation>
#include <QVBoxLayout>

DisclosureView::DisclosureView(QWidget *detailView, QWidget *parent)
    : QWidget(parent), m_detailView(detailView), m_container(new QWidget(this)),
      m_detailHeight(detailView->sizeHint().height())
{
    auto *inner = new QVBoxLayout(m_container);
    inner->setContentsMargins(0, 0, 0, 0);
    inner->addWidget(detailView);
    // Ignored, so that the window's height decides and the window can shrink before the detail hides.
    m_container->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Ignored);
    m_container->hide();
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(m_container);
}

void DisclosureView::toggleDetailVisible()
{
    if (!m_isVisible) {
        m_container->show();
        m_isVisible = true;
        resizeWindowBy(m_detailHeight);
    } else {
        m_isVisible = false;
        resizeWindowBy(-m_detailHeight);
    }
}

void DisclosureView::resizeWindowBy(int change)
{
    QWidget *top = window();
    QRect target = top->geometry();
    if (m_animation) {
        target = m_animation->endValue().toRect();
        m_animation->stop();
    }
    target.setHeight(target.height() + change);
    auto *animation = new QPropertyAnimation(top, "geometry", this);
    animation->setDuration(200);
    animation->setEndValue(target);
    connect(animation, &QPropertyAnimation::finished, this, [this] {
        if (!m_isVisible)
            m_container->hide();
    });
    m_animation = animation;
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}
