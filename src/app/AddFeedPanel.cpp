#include "app/AddFeedPanel.h"

#include "app/DesktopServices.h"
#include "model/SourceListIcons.h"

#include <QClipboard>
#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QString titleOf(const TreeNodePtr &item)
{
    if (const auto folder = std::dynamic_pointer_cast<Folder>(item))
        return folder->title();
    if (const auto folder = std::dynamic_pointer_cast<VirtualFolder>(item))
        return folder->title();
    return {};
}

} // namespace

AddFeedPanel::AddFeedPanel(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater, Defaults &defaults,
                           NotificationCenter &notificationCenter, DesktopServices &desktop,
                           QWidget *parentWindow)
    : QDialog(parentWindow), m_feedLibrary(feedLibrary), m_defaults(defaults), m_desktop(desktop),
      m_controller(feedLibrary, feedUpdater, notificationCenter), m_addressField(new QLineEdit(this)),
      m_folderPopUpButton(new QComboBox(this)), m_addButton(new QPushButton(tr("Add"), this)),
      m_cancelButton(new QPushButton(tr("Cancel"), this)), m_spinner(new QProgressBar(this))
{
    setWindowTitle(tr("New Feed"));
    setWindowModality(Qt::WindowModal);
    m_addressField->setPlaceholderText(tr("http://www.example.com/feed.xml"));
    m_addressField->setMinimumWidth(360);
    m_folderPopUpButton->setIconSize(QSize(16, 16));
    // Busy mode: a bar that keeps moving without a measure of progress.
    m_spinner->setRange(0, 0);
    m_spinner->setTextVisible(false);
    m_spinner->setMaximumWidth(80);
    m_addButton->setDefault(true);

    auto *form = new QFormLayout;
    form->addRow(tr("Address:"), m_addressField);
    form->addRow(tr("Put into:"), m_folderPopUpButton);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_spinner);
    buttons->addStretch();
    buttons->addWidget(m_cancelButton);
    buttons->addWidget(m_addButton);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Enter the address of a feed or of a web site that offers one."), this));
    layout->addLayout(form);
    layout->addLayout(buttons);

    connect(m_addButton, &QPushButton::clicked, this, &AddFeedPanel::doAddFeed);
    connect(m_cancelButton, &QPushButton::clicked, this, &AddFeedPanel::doCancel);
    connect(m_addressField, &QLineEdit::textEdited, this, [this](const QString &text) {
        m_controller.textShouldBeginEditing();
        m_controller.setAddress(text);
    });
    connect(m_folderPopUpButton, &QComboBox::currentIndexChanged, this, &AddFeedPanel::chooseFolder);
    connect(&m_controller, &AddFeedController::changed, this, &AddFeedPanel::applyControllerState);
    connect(&m_controller, &AddFeedController::beepRequested, this, [this] { m_desktop.beep(); });
    connect(&m_controller, &AddFeedController::closed, this, [this](int result) { done(result); });
    applyControllerState();
}

bool AddFeedPanel::run(const QUrl &address)
{
    // A second address while the sheet is up goes into the running sheet rather than a sheet inside it.
    if (isVisible()) {
        if (!address.isEmpty())
            setURL(address);
        return false;
    }
    present(address);
    return exec() == 1;
}

void AddFeedPanel::present(const QUrl &address)
{
    setFeedAddressFromClipboard();
    if (!address.isEmpty())
        setURL(address);
    windowDidBecomeKey();
    open();
    m_addressField->setFocus();
}

void AddFeedPanel::setFeedAddressFromClipboard()
{
    const QString text = QGuiApplication::clipboard()->text();
    const bool address = text.startsWith(QLatin1String("http")) || text.startsWith(QLatin1String("feed"));
    m_controller.setAddress(address ? text : QString());
}

void AddFeedPanel::setURL(const QUrl &url)
{
    m_controller.setAddress(url.toString());
}

void AddFeedPanel::windowDidBecomeKey()
{
    const TreeNodePtr chosen = m_controller.folder();
    const SourceListIcons icons(m_defaults);
    m_folders = {m_feedLibrary.root()};
    m_folders.append(m_feedLibrary.allFolders());
    const QSignalBlocker quiet(m_folderPopUpButton);
    m_folderPopUpButton->clear();
    for (const TreeNodePtr &folder : std::as_const(m_folders))
        m_folderPopUpButton->addItem(QPixmap::fromImage(icons.tinyIconForItem(folder)), titleOf(folder));
    const int index = chosen ? int(m_folders.indexOf(chosen)) : 0;
    m_folderPopUpButton->setCurrentIndex(index < 0 ? 0 : index);
    chooseFolder(m_folderPopUpButton->currentIndex());
}

void AddFeedPanel::chooseFolder(int index)
{
    m_controller.setFolder(m_folders.value(index));
}

void AddFeedPanel::doAddFeed()
{
    m_controller.setAddress(m_addressField->text());
    chooseFolder(m_folderPopUpButton->currentIndex());
    m_controller.doAddFeed();
}

void AddFeedPanel::doCancel()
{
    m_controller.doCancel();
}

void AddFeedPanel::reject()
{
    doCancel();
}

bool AddFeedPanel::event(QEvent *event)
{
    if (event->type() == QEvent::WindowActivate)
        windowDidBecomeKey();
    return QDialog::event(event);
}

void AddFeedPanel::applyControllerState()
{
    if (m_addressField->text() != m_controller.address())
        m_addressField->setText(m_controller.address());
    m_addressField->setReadOnly(!m_controller.addressEditable());
    QPalette palette = m_addressField->palette();
    palette.setColor(QPalette::Text,
                     m_controller.addressRed() ? QColor(Qt::red) : this->palette().color(QPalette::Text));
    m_addressField->setPalette(palette);
    m_addButton->setEnabled(m_controller.addEnabled());
    m_spinner->setVisible(m_controller.spinning());
}
