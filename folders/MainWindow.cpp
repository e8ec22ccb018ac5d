#include "MainWindow.h"
#include "ui_MainWindow.h"

#include "AppSettings.h"
#include "AutoOutputDialog.h"
#include "BindDeviceDialog.h"
#include "ContactWindow.h"
#include "DatabaseManager.h"
#include "DeleteBoxWidget.h"
#include "DestopTip.h"
#include "DeviceListWindow.h"
#include "DialogUtil.h"
#include "FaxDetailWindow.h"
#include "FaxTray.h"
#include "FaxPdfWriter.h"
#include "FaxPrinter.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"
#include "MyUDPTask.h"
#include "PrintJobsDialog.h"
#include "ReceiveBoxWidget.h"
#include "SelectLanguageDialog.h"
#include "SendBoxWidget.h"
#include "SessionWindows.h"
#include "SettingDialog.h"
#include "SignatureLibDialog.h"
#include "TiffUtil.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QEvent>
#include <QFileInfo>
#include <QLabel>
#include <QStandardPaths>
#include <QStyle>
#include <QTimer>

namespace {

// Opens a top-level window of the session that frees itself when closed.
template <typename W>
W* openOwnWindow(W* window)
{
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
    return window;
}

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent), ui(new Ui::MainWindow), m_receiveBox(new ReceiveBoxWidget),
      m_sendBox(new SendBoxWidget), m_deleteBox(new DeleteBoxWidget)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    // A session starts here, before any upload of the user: faxes an ended session left
    // queued or uploading are put where "开始上传" can take them.
    if (DatabaseManager().recoverStrandedUploads() > 0)
        m_sendBox->reacquire();

    // Page 0 the inbox, 1 the outbox, 2 the deleted items: the order of the tree's items.
    ui->stackedWidget->addWidget(m_receiveBox);
    ui->stackedWidget->addWidget(m_sendBox);
    ui->stackedWidget->addWidget(m_deleteBox);
    ui->splitter->setStretchFactor(0, 0);
    ui->splitter->setStretchFactor(1, 1);
    ui->splitter->setSizes({180, 1000});

    connect(m_receiveBox, &ReceiveBoxWidget::statusShowProgress, this, &MainWindow::showProgress);
    connect(m_receiveBox, &ReceiveBoxWidget::reply, this, &MainWindow::reply);
    connect(m_receiveBox, &ReceiveBoxWidget::forward, this, &MainWindow::forward);
    connect(m_sendBox, &SendBoxWidget::forward, this, &MainWindow::forward);
    connect(m_receiveBox, &ReceiveBoxWidget::deleteFax, this, &MainWindow::deleteFax);
    connect(m_sendBox, &SendBoxWidget::deleteFax, this, &MainWindow::deleteFax);
    connect(m_receiveBox, &ReceiveBoxWidget::showReceiveFaxTips, this, &MainWindow::show_tips);
    connect(m_receiveBox, &ReceiveBoxWidget::showFaxDetailWindow, this, &MainWindow::showFaxDetailWindow);
    connect(m_sendBox, &SendBoxWidget::showFaxDetailWindow, this, &MainWindow::showFaxDetailWindow);
    connect(m_deleteBox, &DeleteBoxWidget::showFaxDetailWindow, this, &MainWindow::showFaxDetailWindow);
    connect(m_sendBox, &SendBoxWidget::showTransReport, this, &MainWindow::showReportWindow);
    connect(m_deleteBox, &DeleteBoxWidget::restoreFax, this, &MainWindow::restoreFax);
    connect(m_receiveBox, &ReceiveBoxWidget::currentFaxChanged, this, &MainWindow::updateFaxActions);
    connect(m_sendBox, &SendBoxWidget::currentFaxChanged, this, &MainWindow::updateFaxActions);
    connect(m_deleteBox, &DeleteBoxWidget::currentFaxChanged, this, &MainWindow::updateFaxActions);

    connectActions();
    setActionIcons();

    m_firstLabel = new QLabel;
    m_progressLabel = new QLabel;
    m_thirdLabel = new QLabel;
    m_firstLabel->setObjectName(QStringLiteral("label_status_first"));
    m_progressLabel->setObjectName(QStringLiteral("label_status_progress"));
    m_thirdLabel->setObjectName(QStringLiteral("label_status_third"));
    m_firstLabel->setStyleSheet(QStringLiteral("QLabel{background-color:rgb(200,101,102);}"));
    m_progressLabel->setStyleSheet(QStringLiteral("QLabel{background-color:rgb(191,192,234);}"));
    m_thirdLabel->setStyleSheet(QStringLiteral("QLabel{background-color:rgb(36,211,89);}"));
    ui->statusbar->addPermanentWidget(m_firstLabel, 2);
    ui->statusbar->addPermanentWidget(m_progressLabel, 1);
    ui->statusbar->addPermanentWidget(m_thirdLabel, 1);

    ui->treeWidget->setCurrentItem(ui->treeWidget->topLevelItem(PAGE_INBOX));
    showPage(PAGE_INBOX);

    // Keeps the LAN addresses of the bound devices current while the window lives.
    m_udpTask = new MyUDPTask;
    m_udpTask->start(QThread::InheritPriority);

    m_tray = new FaxTray(this);
    connect(m_tray, &FaxTray::newFaxRequested, this, &MainWindow::choose_file_send);
    connect(m_tray, &FaxTray::inboxRequested, this, &MainWindow::showInbox);
    connect(m_tray, &FaxTray::quitRequested, this, &MainWindow::quitApp);
    connect(m_receiveBox, &ReceiveBoxWidget::showReceiveFaxTips, m_tray, &FaxTray::refresh);
    connect(ui->action_print_jobs, &QAction::triggered, this, &MainWindow::showPrintJobs);
    // Documents printed while nobody was logged in wait for this login.
    QTimer::singleShot(0, this, &MainWindow::openPrintJobs);
}

