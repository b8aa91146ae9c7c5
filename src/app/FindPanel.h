// The small find window over the main window: a text field and two buttons. It asks for a search and
// hides; the searching itself is the main window's.
#pragma once

#include <QDialog>

class QLineEdit;

class FindPanel : public QDialog
{
    Q_OBJECT

public:
    explicit FindPanel(QWidget *parent = nullptr);

    QString text() const;
    void setText(const QString &text);
    // Brought to the front with the field ready for typing; centred over its parent the first time.
    void present();

signals:
    // fromFindField is true when Return was pressed in the field.
    void findNextRequested(bool fromFindField);
    void findPreviousRequested(bool fromFindField);

private:
    QLineEdit *m_field;
    bool m_placed = false;
};
