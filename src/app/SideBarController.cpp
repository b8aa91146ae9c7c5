#include "app/SideBarController.h"

#include "app/BlogEditorCommand.h"
#include "app/DesktopServices.h"
#include "app/MailtoAddress.h"
#include "app/NavigationBar.h"
#include "app/NewsBinDelegate.h"
#include "app/NewsBinModel.h"
#include "app/ToolbarIcons.h"
#include "app/WindowTheme.h"
#include "headlines/HeadlinePage.h"
#include "platform/Defaults.h"
#include "platform/LocalizedStrings.h"
#include "platform/NotificationCenter.h"
#include "platform/Resources.h"
#include "reading/QBStringExtras.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QSlider>
#include <QTextToSpeech>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

namespace {

constexpr int sliderSteps = 20;
const QString articleLengthKey = QStringLiteral("articleLength");

// Characters an address may hold as they are; everything else, and all non-ASCII text, is escaped.
const QByteArray addressCharacters = "!$&'()*+,/:;=?@";
// The same without the characters that separate an address's parts, for a value inside a query.
const QByteArray queryValueCharacters = "!$'()*+,;@";

QString percentEscaped(const QString &text, const QByteArray &keep)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text, keep));
}

QString linkText(const QUrl &link)
{
    return link.toString(QUrl::FullyEncoded);
}

// Titles are feed text that a page reads as markup; a message or a service gets what the page would show.
QString plainText(const QString &text)
{
    return QBStringExtras::removeTags(text).simplified();
}

QString titleOf(const TreeNodePtr &node)
{
    if (const auto feed = std::dynamic_pointer_cast<Feed>(node))
        return plainText(feed->title());
    if (const auto folder = std::dynamic_pointer_cast<Folder>(node))
        return folder->title();
    if (const auto virtualFolder = std::dynamic_pointer_cast<VirtualFolder>(node))
        return virtualFolder->title();
    return {};
}

// The assembled text is already escaped; reading it strictly keeps every escape as it stands.
QUrl addressFromText(const QString &text)
{
    const QUrl strict(text, QUrl::StrictMode);
    return strict.isValid() ? strict : QUrl(text, QUrl::TolerantMode);
}

QToolButton *quickBrowseButton(QWidget *parent, const QString &title, const QString &image)
{
    auto *button = new QToolButton(parent);
    button->setText(title);
    button->setIcon(QIcon(image));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return button;
}

QToolButton *barButton(QWidget *parent, const QString &iconName, const QString &toolTip)
{
    auto *button = new QToolButton(parent);
    // The main window repaints every button that names its picture when the colour theme changes.
    button->setProperty("iconName", iconName);
    button->setIcon(ToolbarIcons::icon(iconName, Qt::black));
    button->setToolTip(toolTip);
    button->setAutoRaise(true);
    return button;
}

} // namespace

SideBarController::SideBarController(QWidget *pane, FeedLibrary &feedLibrary, Defaults &defaults,
                                     NotificationCenter &notificationCenter, DesktopServices &desktop)
    : QObject(pane), m_feedLibrary(feedLibrary), m_defaults(defaults),
      m_notificationCenter(notificationCenter), m_desktop(desktop),
      m_outsideLinks(desktop, notificationCenter), m_model(new NewsBinModel(this))
{
    m_defaults.registerDefaults({{articleLengthKey, 1.0}});
    buildControls(pane);
    restorePopUps();
    m_model->setDropHandlers([this](const QString &text) { return validateDrop(text); },
                             [this](const QString &text, int row) { return acceptDrop(text, row); });
    loadNewsBin();
    applyColourTheme();
    m_themeObserver = m_notificationCenter.addObserver(QStringLiteral("ThemeChangedNotification"),
                                                       [this](const Notification &) { applyColourTheme(); });
}

SideBarController::~SideBarController()
{
    m_notificationCenter.removeObserver(m_themeObserver);
}

// ---- building

