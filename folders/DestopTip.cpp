#include "DestopTip.h"

#include "ui_DestopTip.h"

#include "LogUtil.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTimer>

namespace {
constexpr int STAY_MS = 5000;
constexpr int CLOSE_MS = 1000;
constexpr int MOVE_MS = 5; // one pixel a tick while sliding
}

DestopTip::DestopTip(QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::DestopTip)
    , m_moveTimer(new QTimer(this))
    , m_stayTimer(new QTimer(this))
    , m_closeTimer(new QTimer(this))
{
    ui->setupUi(this);
    setWindowFlags(Qt::FramelessWindowHint);
    // Each notice is made for one message and forgotten by its maker.
    setAttribute(Qt::WA_DeleteOnClose);
    connect(m_moveTimer, &QTimer::timeout, this, &DestopTip::onMove);
    connect(m_stayTimer, &QTimer::timeout, this, &DestopTip::onStay);
    connect(m_closeTimer, &QTimer::timeout, this, &DestopTip::onClose);
}

DestopTip::~DestopTip()
{
    delete ui;
}

QString DestopTip::text() const
{
    return ui->label->text();
}

// The lower right corner of the available area (the desktop without its panels).
void DestopTip::setTextAndPlace(QString& text)
{
    ui->label->setText(text);
    QScreen* screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect();
    m_point = QPoint(area.x() + area.width() - width(), area.y() + area.height() - height());
    m_currentY = area.y() + area.height();
    LogUtil::d(QStringLiteral("moveY:%1 , d.height:%2,height:%3").arg(m_point.y()).arg(area.height()).arg(height()));
}

void DestopTip::showTip(QString& text)
{
    setTextAndPlace(text);
    move(m_point);
    m_stayTimer->start(STAY_MS);
}

void DestopTip::slideTip(QString& text)
{
    setTextAndPlace(text);
    move(m_point.x(), m_currentY);
    m_moveTimer->start(MOVE_MS);
}

void DestopTip::onMove()
{
    if (m_currentY > m_point.y())
        --m_currentY;
    move(m_point.x(), m_currentY);
    if (m_currentY <= m_point.y()) {
        m_moveTimer->stop();
        m_stayTimer->start(STAY_MS);
    }
}

void DestopTip::onStay()
{
    m_stayTimer->stop();
    m_closeTimer->start(CLOSE_MS);
}

void DestopTip::onClose()
{
    m_closeTimer->stop();
    close();
}
