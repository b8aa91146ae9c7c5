#include "app/PreferencesController.h"

#include "app/BlogEditorCommand.h"
#include "app/DesktopServices.h"
#include "app/WindowTheme.h"
#include "fetch/FeedUpdater.h"
#include "model/ColourTheme.h"
#include "platform/Defaults.h"
#include "platform/LocalizedStrings.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"
#include "platform/QBUserAlert.h"

#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDirIterator>
#include <QFile>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPainter>
#include <QPainterPath>
#include <QProcess>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTextStream>
#include <QToolBar>
#include <QVBoxLayout>

namespace {

const QString ownDesktopFile = QStringLiteral("quillbay.desktop");
const QString ownName = QStringLiteral("QuillBay");
const QString feedScheme = QStringLiteral("x-scheme-handler/feed");
const QStringList soundFilePatterns{QStringLiteral("*.wav"), QStringLiteral("*.oga"), QStringLiteral("*.ogg"),
                                    QStringLiteral("*.aiff"), QStringLiteral("*.aif")};

struct ToolbarItem
{
    QString identifier;
    QString labelKey;
    int tag;
};

// The order the toolbar shows; the tags name the panes.
const QList<ToolbarItem> toolbarItems{
    {QStringLiteral("toolbar general"), QStringLiteral("General"), PreferencesController::General},
    {QStringLiteral("toolbar appearance"), QStringLiteral("Display"), PreferencesController::Display},
    {QStringLiteral("toolbar behavior"), QStringLiteral("Behavior"), PreferencesController::Behavior},
    {QStringLiteral("toolbar enclosures"), QStringLiteral("Downloads"), PreferencesController::Downloads},
    {QStringLiteral("toolbar update"), QStringLiteral("Update"), PreferencesController::Update},
};

struct DesktopEntry
{
    QString name;
    QString icon;
    bool opensFeeds = false;
};

DesktopEntry readDesktopEntry(const QString &path)
{
    DesktopEntry entry;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return entry;
    QTextStream stream(&file);
    bool inMainGroup = false;
    while (!stream.atEnd()) {
        const QString line = stream.readLine().trimmed();
        if (line.startsWith(QLatin1Char('[')))
            inMainGroup = line == QLatin1String("[Desktop Entry]");
        else if (inMainGroup && line.startsWith(QLatin1String("Name=")))
            entry.name = line.mid(5).trimmed();
        else if (inMainGroup && line.startsWith(QLatin1String("Icon=")))
            entry.icon = line.mid(5).trimmed();
        else if (inMainGroup && line.startsWith(QLatin1String("MimeType=")))
            entry.opensFeeds = line.mid(9).split(QLatin1Char(';')).contains(feedScheme);
    }
    return entry;
}

// Keyed by file name: a later folder's file hides an earlier one of the same name, as the desktop does.
QMap<QString, DesktopEntry> desktopEntries(const QStringList &folders)
{
    QMap<QString, DesktopEntry> entries;
    for (const QString &folder : folders) {
        const QDir dir(folder);
        for (const QString &fileName : dir.entryList({QStringLiteral("*.desktop")}, QDir::Files))
            entries.insert(fileName, readDesktopEntry(dir.filePath(fileName)));
    }
    return entries;
}

QString readerName(const QString &desktopFile, const QMap<QString, DesktopEntry> &entries)
{
    if (desktopFile == ownDesktopFile)
        return ownName;
    const QString name = entries.value(desktopFile).name;
    return name.isEmpty() ? QFileInfo(desktopFile).completeBaseName() : name;
}

QIcon applicationIcon(const QString &iconName)
{
    if (QFileInfo(iconName).isAbsolute())
        return QIcon(iconName);
    return QIcon::fromTheme(iconName, QFileIconProvider().icon(QFileIconProvider::File));
}

QStringList soundNamesIn(const QString &folder)
{
    QStringList names;
    QDirIterator files(folder, soundFilePatterns, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        names.append(QFileInfo(files.next()).completeBaseName());
    names.removeDuplicates();
    names.sort(Qt::CaseInsensitive);
    return names;
}

bool hasAnyEntry(const QString &folder)
{
    return !QDir(folder).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
}

QString runSystemCommand(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(5000))
        return {};
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}

QIcon paneIcon(int tag)
{
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor ink = QApplication::palette().color(QPalette::WindowText);
    painter.setPen(QPen(ink, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    switch (tag) {
    case PreferencesController::General:
        painter.translate(16, 16);
        for (int tooth = 0; tooth < 8; ++tooth) {
            painter.drawLine(QPointF(0, -10), QPointF(0, -14));
            painter.rotate(45);
        }
        painter.drawEllipse(QPointF(0, 0), 9, 9);
        painter.drawEllipse(QPointF(0, 0), 3.5, 3.5);
        break;
    case PreferencesController::Display:
        painter.setPen(Qt::NoPen);
        for (const auto &[colour, centre] : {std::pair{QColor(220, 60, 60, 190), QPointF(12, 12)},
                                             std::pair{QColor(60, 170, 80, 190), QPointF(20, 12)},
                                             std::pair{QColor(60, 100, 220, 190), QPointF(16, 20)}}) {
            painter.setBrush(colour);
            painter.drawEllipse(centre, 8, 8);
        }
        break;
    case PreferencesController::Downloads:
        painter.drawLine(QPointF(16, 4), QPointF(16, 20));
        painter.drawPolyline(QPolygonF{{9, 14}, {16, 21}, {23, 14}});
        painter.drawPolyline(QPolygonF{{5, 22}, {5, 28}, {27, 28}, {27, 22}});
        break;
    case PreferencesController::Behavior:
        painter.setBrush(ink);
        painter.drawPolygon(QPolygonF{{9, 4}, {9, 25}, {14, 20}, {18, 28}, {21, 27}, {17, 19}, {24, 19}});
        break;
    default: {
        QPainterPath arrow;
        arrow.arcMoveTo(QRectF(6, 6, 20, 20), 60);
        arrow.arcTo(QRectF(6, 6, 20, 20), 60, 280);
        painter.drawPath(arrow);
        painter.setBrush(ink);
        painter.drawPolygon(QPolygonF{{21, 3}, {25, 10}, {17, 11}});
        break;
    }
    }
    return QIcon(pixmap);
}

QIcon folderIcon(const QString &themeName)
{
    return QIcon::fromTheme(themeName, QFileIconProvider().icon(QFileIconProvider::Folder));
}

void selectData(QComboBox *popUp, const QVariant &value)
{
    popUp->setCurrentIndex(popUp->findData(value));
}

} // namespace

PreferencesController::PreferencesController(FeedUpdater &feedUpdater, Defaults &defaults,
                                             NotificationCenter &notificationCenter, DesktopServices &desktop,
                                             QWidget *parentWindow, const QString &systemSoundFolder,
                                             const QString &userSoundFolder)
    : QWidget(parentWindow, Qt::Window), m_feedUpdater(feedUpdater), m_defaults(defaults),
      m_notificationCenter(notificationCenter), m_desktop(desktop), m_systemSoundFolder(systemSoundFolder),
      m_userSoundFolder(userSoundFolder),
      m_applicationFolders{QStringLiteral("/usr/share/applications"),
                           QDir::homePath() + QStringLiteral("/.local/share/applications")},
      m_commandRunner(runSystemCommand), m_toolbar(new QToolBar(this)), m_paneContainer(new QVBoxLayout)
{
    setWindowTitle(tr("Preferences"));
    makeToolbar();
    m_panes = {makeGeneralPane(), makeDisplayPane(), makeDownloadsPane(), makeBehaviorPane(),
               makeUpdatePane()};
    for (QWidget *pane : std::as_const(m_panes))
        pane->hide();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(m_toolbar);
    m_paneContainer->setContentsMargins(16, 12, 16, 16);
    layout->addLayout(m_paneContainer);
}

void PreferencesController::loadWindow()
{
    if (m_loaded)
        return;
    m_loaded = true;
    buildFeedReaderList();
    buildSoundLists();
    buildDownloadLocationList();
    buildColourThemeList();
    buildBlogEditorList();
    switchView(General);
}

void PreferencesController::present()
{
    if (m_loaded)
        showSettings();
    else
        loadWindow();
    switchView(General);
    show();
    raise();
    activateWindow();
}

// Other windows change some settings too (the theme and the text size from the menus), so every control
// reads the store again when the window comes up.
void PreferencesController::showSettings()
{
    for (QCheckBox *box : findChildren<QCheckBox *>()) {
        const QSignalBlocker blocker(box);
        box->setChecked(m_defaults.boolean(box->objectName()));
    }
    for (QSpinBox *spinBox : findChildren<QSpinBox *>()) {
        const QSignalBlocker blocker(spinBox);
        spinBox->setValue(m_defaults.integer(spinBox->objectName()));
    }
    selectData(m_fontSizePopUp, m_defaults.integer(QStringLiteral("displayFontSize")));
    buildFeedReaderList();
    buildSoundLists();
    buildDownloadLocationList();
    buildColourThemeList();
    buildBlogEditorList();
}

void PreferencesController::switchView(int tag)
{
    if (tag < General || tag > Update) {
        Log::write(QStringLiteral("-[PreferencesController switchView] Invalid preference pane number: %1")
                       .arg(tag));
        tag = General;
    }
    toolbarItem(tag)->setChecked(true);
    if (tag == m_selectedPane)
        return;
    if (QLayoutItem *previous = m_paneContainer->takeAt(0)) {
        previous->widget()->hide();
        delete previous;
    }
    m_selectedPane = tag;
    m_paneContainer->addWidget(m_panes.at(tag));
    m_panes.at(tag)->show();
    // The fixed-size layout fits the window to the pane; a top-level window keeps its top edge.
    layout()->activate();
}

QWidget *PreferencesController::paneView(int tag) const
{
    return m_panes.value(tag);
}

QAction *PreferencesController::toolbarItem(int tag) const
{
    for (QAction *action : m_toolbar->actions()) {
        if (action->data().toInt() == tag)
            return action;
    }
    return nullptr;
}

void PreferencesController::doChangeTheme()
{
    m_notificationCenter.post(QStringLiteral("ThemeChangedNotification"));
}

void PreferencesController::doSoundChanged(QObject *sender)
{
    QComboBox *popUp = sender == m_newArticlesSoundPopUp ? m_newArticlesSoundPopUp : m_downloadSoundPopUp;
    if (m_userAlert)
        m_userAlert->playSound(popUp->currentText());
}

void PreferencesController::doFontSizeChanged()
{
    m_notificationCenter.post(QStringLiteral("SummaryWebViewFontSizeChanged"));
}

void PreferencesController::doPreferencesChanged()
{
    if (m_defaults.boolean(QStringLiteral("displayUnreadInDockIcon")))
        m_feedUpdater.updateDockIcon();
    else
        m_feedUpdater.resetDockIcon();
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
}

void PreferencesController::doSetDownloadPath()
{
    auto *chooser = new QFileDialog(this, tr("Choose the Downloads Folder"),
                                    m_defaults.string(QStringLiteral("downloadPath")));
    chooser->setFileMode(QFileDialog::Directory);
    chooser->setOption(QFileDialog::ShowDirsOnly);
    chooser->setWindowModality(Qt::WindowModal);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    connect(chooser, &QFileDialog::fileSelected, this, &PreferencesController::setDownloadPath);
    // Cancelling leaves "Select..." chosen in the list; rebuilding shows the stored folder again.
    connect(chooser, &QFileDialog::rejected, this, &PreferencesController::buildDownloadLocationList);
    chooser->open();
}

void PreferencesController::setDownloadPath(const QString &path)
{
    if (!path.isEmpty())
        m_defaults.setString(QStringLiteral("downloadPath"), QDir::cleanPath(path));
    buildDownloadLocationList();
}

void PreferencesController::selectDefaultRSSReaderPopUpButton()
{
    if (m_feedReaderPopUp->currentIndex() == m_feedReaderPopUp->count() - 1) {
        selectRSSReader();
        return;
    }
    const QString desktopFile = m_appPathDictionary.value(m_feedReaderPopUp->currentText());
    if (!desktopFile.isEmpty())
        setDefaultLinksHandler(desktopFile);
    buildFeedReaderList();
}

void PreferencesController::selectRSSReader()
{
    auto *chooser = new QFileDialog(this, tr("Choose a Feed Reader"), m_applicationFolders.value(0),
                                    tr("Applications (*.desktop)"));
    chooser->setFileMode(QFileDialog::ExistingFile);
    chooser->setWindowModality(Qt::WindowModal);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    connect(chooser, &QFileDialog::fileSelected, this,
            [this](const QString &path) { setDefaultLinksHandler(QFileInfo(path).fileName()); });
    connect(chooser, &QFileDialog::finished, this, [this] {
        buildFeedReaderList();
        raise();
        activateWindow();
    });
    chooser->open();
}

void PreferencesController::setDefaultLinksHandler(const QString &desktopFile)
{
    m_commandRunner(QStringLiteral("xdg-mime"), {QStringLiteral("default"), desktopFile, feedScheme});
}

void PreferencesController::buildFeedReaderList()
{
    m_feedReaderPopUp->clear();
    m_appPathDictionary.clear();
    const QMap<QString, DesktopEntry> entries = desktopEntries(m_applicationFolders);
    QString current = m_commandRunner(QStringLiteral("xdg-mime"),
                                      {QStringLiteral("query"), QStringLiteral("default"), feedScheme})
                          .trimmed();
    if (current.isEmpty())
        current = ownDesktopFile;
    bool listed = current == ownDesktopFile;
    const QString currentName = readerName(current, entries);
    addFeedReader(currentName, current, entries.value(current).icon);
    m_feedReaderPopUp->insertSeparator(m_feedReaderPopUp->count());
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
        if (!entry->opensFeeds)
            continue;
        const QString name = readerName(entry.key(), entries);
        listed = listed || name == ownName;
        if (name != currentName)
            addFeedReader(name, entry.key(), entry->icon);
        m_appPathDictionary.insert(name, entry.key());
    }
    if (!listed)
        addFeedReader(ownName, ownDesktopFile, {});
    m_feedReaderPopUp->insertSeparator(m_feedReaderPopUp->count());
    m_feedReaderPopUp->addItem(tr("Select..."));
    m_feedReaderPopUp->setCurrentIndex(0);
}

void PreferencesController::addFeedReader(const QString &name, const QString &desktopFile,
                                          const QString &iconName)
{
    const QIcon icon = desktopFile == ownDesktopFile
                           ? QIcon::fromTheme(QStringLiteral("quillbay"), QApplication::windowIcon())
                           : applicationIcon(iconName);
    m_feedReaderPopUp->addItem(icon, name);
    m_appPathDictionary.insert(name, desktopFile);
}

void PreferencesController::buildSoundLists()
{
    fillSoundList(m_newArticlesSoundPopUp, QStringLiteral("generalAlertSound"));
    fillSoundList(m_downloadSoundPopUp, QStringLiteral("downloadAlertSound"));
}

void PreferencesController::fillSoundList(QComboBox *popUp, const QString &key)
{
    popUp->clear();
    popUp->addItems({QStringLiteral("New Articles"), QStringLiteral("Download Completed")});
    popUp->insertSeparator(popUp->count());
    popUp->addItems(soundNamesIn(m_systemSoundFolder));
    if (hasAnyEntry(m_userSoundFolder)) {
        popUp->insertSeparator(popUp->count());
        popUp->addItems(soundNamesIn(m_userSoundFolder));
    }
    popUp->setCurrentIndex(popUp->findText(m_defaults.string(key)));
}

void PreferencesController::buildDownloadLocationList()
{
    struct Place
    {
        QString title;
        QStandardPaths::StandardLocation location;
        QString iconName;
    };
    const QList<Place> places{
        {tr("Downloads"), QStandardPaths::DownloadLocation, QStringLiteral("folder-download")},
        {tr("Desktop"), QStandardPaths::DesktopLocation, QStringLiteral("user-desktop")},
        {tr("Documents"), QStandardPaths::DocumentsLocation, QStringLiteral("folder-documents")},
    };
    const QString downloadPath = QDir::cleanPath(m_defaults.string(QStringLiteral("downloadPath")));
    m_downloadLocationPopUp->clear();
    for (const Place &place : places)
        m_downloadLocationPopUp->addItem(folderIcon(place.iconName), place.title,
                                         QDir::cleanPath(QStandardPaths::writableLocation(place.location)));
    m_downloadLocationPopUp->insertSeparator(m_downloadLocationPopUp->count());
    if (!downloadPath.isEmpty() && m_downloadLocationPopUp->findData(downloadPath) < 0)
        m_downloadLocationPopUp->addItem(folderIcon(QStringLiteral("folder")),
                                         QFileInfo(downloadPath).fileName(), downloadPath);
    m_downloadLocationPopUp->addItem(tr("Select..."));
    selectData(m_downloadLocationPopUp, downloadPath);
}

void PreferencesController::buildColourThemeList()
{
    m_colourThemePopUp->clear();
    // "Default" first: the desktop's own colours, light or dark, before the eleven tints.
    for (int index = WindowTheme::DefaultTheme; index < ColourTheme::themeCount(); ++index)
        m_colourThemePopUp->addItem(
            QIcon(QPixmap::fromImage(WindowTheme::swatch(index, QApplication::palette()))),
            WindowTheme::nameOfTheme(index), index);
    selectData(m_colourThemePopUp, m_defaults.integer(QStringLiteral("displayColourTheme")));
}

void PreferencesController::makeToolbar()
{
    m_toolbar->setObjectName(QStringLiteral("prefsToolbar"));
    m_toolbar->setMovable(false);
    m_toolbar->setFloatable(false);
    m_toolbar->setContextMenuPolicy(Qt::PreventContextMenu);
    m_toolbar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    m_toolbar->setIconSize(QSize(32, 32));
    auto *group = new QActionGroup(m_toolbar);
    for (const ToolbarItem &item : toolbarItems) {
        QAction *action = m_toolbar->addAction(paneIcon(item.tag), LocalizedStrings::text(item.labelKey));
        action->setObjectName(item.identifier);
        action->setToolTip(LocalizedStrings::text(item.labelKey + QStringLiteral("Tip")));
        action->setData(item.tag);
        action->setCheckable(true);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, tag = item.tag] { switchView(tag); });
    }
}