void SideBarController::buildControls(QWidget *pane)
{
    auto *layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);

    m_searchField = new QLineEdit(pane);
    m_searchField->setPlaceholderText(tr("Search articles"));
    m_searchField->setClearButtonEnabled(true);
    connect(m_searchField, &QLineEdit::returnPressed, this, &SideBarController::doPerformSearch);

    auto *top = new QWidget(pane);
    auto *topLayout = new QVBoxLayout(top);
    topLayout->setContentsMargins(6, 6, 6, 0);
    topLayout->addWidget(m_searchField);
    topLayout->addWidget(buildQuickBrowse(top));
    topLayout->addWidget(buildPopUps(top));
    layout->addWidget(top);
    layout->addWidget(buildNewsBin(pane), 1);
}

QWidget *SideBarController::buildQuickBrowse(QWidget *pane)
{
    auto *row = new QWidget(pane);
    auto *layout = new QVBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_browseAllUnreadButton = quickBrowseButton(
        row, tr("All unread"), Resources::path(QStringLiteral("unread"), QStringLiteral("png")));
    m_browseTodayButton = quickBrowseButton(
        row, tr("Published today"), Resources::path(QStringLiteral("Calendar16"), QStringLiteral("png")));
    connect(m_browseAllUnreadButton, &QToolButton::clicked, this, &SideBarController::doQuickBrowseUnread);
    connect(m_browseTodayButton, &QToolButton::clicked, this, &SideBarController::doQuickBrowseToday);
    layout->addWidget(m_browseAllUnreadButton);
    layout->addWidget(m_browseTodayButton);
    return row;
}

QWidget *SideBarController::buildPopUps(QWidget *pane)
{
    auto *box = new QWidget(pane);
    auto *form = new QFormLayout(box);
    form->setContentsMargins(0, 4, 0, 4);

    m_sortPopUp = new QComboBox(box);
    for (const char *key : {"SortArticlesByDate", "SortArticlesByFeed", "SortArticlesByState"})
        m_sortPopUp->addItem(LocalizedStrings::text(QString::fromLatin1(key)));
    connect(m_sortPopUp, &QComboBox::activated, this, &SideBarController::doChangeSortMethod);

    // The tags are the filter methods the headline page knows.
    m_filterPopUp = new QComboBox(box);
    const std::pair<const char *, int> filters[] = {
        {"FilterNone", 0},    {"FilterToday", 1},    {"FilterThisWeek", 2},
        {"Filter5Recent", 5}, {"Filter10Recent", 6}, {"Filter20Recent", 7},
        {"FilterNew", 10},    {"FilterUnread", 11},  {"FilterRead", 12}};
    for (const auto &[key, tag] : filters)
        m_filterPopUp->addItem(LocalizedStrings::text(QString::fromLatin1(key)), tag);
    connect(m_filterPopUp, &QComboBox::activated, this, &SideBarController::doChangeFilterMethod);

    m_articleSlider = new QSlider(Qt::Horizontal, box);
    m_articleSlider->setRange(0, sliderSteps);
    // One page rebuild when the knob is let go, not one per step on the way.
    m_articleSlider->setTracking(false);
    m_articleSlider->setToolTip(tr("How much of each article the headlines show"));
    connect(m_articleSlider, &QSlider::valueChanged, this, [this](int value) {
        m_defaults.setDouble(articleLengthKey, double(value) / sliderSteps);
        doChangeArticleLength();
    });

    m_sortByLabel = new QLabel(LocalizedStrings::text(QStringLiteral("SortBy")), box);
    m_showLabel = new QLabel(LocalizedStrings::text(QStringLiteral("Show")), box);
    form->addRow(m_sortByLabel, m_sortPopUp);
    form->addRow(m_showLabel, m_filterPopUp);
    form->addRow(new QLabel(tr("Length"), box), m_articleSlider);
    return box;
}

