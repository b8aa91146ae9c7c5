// Where the main window shows the headline page: the web view in the program, a recorder in tests.
// It shows what it is given and reports back through its delegate; it never decides what to show.
#pragma once

#include <QPointF>
#include <QString>

class QWidget;

class HeadlineDisplay
{
public:
    virtual ~HeadlineDisplay() = default;

    virtual QWidget *widget() = 0;
    virtual void showPage(const QString &html) = 0;
    // Ignoring case and wrapping at the end of the page.
    virtual void findText(const QString &text, bool forward) = 0;
    virtual void setTextSizeMultiplier(double multiplier) = 0;
    virtual void scrollPageTo(const QPointF &position) = 0;
    virtual void printPage() = 0;
};
