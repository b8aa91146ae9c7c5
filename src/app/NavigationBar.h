// A thin bar over a pane: a tinted gradient with an optional back button, a title elided to fit and
// controls on the right. It only shows and reports clicks; it never decides what going back means.
#pragma once

#include <QColor>
#include <QWidget>

class QHBoxLayout;
class QLabel;
class QToolButton;

class NavigationBar : public QWidget
{
    Q_OBJECT

public:
    static constexpr int BarHeight = 30;

    explicit NavigationBar(QWidget *parent = nullptr);

    // An invalid colour stands for the palette's window colour.
    QColor colorTint() const { return m_colorTint; }
    void setColorTint(const QColor &tint);
    QColor textColour() const { return m_textColour; }
    void setTextColour(const QColor &colour);

    bool showsBackButton() const;
    void setShowsBackButton(bool shows);
    bool isBackEnabled() const;
    // A disabled back button is also drawn at half opacity, so it reads as unavailable on any tint.
    void setBackEnabled(bool enabled);
    QToolButton *backButton() const { return m_backButton; }

    QString title() const { return m_title; }
    void setTitle(const QString &title);

    // The bar takes the widget over; buttons lose their frame so that they sit on the tint.
    void addTrailingWidget(QWidget *widget);

signals:
    void backClicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QColor effectiveTint() const;
    QColor effectiveTextColour() const;
    void applyTextColour(QWidget *widget) const;
    void updateBackIcon();
    void updateTitleText();

    QColor m_colorTint;
    QColor m_textColour;
    QString m_title;
    QToolButton *m_backButton;
    QLabel *m_titleLabel;
    QHBoxLayout *m_layout;
    QList<QWidget *> m_trailingWidgets;
};