QWidget *SideBarController::buildNewsBin(QWidget *pane)
{
    auto *box = new QWidget(pane);
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_navBar = new NavigationBar(box);
    m_navBar->setShowsBackButton(false);
    m_navBar->setTitle(tr("News Bin"));
    m_addButton =
        barButton(m_navBar, QStringLiteral("add"), tr("Keep the selected articles in the news bin"));
    m_removeButton = barButton(m_navBar, QStringLiteral("remove"), tr("Remove the selected clippings"));
    m_contextMenuButton = barButton(m_navBar, QStringLiteral("action"), tr("Share or open the clippings"));
    connect(m_addButton, &QToolButton::clicked, this, [this] { doAdd(nullptr); });
    connect(m_removeButton, &QToolButton::clicked, this, [this] { doRemove(nullptr); });
    connect(m_contextMenuButton, &QToolButton::clicked, this, &SideBarController::doContextualMenu);
    m_navBar->addTrailingWidget(m_addButton);
    m_navBar->addTrailingWidget(m_removeButton);
    m_navBar->addTrailingWidget(m_contextMenuButton);

    m_newsBinTable = new QListView(box);
    m_newsBinTable->setObjectName(QStringLiteral("newsBinTable"));
    m_newsBinTable->setModel(m_model);
    m_newsBinTable->setItemDelegate(new NewsBinDelegate(m_newsBinTable));
    m_newsBinTable->setUniformItemSizes(true);
    m_newsBinTable->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_newsBinTable->setAcceptDrops(true);
    m_newsBinTable->setDragDropMode(QAbstractItemView::DropOnly);
    m_newsBinTable->setDropIndicatorShown(true);
    m_newsBinTable->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_newsBinTable->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SideBarController::tableViewSelectionDidChange);
    connect(m_newsBinTable, &QListView::customContextMenuRequested, this, [this](const QPoint &position) {
        validateContextualMenu();
        m_contextualMenu->popup(m_newsBinTable->viewport()->mapToGlobal(position));
    });

    buildContextualMenu();
    layout->addWidget(m_navBar);
    layout->addWidget(m_newsBinTable, 1);
    return box;
}

void SideBarController::buildContextualMenu()
{
    m_contextualMenu = new QMenu(m_newsBinTable);
    const auto item = [this](const QString &title, Command command) {
        QAction *action = m_contextualMenu->addAction(title, this, [this, command] { runCommand(command); });
        action->setData(int(command));
        return action;
    };
    // A disabled item says why in its tool tip.
    m_contextualMenu->setToolTipsVisible(true);
    item(tr("Open All in Browser"), OpenInBrowser);
    item(tr("Send in E-mail"), SendInEmail);
    m_blogEditorAction = item(tr("Post to Blog Editor"), OpenInBlogEditor);
    item(tr("Speak Article"), SpeakArticle);
    m_contextualMenu->addSeparator();
    item(tr("Post to Digg"), PostToDigg);
    item(tr("Post to Delicious"), PostToDelicious);
    item(tr("Save to Instapaper"), PostToInstapaper);
    item(tr("Share on Twitter"), PostToTwitter);
    item(tr("Share on Facebook"), PostToFaceBook);
    m_contextualMenu->addSeparator();
    item(tr("Remove from News Bin"), RemoveClipping);
    item(tr("Empty News Bin"), EmptyNewsBin);
    connect(m_contextualMenu, &QMenu::aboutToShow, this, &SideBarController::validateContextualMenu);
}

void SideBarController::restorePopUps()
{
    const int sortPosition = m_defaults.integer(QStringLiteral("sortMethod"));
    if (sortPosition >= 0 && sortPosition < m_sortPopUp->count())
        m_sortPopUp->setCurrentIndex(sortPosition);
    const int filterPosition = m_filterPopUp->findData(m_defaults.integer(QStringLiteral("filterMethod")));
    if (filterPosition >= 0)
        m_filterPopUp->setCurrentIndex(filterPosition);
    const double length = std::clamp(m_defaults.doubleValue(articleLengthKey), 0.0, 1.0);
    const QSignalBlocker quiet(m_articleSlider);
    m_articleSlider->setValue(qRound(length * sliderSteps));
}

