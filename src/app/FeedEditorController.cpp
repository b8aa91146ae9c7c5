#include "app/FeedEditorController.h"

#include "app/DesktopServices.h"
#include "model/SourceListImages.h"
#include "platform/LocalizedStrings.h"
#include "platform/NotificationCenter.h"
#include "platform/ScaledDrawing.h"

#include <QComboBox>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QFormLayout>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QTableWidget>
#include <QTextBrowser>
#include <QThread>
#include <QVBoxLayout>

namespace {

const QStringList columnIdentifiers{QStringLiteral("icon"), QStringLiteral("title"),
                                    QStringLiteral("downloaded")};

QList<std::pair<QString, int>> refreshIntervalItems()
{
    return {{QObject::tr("Default"), -1},          {QObject::tr("Every 15 minutes"), 15},
            {QObject::tr("Every 30 minutes"), 30}, {QObject::tr("Every hour"), 60},
            {QObject::tr("Every 2 hours"), 120},   {QObject::tr("Every 4 hours"), 240},
            {QObject::tr("Once a day"), 1440}};
}

QList<std::pair<QString, int>> retentionPeriodItems()
{
    return {{QObject::tr("Default"), -1}, {QObject::tr("1 day"), 1},    {QObject::tr("3 days"), 3},
            {QObject::tr("1 week"), 7},   {QObject::tr("2 weeks"), 14}, {QObject::tr("30 days"), 30},
            {QObject::tr("90 days"), 90}};
}

QList<int> tagsOf(const QList<std::pair<QString, int>> &items)
{
    QList<int> tags;
    for (const auto &item : items)
        tags.append(item.second);
    return tags;
}

// What the user typed names an address only when it parses strictly and says how to reach it.
bool makesURL(const QString &text)
{
    const QUrl url(text.trimmed(), QUrl::StrictMode);
    return url.isValid() && !url.scheme().isEmpty();
}

QImage emptyImage()
{
    QImage image(16, 16, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

} // namespace

FeedEditorController::FeedEditorController(FeedLibrary &feedLibrary, NotificationCenter &notificationCenter,
                                           DesktopServices &desktop, QWidget *parentWindow)
    : QWidget(parentWindow, Qt::Window), m_feedLibrary(feedLibrary), m_notificationCenter(notificationCenter),
      m_desktop(desktop), m_outsideLinks(desktop, notificationCenter), m_iconImageView(new QLabel(this)),
      m_panelTitleField(new QLabel(this)), m_feedTitleField(new QLineEdit(this)),
      m_webLinkField(new QLineEdit(this)), m_feedLinkField(new QLineEdit(this)),
      m_refreshStatusField(new QLabel(this)),
      m_descriptionWebView(new QTextBrowser(this)), m_retentionPeriodPopUp(new QComboBox(this)),
      m_refreshIntervalPopUp(new QComboBox(this)), m_podcastTable(new QTableWidget(this))
{
    setWindowTitle(tr("Feed"));
    QFont titleFont = m_panelTitleField->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.3);
    m_panelTitleField->setFont(titleFont);
    m_iconImageView->setFixedSize(32, 32);
    m_iconImageView->setAlignment(Qt::AlignCenter);

    // The description is feed text: shown, never trusted to navigate or run anything.
    m_descriptionWebView->setOpenLinks(false);
    m_descriptionWebView->setOpenExternalLinks(false);
    m_descriptionWebView->setMaximumHeight(120);
    connect(m_descriptionWebView, &QTextBrowser::anchorClicked, this,
            [this](const QUrl &url) { m_outsideLinks.open(url, false); });

    makeTable();
    auto *heading = new QHBoxLayout;
    heading->addWidget(m_iconImageView);
    heading->addWidget(m_panelTitleField, 1);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(heading);
    layout->addWidget(makeFields());
    layout->addWidget(m_descriptionWebView);
    layout->addWidget(makePopUps());
    layout->addWidget(new QLabel(tr("Enclosures:"), this));
    layout->addWidget(m_podcastTable, 1);
    resize(420, 560);

    m_selectionObserver = m_notificationCenter.addObserver(
        QStringLiteral("feedSelectionChanged"), [this](const Notification &) {
            if (QThread::currentThread() == thread())
                feedSelectionChanged();
            else
                QMetaObject::invokeMethod(this, &FeedEditorController::feedSelectionChanged,
                                          Qt::QueuedConnection);
        });
    m_downloadObserver = m_notificationCenter.addObserver(
        QStringLiteral("feedDownloaded"), [this](const Notification &notification) {
            if (m_feed && notification.object.value<FeedPtr>() == m_feed)
                showRefreshStatus();
        });
}

FeedEditorController::~FeedEditorController()
{
    m_notificationCenter.removeObserver(m_selectionObserver);
    m_notificationCenter.removeObserver(m_downloadObserver);
}

QWidget *FeedEditorController::makeFields()
{
    auto *fields = new QWidget(this);
    auto *form = new QFormLayout(fields);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(tr("Title:"), m_feedTitleField);
    form->addRow(tr("Web site:"), m_webLinkField);
    form->addRow(tr("Feed:"), m_feedLinkField);
    m_refreshStatusField->setWordWrap(true);
    m_refreshStatusField->setTextFormat(Qt::PlainText);
    form->addRow(tr("Last refresh:"), m_refreshStatusField);
    for (QLineEdit *field : {m_feedTitleField, m_webLinkField, m_feedLinkField})
        connect(field, &QLineEdit::editingFinished, this, [this, field] {
            if (field->isModified()) {
                field->setModified(false);
                doFeedChanged();
            }
        });
    return fields;
}

QWidget *FeedEditorController::makePopUps()
{
    fillPopUp(m_refreshIntervalPopUp, refreshIntervalItems());
    fillPopUp(m_retentionPeriodPopUp, retentionPeriodItems());
    auto *popUps = new QWidget(this);
    auto *form = new QFormLayout(popUps);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(tr("Check for new articles:"), m_refreshIntervalPopUp);
    form->addRow(tr("Keep articles for:"), m_retentionPeriodPopUp);
    for (QComboBox *popUp : {m_refreshIntervalPopUp, m_retentionPeriodPopUp})
        connect(popUp, &QComboBox::activated, this, &FeedEditorController::doFeedChanged);
    return popUps;
}

void FeedEditorController::makeTable()
{
    m_podcastTable->setColumnCount(int(columnIdentifiers.size()));
    m_podcastTable->setHorizontalHeaderLabels({QString(), tr("Enclosure"), tr("Saved")});
    m_podcastTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_podcastTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_podcastTable->setSelectionMode(QAbstractItemView::SingleSelection);
    m_podcastTable->verticalHeader()->hide();
    m_podcastTable->setIconSize(QSize(16, 16));
    m_podcastTable->horizontalHeader()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_podcastTable->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    m_podcastTable->horizontalHeader()->setSectionResizeMode(2, QHeaderView::ResizeToContents);
    connect(m_podcastTable, &QTableWidget::cellClicked, this, &FeedEditorController::doPodcastTableClick);
}

void FeedEditorController::fillPopUp(QComboBox *popUp, const QList<std::pair<QString, int>> &items)
{
    for (const auto &[title, tag] : items)
        popUp->addItem(title, tag);
}

QList<int> FeedEditorController::refreshIntervalTags()
{
    return tagsOf(refreshIntervalItems());
}

QList<int> FeedEditorController::retentionPeriodTags()
{
    return tagsOf(retentionPeriodItems());
}

void FeedEditorController::present()
{
    if (!m_placed && parentWidget()) {
        m_placed = true;
        const QRect main = parentWidget()->window()->frameGeometry();
        const QScreen *screen = parentWidget()->screen();
        const QRect room = screen ? screen->availableGeometry() : QRect();
        const bool fitsRight = room.isNull() || main.right() + width() <= room.right();
        move(fitsRight ? main.right() + 1 : qMax(room.left(), main.left() - frameGeometry().width()),
             main.top());
    }
    show();
    raise();
    activateWindow();
}

// ---- following the selection

void FeedEditorController::feedSelectionChanged()
{
    const FeedList feeds = m_feedLibrary.selectedFeeds();
    m_feed = feeds.isEmpty() ? FeedPtr() : feeds.last();
    m_enclosures = m_feed ? m_feedLibrary.enclosuresForFeed(m_feed) : QList<std::shared_ptr<Enclosure>>();
    applyFeedSelectionToUI();
}

void FeedEditorController::applyFeedSelectionToUI()
{
    if (!m_feed)
        return;
    setWindowTitle(m_feed->title());
    m_panelTitleField->setText(m_feed->title());
    m_feedTitleField->setText(m_feed->title());
    m_webLinkField->setText(m_feed->link().toString());
    m_feedLinkField->setText(m_feed->feed().toString());
    const QImage icon = m_feed->favIcon().isNull() ? SourceListImages::imageNamed(QStringLiteral("feed16"))
                                                   : m_feed->favIcon();
    m_iconImageView->setPixmap(QPixmap::fromImage(
        icon.scaled(m_iconImageView->size(), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    showRefreshStatus();
    m_descriptionWebView->setHtml(descriptionPage());
    selectTag(m_refreshIntervalPopUp, m_feed->updateInterval());
    selectTag(m_retentionPeriodPopUp, m_feed->retentionPeriod());
    reloadTable();
}

// A failed feed says why, in red, and when it last worked; a healthy one when it last refreshed.
void FeedEditorController::showRefreshStatus()
{
    const QString reason = m_feed->failureReason();
    const QDateTime succeeded = m_feed->lastSucceeded();
    const QString when =
        succeeded.isValid() ? QLocale().toString(succeeded.toLocalTime(), QLocale::ShortFormat) : QString();
    if (reason.isEmpty()) {
        m_refreshStatusField->setText(when.isEmpty() ? tr("Not yet refreshed")
                                                     : tr("Succeeded %1").arg(when));
        m_refreshStatusField->setStyleSheet(QString());
        return;
    }
    m_refreshStatusField->setText(when.isEmpty() ? tr("Failed: %1").arg(reason)
                                                 : tr("Failed: %1 (last succeeded %2)").arg(reason, when));
    m_refreshStatusField->setStyleSheet(QStringLiteral("color: #cc362d"));
}

QString FeedEditorController::descriptionPage() const
{
    const QString description = m_feed->description().isEmpty()
                                    ? LocalizedStrings::text(QStringLiteral("No description available"))
                                    : m_feed->description();
    return QStringLiteral("<html><body background=\"white\" style=\"font-family: 'Lucida Grande'; font-size: "
                          "11px;\">") +
           description + QStringLiteral("</body></html>");
}

void FeedEditorController::selectTag(QComboBox *popUp, int tag)
{
    const int index = popUp->findData(tag);
    popUp->setCurrentIndex(index >= 0 ? index : popUp->findData(unmatchedTag));
}

// ---- editing

void FeedEditorController::doFeedChanged()
{
    if (!m_feed)
        return;
    m_panelTitleField->setText(m_feedTitleField->text());
    m_feed->setTitle(m_feedTitleField->text());
    if (const std::optional<QUrl> link = editedAddress(m_webLinkField, m_feed->link()))
        m_feed->setLink(*link);
    if (const std::optional<QUrl> feed = editedAddress(m_feedLinkField, m_feed->feed()))
        m_feed->setFeed(*feed);
    m_feed->setRetentionPeriod(m_retentionPeriodPopUp->currentData().toInt());
    m_feed->setUpdateInterval(m_refreshIntervalPopUp->currentData().toInt());
    reloadTable();
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"), QVariant::fromValue(m_feed));
}

// Unchanged text is left alone: a feed without a web site keeps its empty field without a beep.
std::optional<QUrl> FeedEditorController::editedAddress(QLineEdit *field, const QUrl &current)
{
    const QString text = field->text().trimmed();
    if (text == current.toString())
        return std::nullopt;
    if (makesURL(text))
        return QUrl(text);
    m_desktop.beep();
    field->setText(current.toString());
    return std::nullopt;
}

// ---- the enclosure table

void FeedEditorController::reloadTable()
{
    m_podcastTable->clearContents();
    m_podcastTable->setRowCount(rowCount());
    for (int row = 0; row < rowCount(); ++row) {
        for (int column = 0; column < columnIdentifiers.size(); ++column) {
            const QVariant value = cellValue(columnIdentifiers.at(column), row);
            auto *item = new QTableWidgetItem;
            if (value.typeId() == QMetaType::QImage)
                item->setData(Qt::DecorationRole, QPixmap::fromImage(value.value<QImage>()));
            else
                item->setText(value.toString());
            m_podcastTable->setItem(row, column, item);
        }
    }
}

QVariant FeedEditorController::cellValue(const QString &columnIdentifier, int row) const
{
    if (row < 0 || row >= rowCount())
        return QString();
    const Enclosure &enclosure = *m_enclosures.at(row);
    if (columnIdentifier == QLatin1String("icon"))
        return fileTypeIcon(enclosure.title());
    if (columnIdentifier == QLatin1String("title"))
        return enclosure.title();
    if (columnIdentifier == QLatin1String("downloaded")) {
        const bool local =
            !enclosure.localFilePath().isEmpty() && QFileInfo::exists(enclosure.localFilePath());
        return local ? successImage() : emptyImage();
    }
    return QStringLiteral("???");
}

void FeedEditorController::doPodcastTableClick()
{
    const int row = m_podcastTable->currentRow();
    if (row < 0 || row >= rowCount())
        return;
    m_notificationCenter.post(QStringLiteral("EnclosureSelectionChanged"),
                              QVariant::fromValue(m_enclosures.at(row)));
}

QImage FeedEditorController::fileTypeIcon(const QString &fileName)
{
    const QMimeType type = QMimeDatabase().mimeTypeForFile(fileName, QMimeDatabase::MatchExtension);
    QIcon icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
    if (icon.isNull())
        icon = QFileIconProvider().icon(QAbstractFileIconProvider::File);
    const QImage image = icon.pixmap(16, 16).toImage();
    return image.isNull() ? emptyImage()
                          : image.scaled(16, 16, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

// A white tick on a green disc: the enclosure is saved on this computer.
QImage FeedEditorController::successImage()
{
    return ScaledDrawing::paint(16, 16, [](QPainter &painter) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(52, 168, 83));
        painter.drawEllipse(QRectF(0.5, 0.5, 15, 15));
        QPainterPath tick;
        tick.moveTo(4.2, 8.3);
        tick.lineTo(7, 11);
        tick.lineTo(11.8, 5.2);
        painter.setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(tick);
    });
}
