#pragma once

#include "Fax.h"

#include <QImage>
#include <QList>
#include <QModelIndex>
#include <QPair>
#include <QSet>
#include <QThreadPool>
#include <QTimer>
#include <QWidget>
#include <memory>

class FaxRows;
class SendFaxController;

namespace Ui {
class SendBoxWidget;
}

// The outbox: sent faxes and jobs under way of the logged-in user (tag 1, not deleted), newest
// first, with a preview. It owns the controller that uploads jobs and follows them on their
// devices: every 2 s a status round asks the devices for every open job.
class SendBoxWidget : public QWidget
{
    Q_OBJECT

public:
    explicit SendBoxWidget(QWidget* parent = nullptr);
    ~SendBoxWidget() override;

    // The editor's new jobs: each goes to row 0 and straight to upload.
    void insertFaxToList(QList<Fax> faxes);
    // A fax back from the deleted items goes to row 0.
    void addFax(Fax& fax);
    // Empties table and list and fills both anew from the database.
    void reacquire();
    // Clears the preview and the current row.
    void clearSelectItems();
    // A copy of the current row's fax; an empty Fax when no row is current.
    Fax getSelectItemPath();

    // Uploads handed to the worker whose outcome has not come back yet.
    int uploadsUnderWay() const;

    // The faxes the table shows, row by row.
    const QList<Fax>& faxes() const { return m_faxes; }

    // The labelled rows of the transmission report, top to bottom.
    static QList<QPair<QString, QString>> transReportRows(const Fax& fax);
    // The transmission report: 1728 x 2254, the rows above and a framed thumbnail of the first
    // page (no thumbnail when the file cannot be read).
    static QImage makeTransReport(const Fax& fax);

public slots:
    // Each acts on the current row; actionDelete on every selected row.
    void actionForward();
    void actionRetry();
    void actionDelete();
    void actionRemark();
    void actionDistribute();
    void actionStopSend();
    void actionReUpload();
    void actionAddContact();
    void actionTransReport();

    void on_tableWidget_clicked(const QModelIndex& index);
    void on_tableWidget_doubleClicked(const QModelIndex& index);
    void on_tableWidget_customContextMenuRequested(const QPoint& pos);

signals:
    void forward(Fax& fax);
    void deleteFax(QList<Fax>& faxes);
    void showFaxDetailWindow(Fax& fax);
    // Another row (or none) is current: the fax the commands act on has changed.
    void currentFaxChanged();
    void showTransReport(QImage& image);

protected:
    void changeEvent(QEvent* event) override;

private slots:
    void get_fax_status();
    void updateFaxTaksId(Fax& fax);
    void updateFaxInfo(Fax& fax);
    void updateUploadFaxFailed(Fax& fax);
    // The device's jobs could not be read: the user decides on a second upload.
    void confirmReUpload(Fax& fax);
    // The automatic output of a fax the device has sent, on a thread of its own.
    void outputSentFax(Fax& fax);

private:
    QStringList headers() const;
    void setDefaultWidths();
    void setDatas(int row, Fax& fax);
    // Pause (stop) or retry of the current row's job on its device.
    void deviceCommand(bool retry);

    Ui::SendBoxWidget* ui;
    QList<Fax> m_faxes;
    QSet<int> m_uploading; // ids of faxes whose upload is queued or running
    QTimer m_statusTimer;
    SendFaxController* m_controller = nullptr;
    std::unique_ptr<FaxRows> m_rows;
    QThreadPool m_output;
};