void SideBarController::applyColourTheme()
{
    const int theme = m_defaults.integer(QStringLiteral("displayColourTheme"));
    const QPalette desktop = QApplication::palette();
    const QColor text = WindowTheme::textColour(theme, desktop);
    m_navBar->setColorTint(WindowTheme::tint(theme, desktop));
    m_navBar->setTextColour(text);
    for (QToolButton *button : {m_addButton, m_removeButton, m_contextMenuButton})
        button->setIcon(ToolbarIcons::icon(button->property("iconName").toString(), text));
}

// ---- the news bin's contents

void SideBarController::setNewsBin(const VirtualFolderPtr &newsBin)
{
    m_newsBin = newsBin;
    m_model->setNewsBin(newsBin);
}

void SideBarController::loadNewsBin()
{
    setNewsBin(m_feedLibrary.loadNewsClippings());
}

int SideBarController::numberOfRows() const
{
    return m_newsBin ? m_newsBin->childCount() : 0;
}

void SideBarController::reloadTable()
{
    m_model->reload();
}

void SideBarController::selectRow(int row)
{
    const QModelIndex index = m_model->index(row, 0);
    if (!index.isValid())
        return;
    m_newsBinTable->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    m_newsBinTable->scrollTo(index);
}

QList<int> SideBarController::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : m_newsBinTable->selectionModel()->selectedIndexes())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

// The row the user chose last, as a table reports its one selected row: the current one when it is
// selected, else the last selected.
int SideBarController::selectedRow() const
{
    const QItemSelectionModel *selection = m_newsBinTable->selectionModel();
    const QModelIndex current = selection->currentIndex();
    if (current.isValid() && selection->isSelected(current))
        return current.row();
    const QList<int> rows = selectedRows();
    return rows.isEmpty() ? -1 : rows.last();
}

ArticlePtr SideBarController::selectedClipping() const
{
    return m_model->articleAt(selectedRow());
}

void SideBarController::clearSelection()
{
    m_newsBinTable->clearSelection();
}

void SideBarController::tableViewSelectionDidChange()
{
    const ArticlePtr article = selectedClipping();
    if (!article)
        return;
    m_feedLibrary.setSelectedItems({article});
    m_notificationCenter.post(QStringLiteral("ChangeBreadcrumbModeNormalNotification"));
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"));
}

void SideBarController::doAdd(const ArticlePtr &article)
{
    TreeNodeList candidates = m_feedLibrary.selectedArticles();
    if (candidates.isEmpty() && article)
        candidates.append(article);
    int lastAdded = -1;
    for (const TreeNodePtr &node : candidates) {
        const auto candidate = std::dynamic_pointer_cast<Article>(node);
        if (candidate && storeClipping(candidate, numberOfRows()))
            lastAdded = numberOfRows() - 1;
    }
    if (lastAdded < 0)
        return;
    reloadTable();
    selectRow(lastAdded);
}

// The library keeps the row first; the bin holds the very article, which stays where it was in its feed.
bool SideBarController::storeClipping(const ArticlePtr &article, int row)
{
    if (!m_newsBin || m_newsBin->hasChild(article))
        return false;
    m_feedLibrary.addArticle(article, m_newsBin);
    TreeNodeList clippings = m_newsBin->children();
    clippings.insert(std::clamp<qsizetype>(row, 0, clippings.size()), article);
    m_newsBin->setChildren(clippings);
    return true;
}