MainWindow::~MainWindow()
{
    stopDiscovery();
    delete ui;
}

void MainWindow::stopDiscovery()
{
    if (!m_udpTask)
        return;
    m_udpTask->stop();
    delete m_udpTask;
    m_udpTask = nullptr;
}

void MainWindow::connectActions()
{
    connect(ui->actionAddDevice, &QAction::triggered, this, &MainWindow::addDevice);
    connect(ui->action_switch_user, &QAction::triggered, this, &MainWindow::switchUser);
    connect(ui->action_exit, &QAction::triggered, this, &MainWindow::quitApp);
    connect(ui->action_choose_file_fax, &QAction::triggered, this, &MainWindow::choose_file_send);
    connect(ui->action_from_file, &QAction::triggered, this, &MainWindow::choose_file_send);
    connect(ui->action_reply, &QAction::triggered, this, &MainWindow::getSelectItemReply);
    connect(ui->action_forward, &QAction::triggered, this, &MainWindow::getSelectItemForward);
    connect(ui->action_delete, &QAction::triggered, this, &MainWindow::getSelectItemDelete);
    connect(ui->action_language, &QAction::triggered, this, &MainWindow::showLanguageDialog);
    connect(ui->action_print, &QAction::triggered, this, &MainWindow::actionPrint);
    connect(ui->action_my_device, &QAction::triggered, this, &MainWindow::showMyDevices);
    connect(ui->action_save_as, &QAction::triggered, this, &MainWindow::saveAsFile);
    connect(ui->action_server_infomation, &QAction::triggered, this, &MainWindow::showServerInformation);
    connect(ui->action_about, &QAction::triggered, this, &MainWindow::showAboutVelkorDialog);
    connect(ui->action_contact, &QAction::triggered, this, &MainWindow::showContactWindow);
    connect(ui->action_auto_ouput, &QAction::triggered, this, &MainWindow::showAutoOutputDialog);
    connect(ui->action_signature_library, &QAction::triggered, this, &MainWindow::showSignatureLibDialog);
    connect(ui->action_setting, &QAction::triggered, this, &MainWindow::showSettingDialog);
}