QWidget *PreferencesController::makeGeneralPane()
{
    auto *pane = new QWidget(this);
    auto *form = new QFormLayout(pane);
    m_feedReaderPopUp = addPopUp(form, tr("Default feed reader:"));
    connect(m_feedReaderPopUp, &QComboBox::activated, this,
            &PreferencesController::selectDefaultRSSReaderPopUpButton);
    addSpinBox(form, QStringLiteral("generalRefreshInterval"), tr("Check feeds every:"), 1, 10080,
               tr(" minutes"));
    addSpinBox(form, QStringLiteral("generalExpireAfter"), tr("Keep articles for:"), 1, 3650, tr(" days"));
    addCheckBox(form, QStringLiteral("generalPlaySound"), tr("Play a sound when new articles arrive"));
    m_newArticlesSoundPopUp = addPopUp(form, tr("New articles sound:"));
    connect(m_newArticlesSoundPopUp, &QComboBox::activated, this,
            [this] { soundChosen(m_newArticlesSoundPopUp, QStringLiteral("generalAlertSound")); });
    addCheckBox(form, QStringLiteral("generalBounceDockIcon"),
                tr("Ask for attention when new articles arrive"));
    addBlogEditorField(form);
    return pane;
}

// Any command line the user likes, or one of the editors found here; it is read when a post is sent.
void PreferencesController::addBlogEditorField(QFormLayout *form)
{
    m_blogEditorPopUp = addPopUp(form, tr("Weblog editor:"));
    m_blogEditorPopUp->setEditable(true);
    m_blogEditorPopUp->setInsertPolicy(QComboBox::NoInsert);
    m_blogEditorPopUp->lineEdit()->setPlaceholderText(tr("a command, such as gedit {file}"));
    const auto store = [this] {
        m_defaults.setString(QStringLiteral("generalBlogEditor"), m_blogEditorPopUp->currentText().trimmed());
    };
    connect(m_blogEditorPopUp, &QComboBox::activated, this, store);
    connect(m_blogEditorPopUp->lineEdit(), &QLineEdit::editingFinished, this, store);
    auto *hint = new QLabel(tr("{title}, {link} and {text} stand for the article's title, address and text; "
                               "{file} for a file that holds all three."),
                            form->parentWidget());
    hint->setWordWrap(true);
    hint->setEnabled(false);
    form->addRow(QString(), hint);
}

