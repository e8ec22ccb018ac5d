#pragma once

#include "Device.h"
#include "Fax.h"

#include <QList>
#include <QString>
#include <QWidget>

class DeviceController;

namespace Ui {
class FaxHistoryWidget;
}

// The device's record of sent and received faxes, searched by account, dates, direction and
// number; a record can be deleted for good and its file viewed.
class FaxHistoryWidget : public QWidget
{
    Q_OBJECT

public:
    explicit FaxHistoryWidget(QWidget* parent = nullptr);
    ~FaxHistoryWidget() override;

public slots:
    void setDevice(Device& device);
    void showUserList(QString& list);
    void clearWidget();
    void showFaxQueueList(QList<Fax>& faxes);
    void viewFaxFile(QString& path);
    void deleteFaxResult(int result);

private slots:
    void on_button_search_clicked();
    void on_button_delete_clicked();
    void on_button_content_clicked();
    void on_check_send_toggled(bool checked);
    void on_check_recv_toggled(bool checked);
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    QStringList headers() const;

    Ui::FaxHistoryWidget* ui;
    Device m_device;
    DeviceController* m_controller;
    QString m_deleting; // task number a delete was asked for
};
