#pragma once

#include "Device.h"

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QTimer>
#include <QWidget>

class DeviceController;

namespace Ui {
class TimeZoneWidget;
}

// A time zone as the device stores it: minutes to add to local time to reach UTC (east of
// UTC is negative), and an opaque id that the client only compares.
struct TimeZone
{
    QString offset; // FSK_TIME_ZONE
    QString id;     // FSK_TIME_ZONE_NAME
};

Q_DECLARE_METATYPE(TimeZone*)

// The device's clock and time zone: shown from GET_TIME_SETTING, with the clock running on
// here each second, and changed by SET_TIME_SETTING.
class TimeZoneWidget : public QWidget
{
    Q_OBJECT

public:
    explicit TimeZoneWidget(QWidget* parent = nullptr);
    ~TimeZoneWidget() override;

    // The texts that go with the next apply.
    const QString& fskSync() const { return m_fskSync; }
    const QString& fskTimeZone() const { return m_fskTimeZone; }
    const QString& fskTimeZoneName() const { return m_fskTimeZoneName; }
    const QList<TimeZone*>& timeZones() const { return m_zones; }

public slots:
    void setDevice(Device& device);
    void showTimeSetting(QString& text);
    void settingTimeFeedback(QString& feedback);
    void autoRefreshTime();

private slots:
    void on_comboBox_currentIndexChanged(int index);
    void on_check_fsk_async_2_stateChanged(int state);
    void on_check_auto_refresh_toggled(bool checked);
    void on_dateTimeEdit_editingFinished();
    void on_button_apply_clicked();
    void setBusy(bool busy);

protected:
    void changeEvent(QEvent* event) override;

private:
    // Builds the zone list and the combo's entries, once.
    void addTimeZone();
    void retranslateZones();

    Ui::TimeZoneWidget* ui;
    Device m_device;
    DeviceController* m_controller;
    QList<TimeZone*> m_zones;
    QString m_fskSync;
    QString m_fskTimeZone;
    QString m_fskTimeZoneName;
    QDateTime m_clock; // the device's clock as last read, moved on each second
    QTimer m_timer;
};
