#include "app/MainMenu.h"

#include "app/ApplicationController.h"
#include "headlines/HeadlinePage.h"
#include "platform/LocalizedStrings.h"

#include <QActionGroup>
#include <QMainWindow>
#include <QMenuBar>

namespace {
// What any window of the program may ask for: nothing here touches the library's selection.
bool actsEverywhere(MenuCommand command)
{
    using C = MenuCommand;
    return command == C::Quit || command == C::CloseWindow || command == C::Preferences ||
           command == C::OpenMainWindow || command == C::ShowHelp || command == C::FindNext ||
           command == C::FindPrevious;
}
} // namespace

MainMenu::MainMenu(ApplicationController &controller, QMainWindow &window)
    : QObject(&window), m_controller(controller), m_window(window)
{
    buildMenus();
}

void MainMenu::buildMenus()
{
    using C = MenuCommand;
    addMenu(tr("&File"), {{C::NewFeed, tr("New &Feed..."), QKeySequence(QStringLiteral("Ctrl+N"))},
                          {C::NewGroup, tr("New F&older"), QKeySequence(QStringLiteral("Ctrl+Shift+N"))},
                          {C::ImportFeeds, tr("&Import Feeds..."), QKeySequence(QStringLiteral("Ctrl+I"))},
                          {C::ExportFeeds, tr("&Export Feeds..."), QKeySequence(QStringLiteral("Ctrl+E"))},
                          {C::Print, tr("&Print..."), QKeySequence::Print},
                          {C::CloseWindow, tr("&Close Window"), QKeySequence::Close},
                          {C::Quit, tr("&Quit"), QKeySequence::Quit}});
    addMenu(tr("&Edit"), {{C::Find, tr("&Find..."), QKeySequence::Find},
                          {C::FindNext, tr("Find &Next"), QKeySequence::FindNext},
                          {C::FindPrevious, tr("Find Pre&vious"), QKeySequence::FindPrevious},
                          {C::Preferences, tr("P&references..."), QKeySequence(QStringLiteral("Ctrl+,"))}});
    QMenu *view =
        addMenu(tr("&View"),
                {{C::ViewAsList, tr("As &List"), QKeySequence(QStringLiteral("Ctrl+1"))},
                 {C::ViewAsPictureTiles, tr("As &Picture Tiles"), QKeySequence(QStringLiteral("Ctrl+2"))}});
    auto *modes = new QActionGroup(view);
    for (C mode : {C::ViewAsList, C::ViewAsPictureTiles}) {
        action(mode)->setCheckable(true);
        modes->addAction(action(mode));
    }
    addMenu(
        tr("F&eed"),
        {{C::RefreshSelectedFeed, tr("&Refresh"), QKeySequence(QStringLiteral("Ctrl+R"))},
         {C::RefreshAllFeeds, tr("Refresh &All"), QKeySequence(QStringLiteral("Ctrl+Shift+R"))},
         {C::MarkSelectedFeedAsRead, tr("&Mark as Read"), QKeySequence(QStringLiteral("Ctrl+K"))},
         {C::MarkSelectedFeedAsUnread, tr("Mark as &Unread"), QKeySequence(QStringLiteral("Ctrl+Shift+U"))},
         {C::MarkAllFeedsAsRead, tr("Mark All as R&ead"), QKeySequence(QStringLiteral("Ctrl+Shift+K"))},
         {C::OpenSelectedFeedLink, tr("&Open Web Page"), QKeySequence(QStringLiteral("Ctrl+Shift+O"))},
         {C::EditSelectedFeed, tr("&Edit Feed..."), QKeySequence(QStringLiteral("Ctrl+Shift+E"))},
         {C::EditSelectedFeedTags, tr("&Tags..."), QKeySequence(QStringLiteral("Ctrl+T"))},
         {C::DeleteAllArticlesForSelectedFeed, tr("&Delete All Articles"), QKeySequence()},
         {C::RemoveSelectedFeed, tr("Re&move"), QKeySequence(Qt::Key_Delete)}});
    m_articleMenu = addMenu(
        tr("&Article"),
        {{C::ShowNextUnreadArticle, tr("Next &Unread"), QKeySequence(Qt::Key_Space)},
         {C::ShowNextArticle, tr("&Next"), QKeySequence(QStringLiteral("Ctrl+Down"))},
         {C::ShowPreviousArticle, tr("&Previous"), QKeySequence(QStringLiteral("Ctrl+Up"))},
         {C::BackToParent, tr("&Back"), QKeySequence(QStringLiteral("Alt+Left"))},
         {C::OpenLink, tr("&Open in Browser"), QKeySequence(QStringLiteral("Ctrl+O"))},
         {C::OpenLinkInBackground, tr("Open in &Background"), QKeySequence(QStringLiteral("Ctrl+Alt+O"))},
         {C::AddToNewsBin, tr("Add to News &Bin"), QKeySequence(QStringLiteral("Ctrl+B"))},
         {C::EmailArticle, tr("&Email..."), QKeySequence()},
         {C::SpeakArticle, tr("&Speak"), QKeySequence()},
         {C::PostToBlog, tr("Post to &Blog"), QKeySequence()},
         {C::PostToTwitter, tr("Share on &Twitter"), QKeySequence()},
         {C::PostToFacebook, tr("Share on &Facebook"), QKeySequence()},
         {C::PostToInstapaper, tr("Save to &Instapaper"), QKeySequence()},
         {C::PostToDelicious, tr("Save to &Delicious"), QKeySequence()},
         {C::PostToDigg, tr("Submit to Di&gg"), QKeySequence()}});
    // N steps to the next unread article too, as in most readers.
    action(C::ShowNextUnreadArticle)->setShortcuts({QKeySequence(Qt::Key_Space), QKeySequence(Qt::Key_N)});
    addMenu(tr("&Window"), {{C::OpenMainWindow, tr("&Main Window"), QKeySequence(QStringLiteral("Ctrl+0"))}});
    QMenu *help = addMenu(tr("&Help"), {{C::ShowHelp, tr("QuillBay &Help"), QKeySequence::HelpContents},
                                        {C::ShowProductPage, tr("QuillBay &Web Site"), QKeySequence()},
                                        {C::ShowSupportForum, tr("&Support Forum"), QKeySequence()},
                                        {C::About, tr("&About QuillBay"), QKeySequence()}});
    // Linux packages are updated by the package manager; checking means reading the product page.
    QAction *checkForUpdates = new QAction(LocalizedStrings::text(QStringLiteral("CheckForUpdates")), help);
    help->insertAction(help->actions().value(2), checkForUpdates);
    connect(checkForUpdates, &QAction::triggered, this, [this] { trigger(MenuCommand::ShowProductPage); });
}

