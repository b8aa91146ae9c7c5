// The main window's menu bar: every application command with its desktop shortcut, enabled by the
// application controller's rules each time a menu opens. It builds and dispatches; it decides nothing.
#pragma once

#include "app/MenuCommand.h"

#include <QHash>
#include <QKeySequence>
#include <QObject>

class ApplicationController;
class QAction;
class QMainWindow;
class QMenu;

class MainMenu : public QObject
{
    Q_OBJECT

public:
    MainMenu(ApplicationController &controller, QMainWindow &window);

    QAction *action(MenuCommand command) const { return m_actions.value(int(command)); }
    QMenu *articleMenu() const { return m_articleMenu; }
    // Exactly one of the two display-mode items is marked.
    void markDisplayMode(int mode);

private:
    struct Item
    {
        MenuCommand command;
        QString title;
        QKeySequence shortcut;
    };

    QMenu *addMenu(const QString &title, const QList<Item> &items);
    void addItem(QMenu *menu, const Item &item);
    void validate(QMenu *menu);
    void trigger(MenuCommand command);
    void buildMenus();

    ApplicationController &m_controller;
    QMainWindow &m_window;
    QHash<int, QAction *> m_actions;
    QMenu *m_articleMenu = nullptr;
};