void MainWindow::setActionIcons()
{
    QStyle* s = style();
    ui->action_choose_file_fax->setIcon(s->standardIcon(QStyle::SP_FileDialogNewFolder));
    ui->action_from_file->setIcon(s->standardIcon(QStyle::SP_DialogOpenButton));
    ui->action_reply->setIcon(s->standardIcon(QStyle::SP_ArrowBack));
    ui->action_forward->setIcon(s->standardIcon(QStyle::SP_ArrowForward));
    ui->action_delete->setIcon(s->standardIcon(QStyle::SP_TrashIcon));
    ui->action_print->setIcon(QIcon::fromTheme(QStringLiteral("document-print"),
                                               s->standardIcon(QStyle::SP_FileDialogContentsView)));
    ui->action_save_as->setIcon(s->standardIcon(QStyle::SP_DialogSaveButton));
    ui->action_contact->setIcon(s->standardIcon(QStyle::SP_FileDialogDetailedView));
    ui->action_my_device->setIcon(QIcon(QStringLiteral(":/icon/icons/ic_device.png")));
    ui->actionAddDevice->setIcon(s->standardIcon(QStyle::SP_DriveNetIcon));
    ui->action_exit->setIcon(s->standardIcon(QStyle::SP_DialogCloseButton));
    const QIcon inbox = s->standardIcon(QStyle::SP_DirOpenIcon);
    ui->treeWidget->topLevelItem(PAGE_INBOX)->setIcon(0, inbox);
    ui->treeWidget->topLevelItem(PAGE_OUTBOX)->setIcon(0, s->standardIcon(QStyle::SP_DirIcon));
    ui->treeWidget->topLevelItem(PAGE_DELETED)->setIcon(0, s->standardIcon(QStyle::SP_TrashIcon));
}

void MainWindow::showPage(int index)
{
    ui->stackedWidget->setCurrentIndex(index);
    updateFaxActions();
}

void MainWindow::updateFaxActions()
{
    const int page = ui->stackedWidget->currentIndex();
    const bool chosen = selectedFax().id != 0;
    ui->action_print->setEnabled(chosen);
    ui->action_save_as->setEnabled(chosen);
    ui->action_delete->setEnabled(chosen);
    ui->action_reply->setEnabled(chosen && page == PAGE_INBOX);
    ui->action_forward->setEnabled(chosen && page != PAGE_DELETED);
}

void MainWindow::on_treeWidget_itemClicked(QTreeWidgetItem* item, int)
{
    clearSelectionItems();
    const int index = ui->treeWidget->indexOfTopLevelItem(item);
    if (index >= 0)
        showPage(index);
}

void MainWindow::clearSelectionItems()
{
    m_receiveBox->clearSelectItems();
    m_sendBox->clearSelectItems();
}

void MainWindow::addDevice()
{
    auto* dialog = new BindDeviceDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // A device fetches its waiting faxes as soon as it is bound.
    connect(dialog, &BindDeviceDialog::connectDeviceSuccess, this, &MainWindow::downloadFaxInfo);
    connect(dialog, &BindDeviceDialog::openOptions, this, &MainWindow::showSettingDialog);
    dialog->show();
}

void MainWindow::downloadFaxInfo(Device& device)
{
    m_receiveBox->downloadFaxInfo(device);
}

void MainWindow::showMyDevices()
{
    auto* window = new DeviceListWindow(this);
    window->setWindowFlag(Qt::Window);
    connect(window, &DeviceListWindow::deleteDeviceSuccess, this, &MainWindow::reacquire);
    connect(window, &DeviceListWindow::reconnectDeviceSuccess, this, [this](Device&) { reacquire(); });
    openOwnWindow(window);
}

void MainWindow::reacquire()
{
    m_receiveBox->reacquire();
    m_sendBox->reacquire();
}

void MainWindow::switch_sendbox(QList<Fax> faxes)
{
    ui->treeWidget->setCurrentItem(ui->treeWidget->topLevelItem(PAGE_OUTBOX));
    showPage(PAGE_OUTBOX);
    m_sendBox->insertFaxToList(faxes);
}

void MainWindow::choose_file_send()
{
    const QStringList files =
        DialogUtil::getOpenFileNames(this, tr("打开"), QStandardPaths::writableLocation(QStandardPaths::HomeLocation),
                                     QStringLiteral("Image Files (*.png *.jpg *.bmp *.tif *.pdf)"));
    if (files.isEmpty())
        return;
    Fax fax;
    fax.editorMode = FaxDetailWindow::MODE_REPLY; // a new fax is composed like a reply
    auto* window = newEditor(fax);
    window->open_picture_file(files);
    window->show();
}

void MainWindow::openEditor(Fax fax, int mode)
{
    fax.editorMode = mode;
    newEditor(fax)->show();
}

