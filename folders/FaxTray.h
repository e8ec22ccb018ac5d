#pragma once

#include <QIcon>
#include <QObject>
#include <QTimer>

class QMenu;
class QSystemTrayIcon;

// Keeps watch from the desktop's tray while a session runs: the unread count in the tooltip
// and on the icon, a desktop notification for each new fax, and a menu with "新建传真",
// "收件箱" and "退出". Without a tray on the desktop it still counts, but shows nothing.
class FaxTray : public QObject
{
    Q_OBJECT

public:
    explicit FaxTray(QObject* parent = nullptr);
    ~FaxTray() override;

    // True while the icon stands in a tray, so hiding the main window leaves a way back.
    bool isShown() const;
    int unreadCount() const { return m_unread; }
    QString toolTip() const;
    QMenu* menu() const { return m_menu; }
    // The menu's texts in the current language.
    void retranslate();

public slots:
    // Reads the unread faxes again; those not seen before are announced one by one.
    void refresh();

signals:
    void newFaxRequested();
    void inboxRequested();
    void quitRequested();
    // Each desktop notification, as it is given to the tray.
    void notified(const QString& title, const QString& text);

private:
    QIcon iconWithCount(int count) const;

    QSystemTrayIcon* m_icon = nullptr;
    QMenu* m_menu = nullptr;
    QTimer m_timer;
    int m_lastSeenId = -1; // -1 until the first reading: faxes there at login are not new
    int m_unread = 0;
};
