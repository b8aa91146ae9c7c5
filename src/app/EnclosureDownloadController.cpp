#include "app/EnclosureDownloadController.h"

#include "app/DesktopServices.h"
#include "fetch/Downloader.h"
#include "fetch/FeedUpdater.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"
#include "reading/QBUtilities.h"

#include <QDir>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMimeDatabase>
#include <QProgressBar>
#include <QPushButton>
#include <QWidget>
#include <climits>

namespace {

const int iconSize = 48;

// The name of the folder holding the file; a file at the top of the tree shows the top itself.
QString folderNameOf(const QString &path)
{
    const QString folder = QFileInfo(path).absolutePath();
    const QString name = QFileInfo(folder).fileName();
    return name.isEmpty() ? folder : name;
}

QIcon typeIconFor(const QString &fileName)
{
    const QMimeType type = QMimeDatabase().mimeTypeForFile(fileName, QMimeDatabase::MatchExtension);
    const QIcon themed = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
    return themed.isNull() ? QFileIconProvider().icon(QAbstractFileIconProvider::File) : themed;
}

std::shared_ptr<Enclosure> enclosureOf(const Downloader *downloader)
{
    return downloader->contextInfo().toMap().value(DownloadEnclosureKey).value<std::shared_ptr<Enclosure>>();
}

} // namespace

EnclosureDownloadController::EnclosureDownloadController(FeedUpdater &feedUpdater, Defaults &defaults,
                                                         NotificationCenter &notificationCenter,
                                                         DesktopServices &desktop, QWidget *parentWindow)
    : m_feedUpdater(feedUpdater), m_defaults(defaults), m_notificationCenter(notificationCenter),
      m_desktop(desktop)
{
    buildWindow(parentWindow);
    m_observers.append(m_notificationCenter.addObserver(
        QStringLiteral("EnclosureSelectionChanged"),
        [this](const Notification &notification) { enclosureChangedNotification(notification); }));
    for (const char *name : {"FileDownloadBeginingNotification", "FileDownloadProgressedNotification",
                             "FileDownloadCompleteNotification"})
        m_observers.append(m_notificationCenter.addObserver(
            QString::fromLatin1(name),
            [this](const Notification &notification) { downloadUpdated(notification); }));
}

EnclosureDownloadController::~EnclosureDownloadController()
{
    for (const int observer : std::as_const(m_observers))
        m_notificationCenter.removeObserver(observer);
    forgetDownloader();
    delete m_window;
}

// ---- the kinds of file that open by themselves

QStringList EnclosureDownloadController::documentFileTypes()
{
    return {QStringLiteral("doc"), QStringLiteral("rtf"), QStringLiteral("txt"), QStringLiteral("pdf")};
}

QStringList EnclosureDownloadController::imageFileTypes()
{
    return {QStringLiteral("jpg"), QStringLiteral("gif"), QStringLiteral("png"), QStringLiteral("psd"),
            QStringLiteral("eps"), QStringLiteral("tif"), QStringLiteral("tiff")};
}

QStringList EnclosureDownloadController::movieFileTypes()
{
    return {QStringLiteral("mov"), QStringLiteral("mp4"), QStringLiteral("m4v"),
            QStringLiteral("avi"), QStringLiteral("rm"),  QStringLiteral("wmf"),
            QStringLiteral("asf"), QStringLiteral("mpg"), QStringLiteral("divx")};
}

QStringList EnclosureDownloadController::audioFileTypes()
{
    return {QStringLiteral("mp3"), QStringLiteral("aac"), QStringLiteral("m4a"), QStringLiteral("m4b"),
            QStringLiteral("wav"), QStringLiteral("aif"), QStringLiteral("aiff")};
}

QStringList EnclosureDownloadController::zipFileTypes()
{
    return {QStringLiteral("zip"), QStringLiteral("sit"), QStringLiteral("tar"),
            QStringLiteral("tgz"), QStringLiteral("gz"),  QStringLiteral("sitx")};
}

// ---- showing an enclosure

void EnclosureDownloadController::enclosureChangedNotification(const Notification &notification)
{
    setEnclosure(notification.object.value<std::shared_ptr<Enclosure>>());
}