FaxDetailWindow* MainWindow::newEditor(const Fax& fax)
{
    // Editors are top-level windows of their own, but they belong to this session: it ends
    // them (see mayEndSession), so no job is sent from a window without an outbox.
    auto* window = new FaxDetailWindow(fax);
    connect(window, &FaxDetailWindow::intent_to_sendbox, this, &MainWindow::switch_sendbox);
    m_editors.removeAll(nullptr);
    m_editors << window;
    return window;
}

bool MainWindow::mayEndSession()
{
    if (m_ending)
        return true;
    for (const QPointer<FaxDetailWindow>& editor : qAsConst(m_editors))
        if (editor && !editor->confirmDiscard())
            return false;
    const int uploads = m_sendBox->uploadsUnderWay();
    if (uploads > 0
        && MessageBoxUtil::question(this, tr("Velkor 消息"),
                                    tr("还有%1份传真没有上传完。现在结束，它们将停在“等待上传”，"
                                       "下次登录后可用“开始上传”发送。\n确定结束吗？")
                                        .arg(uploads))
            != QMessageBox::Yes)
        return false;
    m_ending = true;
    // Deleting an editor waits for a job it is still assembling, so its rows are stored
    // before the next session starts and finds them.
    for (const QPointer<FaxDetailWindow>& editor : qAsConst(m_editors))
        delete editor.data();
    m_editors.clear();
    return true;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    // With the tray option on, closing hides the window and the session goes on in the tray.
    if (!m_ending && m_tray->isShown()
        && AppSettings::userConfig()->value(AppSettings::KEY_MINIMIZE_TO_TRAY, false).toBool()) {
        hide();
        event->ignore();
        return;
    }
    if (!mayEndSession()) {
        event->ignore();
        return;
    }
    QMainWindow::closeEvent(event);
}

void MainWindow::reply(Fax& fax)
{
    openEditor(fax, FaxDetailWindow::MODE_REPLY);
}

void MainWindow::forward(Fax& fax)
{
    openEditor(fax, FaxDetailWindow::MODE_FORWARD);
}

void MainWindow::showFaxDetailWindow(Fax& fax)
{
    openEditor(fax, FaxDetailWindow::MODE_VIEW);
}

void MainWindow::showReportWindow(QImage& image)
{
    Fax fax;
    fax.editorMode = FaxDetailWindow::MODE_REPORT;
    auto* window = newEditor(fax);
    window->showReportImage(image);
    window->show();
}

void MainWindow::getSelectItemReply()
{
    if (ui->stackedWidget->currentIndex() == PAGE_INBOX)
        m_receiveBox->actionReply();
}

void MainWindow::getSelectItemForward()
{
    switch (ui->stackedWidget->currentIndex()) {
    case PAGE_INBOX:
        m_receiveBox->actionForward();
        break;
    case PAGE_OUTBOX:
        m_sendBox->actionForward();
        break;
    default:
        break;
    }
}

void MainWindow::getSelectItemDelete()
{
    switch (ui->stackedWidget->currentIndex()) {
    case PAGE_INBOX:
        m_receiveBox->actionDelete();
        break;
    case PAGE_OUTBOX:
        m_sendBox->actionDelete();
        break;
    case PAGE_DELETED:
        m_deleteBox->deletePermanently();
        break;
    default:
        break;
    }
}

void MainWindow::deleteFax(QList<Fax>& faxes)
{
    m_deleteBox->addFax(faxes);
}

void MainWindow::restoreFax(Fax& fax)
{
    if (fax.tag != 0)
        m_sendBox->addFax(fax);
    else
        m_receiveBox->addFax(fax);
}

void MainWindow::show_tips(QString& text)
{
    // The notice frees itself when it closes; the pointer only follows the last one.
    m_tip = new DestopTip;
    m_tip->showTip(text);
    m_tip->show();
}

void MainWindow::showProgress(QString text)
{
    m_progressLabel->setText(text);
}

Fax MainWindow::selectedFax() const
{
    switch (ui->stackedWidget->currentIndex()) {
    case PAGE_INBOX:
        return m_receiveBox->getSelectItemPath();
    case PAGE_OUTBOX:
        return m_sendBox->getSelectItemPath();
    case PAGE_DELETED:
        return m_deleteBox->getSelectItemPath();
    default:
        return Fax();
    }
}

void MainWindow::actionPrint()
{
    Fax fax = selectedFax();
    printMethod(fax);
}

