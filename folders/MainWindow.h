#pragma once

#include "DestopTip.h"
#include "Device.h"
#include "Fax.h"
#include "PrintJobSpool.h"

#include <QImage>
#include <QList>
#include <QMainWindow>
#include <QPointer>

class DeleteBoxWidget;
class FaxDetailWindow;
class FaxTray;

class MyUDPTask;
class QLabel;
class QTreeWidgetItem;
class ReceiveBoxWidget;
class SendBoxWidget;

namespace Ui {
class MainWindow;
}

// The window a logged-in user works in: the folder tree beside a stack of inbox, outbox and
// deleted items. It holds no fax data of its own; it routes the menu and tool bar commands to
// the folder shown, opens the editor, and prints or saves the selected fax.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    enum Page { PAGE_INBOX = 0, PAGE_OUTBOX = 1, PAGE_DELETED = 2 };

    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    ReceiveBoxWidget* receiveBox() const { return m_receiveBox; }
    SendBoxWidget* sendBox() const { return m_sendBox; }
    DeleteBoxWidget* deleteBox() const { return m_deleteBox; }
    // The last new-fax notice, while it stands.
    DestopTip* lastTip() const { return m_tip; }
    FaxTray* tray() const { return m_tray; }

    // The save name the user chose, with ".pdf" appended when it has no suffix.
    static QString pdfFileName(const QString& chosen);

public slots:
    // Opens an editor for each document printed to the "Velkor" queue that none has shown yet.
    void openPrintJobs();
    // Brings the window back (from the tray too) with the inbox shown.
    void showInbox();
    void addDevice();
    void switchUser();
    void quitApp();
    void choose_file_send();
    void getSelectItemReply();
    void getSelectItemForward();
    void getSelectItemDelete();
    void showLanguageDialog();
    void actionPrint();
    void showMyDevices();
    void saveAsFile();
    void showServerInformation();
    void showAboutVelkorDialog();
    void showContactWindow();
    void showAutoOutputDialog();
    void showSignatureLibDialog();
    void showSettingDialog();

    void downloadFaxInfo(Device& device);
    void reacquire();
    void switch_sendbox(QList<Fax> faxes);
    void reply(Fax& fax);
    void forward(Fax& fax);
    void deleteFax(QList<Fax>& faxes);
    void restoreFax(Fax& fax);
    void show_tips(QString& text);
    void showProgress(QString text);
    void showFaxDetailWindow(Fax& fax);
    void showReportWindow(QImage& image);

    void on_treeWidget_itemClicked(QTreeWidgetItem* item, int column);

    // Ends the session's editors and lets the session go, after asking about unsent work in
    // an editor and uploads still under way; false when the user keeps the session.
    bool mayEndSession();

protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void connectActions();
    void setActionIcons();
    void clearSelectionItems();
    // The fax of the folder shown, an empty Fax when no row is current.
    Fax selectedFax() const;
    // Print, save and delete need a fax, reply and forward a fax of their own folders.
    void updateFaxActions();
    void openEditor(Fax fax, int mode);
    FaxDetailWindow* newEditor(const Fax& fax);
    void printMethod(Fax& fax);
    void savePdf(Fax& fax);
    void showPage(int index);
    void stopDiscovery();
    void openPrintJob(PrintJob job);
    void showPrintJobs();

    Ui::MainWindow* ui;
    ReceiveBoxWidget* m_receiveBox;
    SendBoxWidget* m_sendBox;
    DeleteBoxWidget* m_deleteBox;
    QLabel* m_firstLabel;
    QLabel* m_progressLabel;
    QLabel* m_thirdLabel;
    MyUDPTask* m_udpTask = nullptr;
    QPointer<DestopTip> m_tip;
    QList<QPointer<FaxDetailWindow>> m_editors;
    bool m_ending = false;
    FaxTray* m_tray;
};
