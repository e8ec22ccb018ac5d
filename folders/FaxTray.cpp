#include "FaxTray.h"

#include "DatabaseManager.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QSystemTrayIcon>

namespace {
// The inbox counts its unread faxes from the store; a few seconds is soon enough for a tray.
const int REFRESH_MS = 3000;
} // namespace

FaxTray::FaxTray(QObject* parent) : QObject(parent), m_menu(new QMenu)
{
    QAction* compose = m_menu->addAction(QString());
    compose->setObjectName(QStringLiteral("action_tray_new_fax"));
    QAction* inbox = m_menu->addAction(QString());
    inbox->setObjectName(QStringLiteral("action_tray_inbox"));
    m_menu->addSeparator();
    QAction* quit = m_menu->addAction(QString());
    quit->setObjectName(QStringLiteral("action_tray_quit"));
    connect(compose, &QAction::triggered, this, &FaxTray::newFaxRequested);
    connect(inbox, &QAction::triggered, this, &FaxTray::inboxRequested);
    connect(quit, &QAction::triggered, this, &FaxTray::quitRequested);
    retranslate();

    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        m_icon = new QSystemTrayIcon(iconWithCount(0), this);
        m_icon->setContextMenu(m_menu);
        connect(m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
            if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
                emit inboxRequested();
        });
        connect(m_icon, &QSystemTrayIcon::messageClicked, this, &FaxTray::inboxRequested);
        m_icon->show();
    }
    connect(&m_timer, &QTimer::timeout, this, &FaxTray::refresh);
    m_timer.start(REFRESH_MS);
    refresh();
}

FaxTray::~FaxTray()
{
    delete m_menu;
}

bool FaxTray::isShown() const
{
    return m_icon && m_icon->isVisible();
}

QString FaxTray::toolTip() const
{
    return m_unread == 0 ? tr("Velkor：没有未读传真") : tr("Velkor：未读传真 %1 份").arg(m_unread);
}

void FaxTray::retranslate()
{
    const QList<QAction*> actions = m_menu->actions();
    actions.at(0)->setText(tr("新建传真"));
    actions.at(1)->setText(tr("收件箱"));
    actions.at(3)->setText(tr("退出"));
}

void FaxTray::refresh()
{
    DatabaseManager db;
    const QList<Fax> unread = db.queryUnreadFaxes();
    m_unread = unread.size();
    int newest = m_lastSeenId;
    for (const Fax& fax : unread) {
        if (m_lastSeenId >= 0 && fax.id > m_lastSeenId) {
            const QString from = fax.sender.isEmpty() ? fax.cid : fax.sender;
            const QString text = from.isEmpty() ? tr("页数：%1").arg(fax.pageTotal)
                                                : tr("来自 %1，页数：%2").arg(from).arg(fax.pageTotal);
            if (m_icon)
                m_icon->showMessage(tr("新传真"), text, QSystemTrayIcon::Information, 6000);
            emit notified(tr("新传真"), text);
        }
        newest = qMax(newest, fax.id);
    }
    m_lastSeenId = qMax(newest, 0);
    if (m_icon) {
        m_icon->setIcon(iconWithCount(m_unread));
        m_icon->setToolTip(toolTip());
    }
}

// The program's icon with the count in a red disc at its lower right corner.
QIcon FaxTray::iconWithCount(int count) const
{
    QPixmap pixmap = QApplication::windowIcon().pixmap(64, 64);
    if (pixmap.isNull()) {
        pixmap = QPixmap(64, 64);
        pixmap.fill(Qt::transparent);
    }
    if (count > 0) {
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(210, 40, 40));
        p.drawEllipse(QRect(28, 28, 36, 36));
        p.setPen(Qt::white);
        QFont font = p.font();
        font.setBold(true);
        font.setPixelSize(count > 99 ? 14 : 22);
        p.setFont(font);
        p.drawText(QRect(28, 28, 36, 36), Qt::AlignCenter, count > 99 ? QStringLiteral("99+") : QString::number(count));
    }
    return QIcon(pixmap);
}