void EnclosureDownloadController::setEnclosure(const std::shared_ptr<Enclosure> &enclosure)
{
    if (!enclosure)
        return;
    m_enclosure = enclosure;
    // A transfer still running belongs to the enclosure shown before; its next notice finds it again.
    forgetDownloader();
    m_fileNameField->setText(enclosure->title());
    m_fileSizeField->setText(QBUtilities::longToFileSize(enclosure->size()));
    m_iconView->setPixmap(typeIconFor(enclosure->title()).pixmap(iconSize, iconSize));
    setButtonAction();
    m_progressBar->hide();
    m_actionButton->setEnabled(true);
    if (!m_window->isVisible())
        showWindow();
}

void EnclosureDownloadController::setDownloader(Downloader *downloader)
{
    if (downloader == m_downloader)
        return;
    forgetDownloader();
    if (downloader)
        followDownloader(downloader);
}

void EnclosureDownloadController::showWindow()
{
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void EnclosureDownloadController::setButtonAction()
{
    const QString path = m_enclosure ? m_enclosure->localFilePath() : QString();
    if (path.isEmpty()) {
        setButton(tr("Download"), &EnclosureDownloadController::downloadAction);
        m_locationField->setText(tr("Not downloaded"));
    } else if (QFileInfo::exists(path)) {
        setButton(tr("Open File"), &EnclosureDownloadController::openAction);
        m_locationField->setText(folderNameOf(path));
        m_progressBar->hide();
    } else {
        setButton(tr("Redownload"), &EnclosureDownloadController::downloadAction);
        m_locationField->setText(tr("Not found"));
    }
}

void EnclosureDownloadController::setButton(const QString &title, Action action)
{
    m_actionButton->setText(title);
    m_action = action;
}

// ---- the actions

void EnclosureDownloadController::downloadAction()
{
    if (!m_enclosure)
        return;
    const QUrl link = m_enclosure->link();
    // The engine refuses anything else without a word, and the queue would hold its slot for ever.
    if (link.scheme() != QLatin1String("http") && link.scheme() != QLatin1String("https")) {
        showFailure(tr("Not a web address"));
        return;
    }
    const QString folder = m_defaults.string(QStringLiteral("downloadPath"));
    QDir().mkpath(folder);
    m_feedUpdater.requestDownload(link, folder,
                                  {{DownloadTypeKey, int(Downloader::DownloadTypeEnclosure)},
                                   {DownloadEnclosureKey, QVariant::fromValue(m_enclosure)}});
    m_progressBar->setRange(0, 0);
    m_progressBar->show();
    m_actionButton->setEnabled(false);
}

void EnclosureDownloadController::cancelAction()
{
    Downloader *running = m_downloader;
    forgetDownloader();
    if (running)
        m_feedUpdater.cancelDownload(running);
    setButton(tr("Download"), &EnclosureDownloadController::downloadAction);
    m_locationField->setText(tr("Not downloaded"));
    m_progressBar->setValue(0);
    m_progressBar->hide();
    m_actionButton->setEnabled(true);
}

void EnclosureDownloadController::openAction()
{
    if (m_enclosure && !m_enclosure->localFilePath().isEmpty())
        m_desktop.openFile(m_enclosure->localFilePath());
}

// ---- following the transfer

void EnclosureDownloadController::downloadUpdated(const Notification &notification)
{
    auto *downloader = notification.object.value<Downloader *>();
    if (!downloader || !m_enclosure || enclosureOf(downloader).get() != m_enclosure.get())
        return;
    setDownloader(downloader);
    if (m_progressBar->minimum() == 0 && m_progressBar->maximum() == 0)
        m_actionButton->setEnabled(true);
    // The bar counts kilobytes for files too large for its range.
    const quint64 size = m_enclosure->size();
    const int unit = size > quint64(INT_MAX) ? 1024 : 1;
    const int maximum = int(size / unit);
    m_progressBar->setRange(0, maximum);
    m_progressBar->show();

    if (notification.name == QLatin1String("FileDownloadCompleteNotification")) {
        forgetDownloader();
        setButton(tr("Open File"), &EnclosureDownloadController::openAction);
        // The name the file really got: the server's, a free one beside an older file of that name.
        m_enclosure->setLocalFilePath(
            QStringLiteral("%1/%2").arg(downloader->destination(), downloader->fileName()));
        m_progressBar->hide();
        setButtonAction();
        handleAutoOpening();
        return;
    }
    // Also on progress: the enclosure may have been chosen again after its transfer began.
    setButton(tr("Cancel"), &EnclosureDownloadController::cancelAction);
    if (notification.name == QLatin1String("FileDownloadProgressedNotification"))
        m_progressBar->setValue(qMin(maximum, int(downloader->bytes() / unit)));
}

void EnclosureDownloadController::followDownloader(Downloader *downloader)
{
    m_downloader = downloader;
    m_downloaderGone =
        connect(downloader, &QObject::destroyed, this, &EnclosureDownloadController::downloaderWentAway);
}

void EnclosureDownloadController::forgetDownloader()
{
    disconnect(m_downloaderGone);
    m_downloader = nullptr;
}

// The updater lets go of a Downloader once its completion has run; before the finish notice, that
// means the transfer failed.
void EnclosureDownloadController::downloaderWentAway()
{
    m_downloader = nullptr;
    showFailure(tr("Download failed"));
}

void EnclosureDownloadController::showFailure(const QString &reason)
{
    setButton(tr("Redownload"), &EnclosureDownloadController::downloadAction);
    m_locationField->setText(reason);
    m_progressBar->setValue(0);
    m_progressBar->hide();
    m_actionButton->setEnabled(true);
}

void EnclosureDownloadController::handleAutoOpening()
{
    const QString extension = QFileInfo(m_enclosure->localFilePath()).suffix().toLower();
    const QList<std::pair<const char *, QStringList>> kinds{
        {"downloadOpenBT", {QStringLiteral("torrent")}}, {"downloadOpenDocument", documentFileTypes()},
        {"downloadOpenImage", imageFileTypes()},         {"downloadOpenMovie", movieFileTypes()},
        {"downloadOpenAudio", audioFileTypes()},         {"downloadOpenZip", zipFileTypes()}};
    for (const auto &[setting, extensions] : kinds) {
        if (m_defaults.boolean(QString::fromLatin1(setting)) && extensions.contains(extension)) {
            m_desktop.openFile(m_enclosure->localFilePath());
            return;
        }
    }
}

// ---- the window

void EnclosureDownloadController::buildWindow(QWidget *parentWindow)
{
    m_window = new QWidget(parentWindow, Qt::Window);
    m_window->setObjectName(QStringLiteral("enclosureDownloadWindow"));
    m_window->setWindowTitle(tr("Enclosure"));
    m_iconView = new QLabel(m_window);
    m_iconView->setFixedSize(iconSize, iconSize);
    m_fileNameField = new QLabel(m_window);
    m_fileNameField->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont bold = m_fileNameField->font();
    bold.setBold(true);
    m_fileNameField->setFont(bold);
    m_fileSizeField = new QLabel(m_window);
    m_locationField = new QLabel(tr("Not downloaded"), m_window);
    m_progressBar = new QProgressBar(m_window);
    m_progressBar->setTextVisible(false);
    m_progressBar->hide();
    m_actionButton = new QPushButton(tr("Download"), m_window);
    m_action = &EnclosureDownloadController::downloadAction;
    m_actionButton->setEnabled(false);

    auto *layout = new QGridLayout(m_window);
    layout->addWidget(m_iconView, 0, 0, 3, 1, Qt::AlignTop);
    layout->addWidget(m_fileNameField, 0, 1);
    layout->addWidget(m_fileSizeField, 1, 1);
    layout->addWidget(m_locationField, 2, 1);
    layout->addWidget(m_progressBar, 3, 0, 1, 2);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_actionButton);
    layout->addLayout(buttons, 4, 0, 1, 2);
    layout->setColumnStretch(1, 1);
    connect(m_actionButton, &QPushButton::clicked, this, [this] { (this->*m_action)(); });
    m_window->resize(360, m_window->sizeHint().height());
}
