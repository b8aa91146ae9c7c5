#include "app/BasicWindows.h"

#include "app/DesktopServices.h"
#include "fetch/FeedUpdater.h"
#include "model/FeedLibrary.h"
#include "platform/NotificationCenter.h"
#include "reading/OPMLImporter.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>

namespace {

// "feed:" addresses name the web address after the scheme, with or without slashes.
QUrl webAddressOf(const QUrl &address)
{
    QUrl url = address;
    if (url.scheme() == QLatin1String("feed")) {
        QString rest = url.toString().mid(5);
        if (rest.startsWith(QLatin1String("//")) && !rest.startsWith(QLatin1String("//http")))
            rest = QStringLiteral("http:") + rest;
        else if (rest.startsWith(QLatin1String("//")))
            rest = rest.mid(2);
        url = QUrl(rest);
    }
    return url;
}

} // namespace

BasicWindows::BasicWindows(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater,
                           NotificationCenter &notificationCenter, DesktopServices &desktop)
    : m_feedLibrary(feedLibrary), m_feedUpdater(feedUpdater), m_notificationCenter(notificationCenter),
      m_desktop(desktop)
{
    m_enclosureObserver = m_notificationCenter.addObserver(
        QStringLiteral("EnclosureSelectionChanged"),
        [this](const Notification &n) { m_enclosure = n.object.value<std::shared_ptr<Enclosure>>(); });
}

BasicWindows::~BasicWindows()
{
    m_notificationCenter.removeObserver(m_enclosureObserver);
}

bool BasicWindows::runAddFeedSheet(const QUrl &address)
{
    bool accepted = false;
    const QString text =
        QInputDialog::getText(m_parentWindow, QObject::tr("New Feed"), QObject::tr("Address of the feed:"),
                              QLineEdit::Normal, address.toString(), &accepted);
    if (!accepted)
        return false;
    if (subscribe(QUrl::fromUserInput(text.trimmed())))
        return true;
    m_desktop.beep();
    return false;
}

bool BasicWindows::subscribe(const QUrl &address)
{
    const QUrl url = webAddressOf(address);
    const bool web = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    if (!url.isValid() || !web || url.host().isEmpty())
        return false;
    auto feed = std::make_shared<Feed>();
    feed->setFeed(url);
    feed->setTitle(url.host());
    m_feedLibrary.add(feed, nullptr, int(m_feedLibrary.root()->children().size()));
    m_feedLibrary.setSelectedItems({feed});
    m_feedUpdater.requestFeedDownload(feed);
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
    return true;
}

void BasicWindows::showFeedEditor()
{
    m_desktop.beep();
}

void BasicWindows::showEnclosureWindow()
{
    if (m_enclosure && m_enclosure->link().isValid())
        m_desktop.openUrl(m_enclosure->link(), false);
    else
        m_desktop.beep();
}

void BasicWindows::showPreferences()
{
    m_desktop.beep();
}

void BasicWindows::showAboutBox()
{
    QMessageBox::about(m_parentWindow, QObject::tr("About QuillBay"),
                       QObject::tr("<b>QuillBay %1</b><p>A news reader for RSS and Atom feeds.</p>")
                           .arg(QCoreApplication::applicationVersion()));
}

void BasicWindows::runOPMLImporter(const QString &filePath)
{
    const QString path =
        filePath.isEmpty() ? QFileDialog::getOpenFileName(m_parentWindow, QObject::tr("Import Feeds"),
                                                          QString(), QObject::tr("OPML files (*.opml *.xml)"))
                           : filePath;
    if (!path.isEmpty() && importFile(path) == 0)
        m_desktop.beep();
}

int BasicWindows::importFile(const QString &path)
{
    const OPMLImporter importer = OPMLImporter::importFeedsFromPath(path);
    const FolderPtr imported = importer.importedFeedsFolder();
    if (!imported || importer.feeds().isEmpty())
        return 0;
    for (const TreeNodePtr &item : imported->children())
        m_feedLibrary.add(item, nullptr, int(m_feedLibrary.root()->children().size()));
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
    return int(importer.feeds().size());
}
