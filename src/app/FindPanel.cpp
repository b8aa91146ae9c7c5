#include "app/FindPanel.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

FindPanel::FindPanel(QWidget *parent) : QDialog(parent, Qt::Tool), m_field(new QLineEdit(this))
{
    setObjectName(QStringLiteral("findPanel"));
    setWindowTitle(tr("Find"));
    m_field->setObjectName(QStringLiteral("findField"));
    m_field->setPlaceholderText(tr("Find in headlines"));
    m_field->setClearButtonEnabled(true);
    auto *previous = new QPushButton(tr("Previous"), this);
    auto *next = new QPushButton(tr("Next"), this);
    for (QPushButton *button : {previous, next}) {
        button->setAutoDefault(false);
        button->setDefault(false);
    }
    auto *layout = new QHBoxLayout(this);
    layout->addWidget(m_field, 1);
    layout->addWidget(previous);
    layout->addWidget(next);
    connect(m_field, &QLineEdit::returnPressed, this, [this] { emit findNextRequested(true); });
    connect(next, &QPushButton::clicked, this, [this] { emit findNextRequested(false); });
    connect(previous, &QPushButton::clicked, this, [this] { emit findPreviousRequested(false); });
    resize(420, sizeHint().height());
}

QString FindPanel::text() const
{
    return m_field->text();
}

void FindPanel::setText(const QString &text)
{
    m_field->setText(text);
}

void FindPanel::present()
{
    if (!m_placed && parentWidget()) {
        const QRect area = parentWidget()->geometry();
        move(area.center().x() - width() / 2, area.top() + 80);
        m_placed = true;
    }
    show();
    raise();
    activateWindow();
    m_field->setFocus();
    m_field->selectAll();
}
