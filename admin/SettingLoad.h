#pragma once

#include <QObject>
#include <QString>

class DeviceController;
class QLabel;
class QWidget;

// The read that fills a settings panel. "应用" stays off until a read has succeeded, so that
// fields a failed read left blank are never written back to the device; a failed read is
// said in the panel, under its busy line.
class SettingLoad : public QObject
{
    Q_OBJECT

public:
    SettingLoad(DeviceController* controller, QLabel* busyLabel, QWidget* apply);

    // A read goes out.
    void start();
    // The read's reply; the read has succeeded when it holds settings.
    void accept(const QString& reply);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setBusy(bool busy);
    void finished();
    void retranslate();

    QWidget* m_apply;
    QLabel* m_failed;
    bool m_reading = false;
    bool m_loaded = false;
    bool m_busy = false;
};