QMenu *MainMenu::addMenu(const QString &title, const QList<Item> &items)
{
    QMenu *menu = m_window.menuBar()->addMenu(title);
    // Only items with a hint have a tool tip; it says why the item is disabled.
    menu->setToolTipsVisible(true);
    for (const Item &item : items)
        addItem(menu, item);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { validate(menu); });
    // Closed menus leave every shortcut live; a shortcut asks the rules again when it fires.
    connect(menu, &QMenu::aboutToHide, this, [menu] {
        for (QAction *item : menu->actions())
            item->setEnabled(true);
    });
    return menu;
}

void MainMenu::addItem(QMenu *menu, const Item &item)
{
    QAction *action = menu->addAction(item.title);
    action->setShortcut(item.shortcut);
    // Commands on the selection act only while the main window is active: Delete in the inspector or
    // the feed editor must never remove a feed, and Space must reach a dialog's focused button.
    action->setShortcutContext(actsEverywhere(item.command) ? Qt::ApplicationShortcut : Qt::WindowShortcut);
    const MenuCommand command = item.command;
    connect(action, &QAction::triggered, this, [this, command] { trigger(command); });
    m_actions.insert(int(command), action);
}

void MainMenu::validate(QMenu *menu)
{
    for (auto it = m_actions.cbegin(); it != m_actions.cend(); ++it)
        if (menu->actions().contains(it.value())) {
            it.value()->setEnabled(m_controller.validateMenuItem(MenuCommand(it.key())));
            it.value()->setToolTip(m_controller.menuItemHint(MenuCommand(it.key())));
        }
}

void MainMenu::trigger(MenuCommand command)
{
    if (m_controller.validateMenuItem(command))
        m_controller.perform(command);
}

void MainMenu::markDisplayMode(int mode)
{
    action(MenuCommand::ViewAsList)->setChecked(mode == HeadlinePage::ListMode);
    action(MenuCommand::ViewAsPictureTiles)->setChecked(mode == HeadlinePage::TileMode);
}