void SideBarController::doRemove(const TreeNodePtr &clipping)
{
    if (!m_newsBin)
        return;
    QList<int> rows = selectedRows();
    int previousRow = selectedRow();
    if (rows.isEmpty() && clipping) {
        previousRow = int(m_newsBin->indexOfChild(clipping));
        if (previousRow >= 0)
            rows.append(previousRow);
    }
    if (rows.isEmpty() || previousRow >= numberOfRows())
        return;
    ArticleList removed;
    for (int row : rows)
        if (const ArticlePtr article = m_model->articleAt(row))
            removed.append(article);
    for (const ArticlePtr &article : removed) {
        m_feedLibrary.deleteArticle(article, m_newsBin);
        m_newsBin->removeChild(article);
    }
    reloadTable();
    if (numberOfRows() > 0)
        selectRow(std::min(previousRow, numberOfRows() - 1));
}

void SideBarController::doEmptyNewsBin()
{
    if (!m_newsBin)
        return;
    for (const TreeNodePtr &node : m_newsBin->children())
        if (const auto article = std::dynamic_pointer_cast<Article>(node))
            m_feedLibrary.deleteArticle(article, m_newsBin);
    m_newsBin->setChildren({});
    reloadTable();
}

// ---- drops

// The headline page drags its own command addresses; a plain web link is taken only when it is the
// link of the article being read, since nothing else ties a page address to an article.
ArticlePtr SideBarController::articleForDrop(const QString &draggedText) const
{
    static const QString articlePrefix = QStringLiteral("quillbay:article=");
    static const QString openPrefix = QStringLiteral("quillbay:open=");
    if (draggedText.startsWith(QLatin1String("quillbay:article")))
        return std::dynamic_pointer_cast<Article>(
            m_feedLibrary.itemWithUniqueID(draggedText.mid(articlePrefix.size())));
    if (draggedText.startsWith(QLatin1String("quillbay:open")))
        return std::dynamic_pointer_cast<Article>(
            m_feedLibrary.itemWithUniqueID(draggedText.mid(openPrefix.size())));
    if (draggedText.startsWith(QLatin1String("http"))) {
        const TreeNodeList selected = m_feedLibrary.selectedArticles();
        const auto last = selected.isEmpty() ? nullptr : std::dynamic_pointer_cast<Article>(selected.last());
        if (last && linkText(last->link()) == draggedText)
            return last;
    }
    return nullptr;
}

bool SideBarController::validateDrop(const QString &draggedText) const
{
    return articleForDrop(draggedText) != nullptr;
}

bool SideBarController::acceptDrop(const QString &draggedText, int row)
{
    const ArticlePtr article = articleForDrop(draggedText);
    if (!article || !storeClipping(article, row))
        return false;
    reloadTable();
    return true;
}

// ---- quick browsing, search, grouping and filtering

void SideBarController::doQuickBrowseUnread()
{
    const ArticleList unread = m_feedLibrary.allUnreadArticles();
    m_feedLibrary.setSelectedItems(TreeNodeList(unread.begin(), unread.end()));
    m_notificationCenter.post(QStringLiteral("ChangeBreadcrumbModeUnreadNotification"));
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"));
}

void SideBarController::doQuickBrowseToday()
{
    const CalendarDate today = CalendarDate::now();
    const ArticleList articles = m_feedLibrary.articlesMatchingDate(today);
    m_feedLibrary.setSelectedItems(TreeNodeList(articles.begin(), articles.end()));
    m_notificationCenter.post(QStringLiteral("ChangeBreadcrumbModeDateNotification"));
    m_notificationCenter.post(QStringLiteral("feedSelectionChanged"), QVariant::fromValue(today));
}

void SideBarController::doPerformSearch()
{
    m_notificationCenter.post(QStringLiteral("ChangeBreadcrumbModeSearchNotificationi"));
    m_feedLibrary.performSearchWithString(m_searchField->text());
}

void SideBarController::doChangeArticleLength()
{
    m_notificationCenter.post(QStringLiteral("ArticleLengthChanged"));
}

void SideBarController::doChangeSortMethod()
{
    const int position = m_sortPopUp->currentIndex();
    const int sortCode = HeadlinePage::sortMethodForMenuPosition(position);
    m_notificationCenter.post(QStringLiteral("ArticleSortOrderChangeNotification"), sortCode);
    m_defaults.setInteger(QStringLiteral("sortMethod"), position);
}