// The editors are looked for each time the window comes up, so that one installed since is offered.
void PreferencesController::buildBlogEditorList()
{
    const QSignalBlocker quiet(m_blogEditorPopUp);
    m_blogEditorPopUp->clear();
    for (const BlogEditorCommand::Editor &editor : BlogEditorCommand::installedEditors())
        m_blogEditorPopUp->addItem(editor.commandLine);
    m_blogEditorPopUp->setEditText(m_defaults.string(QStringLiteral("generalBlogEditor")));
}

QWidget *PreferencesController::makeDisplayPane()
{
    auto *pane = new QWidget(this);
    auto *form = new QFormLayout(pane);
    m_colourThemePopUp = addPopUp(form, tr("Colour theme:"));
    connect(m_colourThemePopUp, &QComboBox::activated, this, [this] {
        m_defaults.setInteger(QStringLiteral("displayColourTheme"),
                              m_colourThemePopUp->currentData().toInt());
        doChangeTheme();
    });
    m_fontSizePopUp = addPopUp(form, tr("Text size:"));
    m_fontSizePopUp->addItem(tr("Normal"), 1);
    m_fontSizePopUp->addItem(tr("Larger"), 2);
    m_fontSizePopUp->addItem(tr("Largest"), 3);
    selectData(m_fontSizePopUp, m_defaults.integer(QStringLiteral("displayFontSize")));
    connect(m_fontSizePopUp, &QComboBox::activated, this, [this] {
        m_defaults.setInteger(QStringLiteral("displayFontSize"), m_fontSizePopUp->currentData().toInt());
        doFontSizeChanged();
    });
    addSpinBox(form, QStringLiteral("displayArticleCap"), tr("Headlines per page:"), 1, 10000, QString());
    addCheckBox(form, QStringLiteral("displayShowArticleSummaries"), tr("Show article summaries"));
    addCheckBox(form, QStringLiteral("displayShowInfoBar"), tr("Show the information bar of articles"));
    addCheckBox(form, QStringLiteral("displayLoadRemoteImages"), tr("Load remote images"));
    addCheckBox(form, QStringLiteral("displayHideSummaryOfReadFeeds"), tr("Hide the summary of read feeds"));
    addCheckBox(form, QStringLiteral("displayStripHTML"), tr("Strip formatting from summaries"));
    addCheckBox(form, QStringLiteral("displayCustomIcons"), tr("Show the feeds' own icons"));
    addCheckBox(form, QStringLiteral("displayUnreadInDockIcon"),
                tr("Show the unread count on the program's icon"));
    return pane;
}

