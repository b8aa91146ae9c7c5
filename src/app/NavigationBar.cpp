#include "app/NavigationBar.h"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

namespace {

constexpr int BackIconExtent = 16;
constexpr qreal DisabledOpacity = 0.5;

// Frameless buttons whose only chrome is a faint wash under the pointer, light or dark enough for any tint.
const char *const FlatButtons =
    "QToolButton, QPushButton { border: none; background: transparent; padding: 2px 6px; }"
    "QToolButton:hover, QPushButton:hover { background: rgba(255, 255, 255, 60);"
    " border-radius: 4px; }"
    "QToolButton:pressed, QPushButton:pressed { background: rgba(0, 0, 0, 40); }"
    "QToolButton:checked { background: rgba(0, 0, 0, 45); border-radius: 4px; }";

// A left-pointing chevron in the text colour, drawn at the screen's density so it stays crisp.
QPixmap backArrow(const QColor &colour)
{
    const qreal ratio = qMax<qreal>(1.0, qApp->devicePixelRatio());
    QPixmap pixmap(QSize(BackIconExtent, BackIconExtent) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF points[] = {{10.5, 3.5}, {5.5, 8.0}, {10.5, 12.5}};
    painter.drawPolyline(points, 3);
    return pixmap;
}

} // namespace

NavigationBar::NavigationBar(QWidget *parent)
    : QWidget(parent), m_backButton(new QToolButton(this)), m_titleLabel(new QLabel(this)),
      m_layout(new QHBoxLayout(this))
{
    setFixedHeight(BarHeight);
    setStyleSheet(QString::fromLatin1(FlatButtons));
    m_layout->setContentsMargins(6, 0, 6, 0);
    m_layout->setSpacing(4);

    m_backButton->setObjectName(QStringLiteral("backButton"));
    m_backButton->setAutoRaise(true);
    m_backButton->setFocusPolicy(Qt::NoFocus);
    m_backButton->setToolTip(tr("Back"));
    m_backButton->setAccessibleName(tr("Back"));
    m_backButton->setIconSize(QSize(BackIconExtent, BackIconExtent));
    m_backButton->setGraphicsEffect(new QGraphicsOpacityEffect(m_backButton));
    connect(m_backButton, &QToolButton::clicked, this, &NavigationBar::backClicked);

    m_titleLabel->setObjectName(QStringLiteral("breadcrumbTitle"));
    // Feed titles are shown as they are written, never read as markup.
    m_titleLabel->setTextFormat(Qt::PlainText);
    m_titleLabel->setAlignment(Qt::AlignCenter);
    m_titleLabel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QFont titleFont = m_titleLabel->font();
    titleFont.setBold(true);
    m_titleLabel->setFont(titleFont);
    m_titleLabel->installEventFilter(this);

    m_layout->addWidget(m_backButton);
    m_layout->addWidget(m_titleLabel, 1);

    updateBackIcon();
    applyTextColour(m_titleLabel);
}

void NavigationBar::setColorTint(const QColor &tint)
{
    m_colorTint = tint;
    update();
}

void NavigationBar::setTextColour(const QColor &colour)
{
    m_textColour = colour;
    applyTextColour(m_titleLabel);
    for (QWidget *widget : std::as_const(m_trailingWidgets))
        applyTextColour(widget);
    updateBackIcon();
    update();
}

bool NavigationBar::showsBackButton() const
{
    return !m_backButton->isHidden();
}

void NavigationBar::setShowsBackButton(bool shows)
{
    m_backButton->setVisible(shows);
}

bool NavigationBar::isBackEnabled() const
{
    return m_backButton->isEnabled();
}

void NavigationBar::setBackEnabled(bool enabled)
{
    m_backButton->setEnabled(enabled);
    static_cast<QGraphicsOpacityEffect *>(m_backButton->graphicsEffect())
        ->setOpacity(enabled ? 1.0 : DisabledOpacity);
}

void NavigationBar::setTitle(const QString &title)
{
    m_title = title;
    updateTitleText();
}

void NavigationBar::addTrailingWidget(QWidget *widget)
{
    if (auto *toolButton = qobject_cast<QToolButton *>(widget))
        toolButton->setAutoRaise(true);
    else if (auto *pushButton = qobject_cast<QPushButton *>(widget))
        pushButton->setFlat(true);
    applyTextColour(widget);
    m_layout->addWidget(widget);
    m_trailingWidgets << widget;
}

QColor NavigationBar::effectiveTint() const
{
    return m_colorTint.isValid() ? m_colorTint : palette().color(QPalette::Window);
}

QColor NavigationBar::effectiveTextColour() const
{
    return m_textColour.isValid() ? m_textColour : palette().color(QPalette::WindowText);
}

void NavigationBar::applyTextColour(QWidget *widget) const
{
    QPalette colours = widget->palette();
    colours.setColor(QPalette::WindowText, effectiveTextColour());
    colours.setColor(QPalette::ButtonText, effectiveTextColour());
    widget->setPalette(colours);
}

// The same picture for the disabled state: the half opacity already dims it, and the style's own
// greying would wash it out on a dark tint.
void NavigationBar::updateBackIcon()
{
    const QPixmap arrow = backArrow(effectiveTextColour());
    QIcon icon;
    icon.addPixmap(arrow, QIcon::Normal);
    icon.addPixmap(arrow, QIcon::Disabled);
    m_backButton->setIcon(icon);
}

void NavigationBar::updateTitleText()
{
    const int width = m_titleLabel->contentsRect().width();
    const QString shown = m_titleLabel->fontMetrics().elidedText(m_title, Qt::ElideRight, width);
    m_titleLabel->setText(shown);
    m_titleLabel->setToolTip(shown == m_title ? QString() : m_title);
}

bool NavigationBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_titleLabel && event->type() == QEvent::Resize)
        updateTitleText();
    return QWidget::eventFilter(watched, event);
}

void NavigationBar::paintEvent(QPaintEvent *)
{
    const QColor tint = effectiveTint();
    QLinearGradient gradient(0, 0, 0, height());
    gradient.setColorAt(0.0, tint.lighter(112));
    gradient.setColorAt(1.0, tint.darker(106));
    QPainter painter(this);
    painter.fillRect(rect(), gradient);
    painter.setPen(tint.darker(125));
    painter.drawLine(0, height() - 1, width(), height() - 1);
}
