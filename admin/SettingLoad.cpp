#include "SettingLoad.h"

#include "DeviceController.h"
#include "StringUtil.h"

#include <QBoxLayout>
#include <QEvent>
#include <QLabel>

SettingLoad::SettingLoad(DeviceController* controller, QLabel* busyLabel, QWidget* apply)
    : QObject(controller), m_apply(apply), m_failed(new QLabel(busyLabel->parentWidget()))
{
    m_failed->setObjectName(QStringLiteral("label_load_failed"));
    m_failed->setWordWrap(true);
    m_failed->hide();
    retranslate();
    for (auto* layout : busyLabel->parentWidget()->findChildren<QBoxLayout*>()) {
        const int at = layout->indexOf(busyLabel);
        if (at >= 0) {
            layout->insertWidget(at + 1, m_failed);
            break;
        }
    }
    m_failed->installEventFilter(this);
    connect(controller, &DeviceController::busyChanged, this, &SettingLoad::setBusy);
    connect(controller, &DeviceController::commandFinished, this, &SettingLoad::finished);
    m_apply->setEnabled(false);
}

void SettingLoad::start()
{
    m_reading = true;
    m_loaded = false;
    m_failed->hide();
    m_apply->setEnabled(false);
}

void SettingLoad::accept(const QString& reply)
{
    const QString feedback = StringUtil::getValue(reply, QStringLiteral("FEEDBACK"));
    if (m_reading)
        m_loaded = !reply.trimmed().isEmpty() && (feedback.isEmpty() || feedback == QLatin1String("OK"));
}

void SettingLoad::setBusy(bool busy)
{
    m_busy = busy;
    m_apply->setEnabled(!busy && m_loaded);
}

void SettingLoad::finished()
{
    if (!m_reading)
        return;
    m_reading = false;
    m_failed->setVisible(!m_loaded);
    m_apply->setEnabled(!m_busy && m_loaded);
}

bool SettingLoad::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_failed && event->type() == QEvent::LanguageChange)
        retranslate();
    return QObject::eventFilter(watched, event);
}

void SettingLoad::retranslate()
{
    m_failed->setText(tr("未能读取设备的当前设置，“应用”已停用。请检查设备后重新打开此页。"));
}