QWidget *PreferencesController::makeDownloadsPane()
{
    auto *pane = new QWidget(this);
    auto *form = new QFormLayout(pane);
    m_downloadLocationPopUp = addPopUp(form, tr("Save enclosures to:"));
    connect(m_downloadLocationPopUp, &QComboBox::activated, this,
            &PreferencesController::downloadLocationChosen);
    addSpinBox(form, QStringLiteral("downloadConcurrent"), tr("Downloads at once:"), 1, 20, QString());
    addCheckBox(form, QStringLiteral("downloadPlaySound"), tr("Play a sound when a download completes"));
    m_downloadSoundPopUp = addPopUp(form, tr("Download sound:"));
    connect(m_downloadSoundPopUp, &QComboBox::activated, this,
            [this] { soundChosen(m_downloadSoundPopUp, QStringLiteral("downloadAlertSound")); });
    form->addRow(new QLabel(tr("Open when downloaded:"), pane));
    addCheckBox(form, QStringLiteral("downloadOpenDocument"), tr("Documents"));
    addCheckBox(form, QStringLiteral("downloadOpenImage"), tr("Images"));
    addCheckBox(form, QStringLiteral("downloadOpenMovie"), tr("Movies"));
    addCheckBox(form, QStringLiteral("downloadOpenAudio"), tr("Audio"));
    addCheckBox(form, QStringLiteral("downloadOpenZip"), tr("Archives"));
    addCheckBox(form, QStringLiteral("downloadOpenBT"), tr("BitTorrent files"));
    return pane;
}