void SideBarController::doChangeFilterMethod()
{
    const int tag = m_filterPopUp->currentData().toInt();
    m_notificationCenter.post(QStringLiteral("ArticleFilteringChanged"), tag);
    m_defaults.setInteger(QStringLiteral("filterMethod"), tag);
}

// ---- the news bin's menu

QAction *SideBarController::menuItem(Command command) const
{
    for (QAction *action : m_contextualMenu->actions())
        if (action->data().toInt() == int(command))
            return action;
    return nullptr;
}

void SideBarController::doContextualMenu()
{
    validateContextualMenu();
    m_contextualMenu->popup(m_contextMenuButton->mapToGlobal(QPoint(0, m_contextMenuButton->height())));
}

void SideBarController::validateContextualMenu()
{
    for (QAction *action : m_contextualMenu->actions())
        if (!action->isSeparator())
            action->setEnabled(validateMenuItem(action));
    m_blogEditorAction->setToolTip(isBlogEditorSet() ? QString() : BlogEditorCommand::notSetHint());
}

bool SideBarController::isBlogEditorSet() const
{
    return BlogEditorCommand(m_defaults.string(QStringLiteral("generalBlogEditor"))).isSet();
}

bool SideBarController::validateMenuItem(const QAction *item) const
{
    if (!item || item->parent() != m_contextualMenu)
        return true;
    if (numberOfRows() == 0)
        return false;
    switch (Command(item->data().toInt())) {
    case OpenInBrowser:
    case RemoveClipping:
    case EmptyNewsBin:
        return true;
    case OpenInBlogEditor:
        return selectedRows().size() <= 1 && isBlogEditorSet();
    default:
        // One clipping at a time: a message or a post about several articles would mean nothing.
        return selectedRows().size() <= 1;
    }
}

void SideBarController::runCommand(Command command)
{
    switch (command) {
    case OpenInBrowser:
        doOpenInBrowser();
        break;
    case SendInEmail:
        doSendInEmail();
        break;
    case OpenInBlogEditor:
        doOpenInBlogEditor();
        break;
    case SpeakArticle:
        doSpeakArticle();
        break;
    case PostToDigg:
        doPostToDigg();
        break;
    case PostToDelicious:
        doPostToDelicious();
        break;
    case PostToInstapaper:
        doPostToInstapaper();
        break;
    case PostToTwitter:
        doPostToTwitter();
        break;
    case PostToFaceBook:
        doPostToFaceBook();
        break;
    case RemoveClipping:
        doRemove(nullptr);
        break;
    case EmptyNewsBin:
        doEmptyNewsBin();
        break;
    }
}

void SideBarController::doOpenInBrowser()
{
    if (!m_newsBin)
        return;
    for (const TreeNodePtr &node : m_newsBin->children())
        if (const auto article = std::dynamic_pointer_cast<Article>(node);
            article && !article->link().isEmpty())
            m_outsideLinks.open(article->link(), true);
}

void SideBarController::doOpenInBlogEditor()
{
    if (const ArticlePtr article = selectedClipping())
        postArticleToWeblogEditor(article);
}

void SideBarController::doSendInEmail()
{
    if (const ArticlePtr article = selectedClipping())
        postArticleInEmail(article);
}

void SideBarController::doSpeakArticle()
{
    if (const ArticlePtr article = selectedClipping())
        speakArticle(article);
}

void SideBarController::doPostToDigg()
{
    if (const ArticlePtr article = selectedClipping())
        postArticle(article, Digg);
}

void SideBarController::doPostToDelicious()
{
    if (const ArticlePtr article = selectedClipping())
        postArticle(article, Delicious);
}

void SideBarController::doPostToInstapaper()
{
    if (const ArticlePtr article = selectedClipping())
        postArticle(article, Instapaper);
}

