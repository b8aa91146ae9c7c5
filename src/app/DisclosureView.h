// A panel with a detail area that is shown or hidden by growing or shrinking its window, whose top
// edge stays put. It only resizes; what the detail area holds is its owner's business.
#pragma once

#include <QPointer>
#include <QWidget>

class QPropertyAnimation;

class DisclosureView : public QWidget
{
    Q_OBJECT

public:
    // Takes the detail view into a non-drawing container of its own; the detail starts hidden.
    explicit DisclosureView(QWidget *detailView, QWidget *parent = nullptr);

    QWidget *detailView() const { return m_detailView; }
    bool isDetailVisible() const { return m_isVisible; }

public slots:
    // Animated; a toggle while the window still moves starts from where it is.
    void toggleDetailVisible();

private:
    void resizeWindowBy(int change);

    QWidget *m_detailView;
    QWidget *m_container;
    QPointer<QPropertyAnimation> m_animation;
    int m_detailHeight;
    bool m_isVisible = false;
};