QWidget *PreferencesController::makeBehaviorPane()
{
    auto *pane = new QWidget(this);
    auto *form = new QFormLayout(pane);
    form->addRow(new QLabel(tr("Mark articles read:"), pane));
    addCheckBox(form, QStringLiteral("behaviorBrowsing"), tr("When moving to the next or previous article"));
    addCheckBox(form, QStringLiteral("behaviorLinkClick"), tr("When opening their link in the browser"));
    addCheckBox(form, QStringLiteral("behaviorFeedClick"), tr("When opening them inside QuillBay"));
    addCheckBox(form, QStringLiteral("behaviorWebOpened"), tr("When opening their feed's web site"));
    addCheckBox(form, QStringLiteral("behaviorOnQuit"), tr("All of them when QuillBay quits"));
    form->addRow(new QLabel(tr("Links:"), pane));
    addCheckBox(form, QStringLiteral("behaviorOpenInBrowser"), tr("Open headline links in the browser"));
    addCheckBox(form, QStringLiteral("behaviorOpenInBackground"), tr("Open links in the background"));
    return pane;
}

QWidget *PreferencesController::makeUpdatePane()
{
    auto *pane = new QWidget(this);
    auto *form = new QFormLayout(pane);
    m_updateCheckBox = new QCheckBox(LocalizedStrings::text(QStringLiteral("AutoUpdateCheckBox")), pane);
    m_updateCheckBox->setObjectName(autoUpdateKey());
    m_updateCheckBox->setChecked(m_defaults.boolean(autoUpdateKey()));
    connect(m_updateCheckBox, &QCheckBox::toggled, this,
            [this](bool checked) { m_defaults.setBoolean(autoUpdateKey(), checked); });
    form->addRow(m_updateCheckBox);
    m_updateCheckButton = new QPushButton(LocalizedStrings::text(QStringLiteral("UpdateCheckButton")), pane);
    connect(m_updateCheckButton, &QPushButton::clicked, this,
            [this] { m_desktop.openUrl(QUrl(QStringLiteral("https://quillbay.org/")), false); });
    form->addRow(m_updateCheckButton);
    // On Linux the package manager brings new versions; the pane says so rather than promise more.
    auto *note = new QLabel(tr("QuillBay is updated with the rest of your system's software. Check Now "
                               "opens QuillBay's web site, which lists every release."),
                            pane);
    note->setWordWrap(true);
    form->addRow(note);
    return pane;
}