void SideBarController::doPostToTwitter()
{
    if (const ArticlePtr article = selectedClipping())
        postArticle(article, Twitter);
}

void SideBarController::doPostToFaceBook()
{
    if (const ArticlePtr article = selectedClipping())
        postArticle(article, FaceBook);
}

// ---- passing an article on

void SideBarController::postArticleInEmail(const ArticlePtr &article)
{
    if (!article)
        return;
    const QString body =
        QBStringExtras::removeTags(m_feedLibrary.longSummaryForArticle(article)) +
        QStringLiteral("\n\nArticle from %1\n%2").arg(titleOf(article->parent()), linkText(article->link()));
    m_outsideLinks.open(MailtoAddress::forMessage(plainText(article->title()), body), false);
}

void SideBarController::speakArticle(const ArticlePtr &article)
{
    if (!article)
        return;
    QTextToSpeech *speech = synth();
    if (!speech) {
        m_desktop.beep();
        return;
    }
    const QString text = plainText(article->title()) + QStringLiteral("\n\n") +
                         QBStringExtras::removeTags(m_feedLibrary.longSummaryForArticle(article));
    if (speech->state() == QTextToSpeech::Speaking)
        speech->stop();
    speech->setVoice(m_defaultVoice);
    speech->say(text);
}

// Made on first use: starting a speech engine costs time, and many machines have none.
QTextToSpeech *SideBarController::synth()
{
    if (!m_synth && !QTextToSpeech::availableEngines().isEmpty()) {
        m_synth = new QTextToSpeech(this);
        if (m_synth->state() == QTextToSpeech::Error) {
            delete m_synth;
            m_synth = nullptr;
        } else {
            m_defaultVoice = m_synth->voice();
        }
    }
    return m_synth;
}

// The editor is a program of the user's choice; it gets what the page would show, never markup.
void SideBarController::postArticleToWeblogEditor(const ArticlePtr &article)
{
    if (!article)
        return;
    const BlogEditorCommand editor(m_defaults.string(QStringLiteral("generalBlogEditor")));
    const BlogEditorCommand::Post post{
        plainText(article->title()), linkText(article->link()),
        QBStringExtras::removeTags(m_feedLibrary.longSummaryForArticle(article))};
    if (!editor.start(post))
        m_desktop.beep();
}

void SideBarController::postArticle(const ArticlePtr &article, int toService)
{
    // The services are sent the article's own address; one that could not be opened is not shared.
    if (!article || !m_outsideLinks.admits(article->link()))
        return;
    const QString link = linkText(article->link());
    const QString title = plainText(article->title());
    QString address;
    switch (toService) {
    case Digg:
        address = QStringLiteral("https://digg.com/submit?phase=2&url=%1&title=%2")
                      .arg(link, percentEscaped(title, addressCharacters));
        break;
    case Delicious:
        address = QStringLiteral("https://del.icio.us/post?v=4&noui&jump=close&url=%1&title=%2")
                      .arg(link, percentEscaped(title, addressCharacters));
        break;
    case Instapaper:
        address =
            QStringLiteral("https://www.instapaper.com/hello2?url=%1&title=%2&description=%3")
                .arg(percentEscaped(link, queryValueCharacters), percentEscaped(title, queryValueCharacters),
                     percentEscaped(plainText(article->summary()), queryValueCharacters));
        break;
    case Twitter:
        address = QStringLiteral("https://twitter.com/intent/tweet?text=%1")
                      .arg(percentEscaped(QStringLiteral("%1 %2").arg(title, link), {}));
        break;
    case FaceBook:
        address = QStringLiteral("https://www.facebook.com/sharer/sharer.php?u=%1&quote=%2")
                      .arg(percentEscaped(link, {}),
                           percentEscaped(QStringLiteral("%1 %2 posted from QuillBay").arg(title, link), {}));
        break;
    default:
        return;
    }
    m_outsideLinks.open(addressFromText(address), false);
}