void MainWindow::printMethod(Fax& fax)
{
    // A fax whose file is gone would print as blank paper.
    if (TiffUtil::getTiffPage(fax.filepath) == 0) {
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("无法读取传真文件：%1").arg(fax.filepath));
        return;
    }
    FaxPrinter::printFax(this, fax.filepath);
}

QString MainWindow::pdfFileName(const QString& chosen)
{
    if (QFileInfo(chosen).suffix().isEmpty())
        return chosen + QStringLiteral(".pdf");
    return chosen;
}

void MainWindow::saveAsFile()
{
    Fax fax = selectedFax();
    savePdf(fax);
}

void MainWindow::savePdf(Fax& fax)
{
    const QString chosen = DialogUtil::getSaveFileName(this, QStringLiteral("Open File"), QString(), QStringLiteral("(*.pdf)"));
    if (chosen.isEmpty())
        return;
    const QString target = pdfFileName(chosen);
    if (!FaxPdfWriter::writeFax(fax.filepath, target))
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("无法写入文件 %1").arg(target));
    else
        MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), tr("已保存为 %1").arg(target));
}

void MainWindow::showLanguageDialog()
{
    auto* dialog = new SelectLanguageDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void MainWindow::showSettingDialog()
{
    auto* dialog = new SettingDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void MainWindow::showContactWindow()
{
    auto* window = new ContactWindow(this);
    window->setWindowFlag(Qt::Window);
    openOwnWindow(window);
}

void MainWindow::showAutoOutputDialog()
{
    openOwnWindow(new AutoOutputDialog(this));
}

void MainWindow::showSignatureLibDialog()
{
    openOwnWindow(new SignatureLibDialog(this));
}

void MainWindow::showServerInformation()
{
    // The bound devices as the client knows them: name, identity and the two addresses.
    DatabaseManager db;
    QStringList lines;
    for (const Device& device : db.queryDevices()) {
        lines << tr("%1 (%2)\n局域网地址: %3  互联网地址: %4")
                     .arg(device.serverName, device.productID, device.localIP,
                          device.remoteIP.isEmpty() ? QStringLiteral("-") : device.remoteIP);
    }
    if (lines.isEmpty())
        lines << tr("尚未绑定设备。");
    MessageBoxUtil::infoMsg(this, tr("服务器信息"), lines.join(QStringLiteral("\n\n")));
}

void MainWindow::showAboutVelkorDialog()
{
    MessageBoxUtil::infoMsg(this, tr("关于Velkor"),
                            tr("Velkor自动传真系统 %1\n网络传真服务器的桌面客户端。")
                                .arg(QCoreApplication::applicationVersion()));
}

void MainWindow::quitApp()
{
    if (mayEndSession())
        QCoreApplication::quit();
}

void MainWindow::switchUser()
{
    if (!mayEndSession())
        return;
    stopDiscovery();
    // The login window shows before this one goes, so the program never stands without one.
    SessionWindows::showLoginWindow();
    close();
}

void MainWindow::showInbox()
{
    ui->treeWidget->setCurrentItem(ui->treeWidget->topLevelItem(PAGE_INBOX));
    showPage(PAGE_INBOX);
    if (isMinimized() || !isVisible())
        showMaximized();
    raise();
    activateWindow();
}

void MainWindow::openPrintJobs()
{
    for (const PrintJob& job : PrintJobSpool::takeWaiting())
        openPrintJob(job);
}

void MainWindow::openPrintJob(PrintJob job)
{
    Fax fax;
    fax.editorMode = FaxDetailWindow::MODE_REPLY; // a new fax is composed like a reply
    auto* window = newEditor(fax);
    window->setObjectName(QStringLiteral("print_job_") + job.id);
    // Handed to the outbox, the document has become a fax: it leaves the spool.
    connect(window, &FaxDetailWindow::intent_to_sendbox, window, [job]() { PrintJobSpool::remove(job); });
    window->setRecipients(job.recipients);
    window->open_picture_file({job.pdfPath()});
    if (!job.title.isEmpty())
        window->setWindowTitle(job.title);
    window->show();
    PrintJobSpool::markOpened(job);
}

void MainWindow::showPrintJobs()
{
    auto* dialog = new PrintJobsDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &PrintJobsDialog::openJob, this, &MainWindow::openPrintJob);
    dialog->show();
}

void MainWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        m_tray->retranslate();
    }
    QMainWindow::changeEvent(event);
}
