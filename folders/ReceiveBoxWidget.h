#pragma once

#include "Device.h"
#include "Fax.h"

#include <QList>
#include <QModelIndex>
#include <QTimer>
#include <QWidget>
#include <memory>

class Controller;
class FaxRows;

namespace Ui {
class ReceiveBoxWidget;
}

// The inbox: received faxes of the logged-in user (tag 0, not deleted), newest first, with a
// preview. It owns the receiving worker's controller and the poll for new faxes: the first poll
// 3 s after start, each next one getFaxTime seconds after the previous one has reported, so
// that two polls never overlap.
class ReceiveBoxWidget : public QWidget
{
    Q_OBJECT

public:
    explicit ReceiveBoxWidget(QWidget* parent = nullptr);
    ~ReceiveBoxWidget() override;

    // Fetches what a device just bound or connected holds (a foreground run).
    void downloadFaxInfo(Device& device);
    // Empties table and list and fills both anew from the database.
    void reacquire();
    // A fax back from the deleted items goes to row 0.
    void addFax(Fax& fax);
    // Clears the preview and the current row.
    void clearSelectItems();
    // A copy of the current row's fax; an empty Fax when no row is current.
    Fax getSelectItemPath();

    // The faxes the table shows, row by row.
    const QList<Fax>& faxes() const { return m_faxes; }

public slots:
    // Each acts on the current row; actionDelete on every selected row.
    void actionReply();
    void actionForward();
    void actionDelete();
    void actionDistribute();
    // Asks the fax's device again for a fax shown as failed.
    void actionRetry();
    void actionRemark();
    void actionAddContact();
    void actionOCR();
    // Switches the current fax between read and unread.
    void actionMakeReaded();

    void on_tableWidget_clicked(const QModelIndex& index);
    void on_tableWidget_doubleClicked(const QModelIndex& index);
    void on_tableWidget_customContextMenuRequested(const QPoint& pos);

signals:
    void statusShowProgress(QString text);
    void reply(Fax& fax);
    void forward(Fax& fax);
    void deleteFax(QList<Fax>& faxes);
    void showReceiveFaxTips(QString& text);
    void showFaxDetailWindow(Fax& fax);
    // Another row (or none) is current: the fax the commands act on has changed.
    void currentFaxChanged();

protected:
    void changeEvent(QEvent* event) override;

private slots:
    void get_new_fax();
    void showProgress(QString text);
    void handleDownloadFaxInfoResult();
    void handleBackgroundDownloadInfoResult(QList<Fax>& newFaxes);
    // Received faxes could not be written: the user is told once.
    void showStorageFailure(QString folder);

private:
    QStringList headers() const;
    void setDatas(int row, Fax& fax);
    // Takes the list from the database and makes the table show it.
    void refill();
    void setReadState(int row, int status);

    Ui::ReceiveBoxWidget* ui;
    QList<Fax> m_faxes;
    Controller* m_controller = nullptr;
    QTimer m_pollTimer;
    std::unique_ptr<FaxRows> m_rows;
    bool m_storageFailureShown = false;
};