QCheckBox *PreferencesController::addCheckBox(QFormLayout *form, const QString &key, const QString &title)
{
    auto *box = new QCheckBox(title, form->parentWidget());
    box->setObjectName(key);
    box->setChecked(m_defaults.boolean(key));
    connect(box, &QCheckBox::toggled, this, [this, key](bool checked) {
        m_defaults.setBoolean(key, checked);
        doPreferencesChanged();
    });
    form->addRow(box);
    return box;
}

void PreferencesController::addSpinBox(QFormLayout *form, const QString &key, const QString &title,
                                       int minimum, int maximum, const QString &suffix)
{
    auto *spinBox = new QSpinBox(form->parentWidget());
    spinBox->setObjectName(key);
    spinBox->setRange(minimum, maximum);
    spinBox->setSuffix(suffix);
    spinBox->setValue(m_defaults.integer(key));
    connect(spinBox, &QSpinBox::valueChanged, this, [this, key](int value) {
        m_defaults.setInteger(key, value);
        doPreferencesChanged();
    });
    form->addRow(title, spinBox);
}

QComboBox *PreferencesController::addPopUp(QFormLayout *form, const QString &title)
{
    auto *popUp = new QComboBox(form->parentWidget());
    popUp->setIconSize(QSize(16, 16));
    form->addRow(title, popUp);
    return popUp;
}

void PreferencesController::soundChosen(QComboBox *popUp, const QString &key)
{
    m_defaults.setString(key, popUp->currentText());
    doSoundChanged(popUp);
}

void PreferencesController::downloadLocationChosen()
{
    if (m_downloadLocationPopUp->currentIndex() == m_downloadLocationPopUp->count() - 1)
        doSetDownloadPath();
    else
        setDownloadPath(m_downloadLocationPopUp->currentData().toString());
}
