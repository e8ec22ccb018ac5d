#include "PlaceholderMainWindow.h"

#include "MGlobal.h"
#include "SelectLanguageDialog.h"
#include "SessionWindows.h"
#include "SettingDialog.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLabel>
#include <QMenuBar>

PlaceholderMainWindow::PlaceholderMainWindow(QWidget* parent) : QMainWindow(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    resize(900, 600);
    m_label = new QLabel(this);
    m_label->setAlignment(Qt::AlignCenter);
    setCentralWidget(m_label);

    m_menu = menuBar()->addMenu(QString());
    m_actionLanguage = m_menu->addAction(QString(), this, [this]() {
        auto* dialog = new SelectLanguageDialog(this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->open();
    });
    m_actionSetting = m_menu->addAction(QString(), this, [this]() {
        auto* dialog = new SettingDialog(this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->open();
    });
    m_menu->addSeparator();
    m_actionSwitchUser = m_menu->addAction(QString(), this, &PlaceholderMainWindow::switchUser);
    m_actionExit = m_menu->addAction(QString(), this, &PlaceholderMainWindow::quitApp);
    retranslate();
}

void PlaceholderMainWindow::switchUser()
{
    // The next window shows before this one goes, so the program never stands without one.
    SessionWindows::showLoginWindow();
    close();
}

void PlaceholderMainWindow::quitApp()
{
    QCoreApplication::quit();
}

void PlaceholderMainWindow::retranslate()
{
    setWindowTitle(tr("Velkor自动传真系统"));
    m_label->setText(tr("已登录：%1").arg(gUser.nickname));
    m_menu->setTitle(tr("用户选项"));
    m_actionLanguage->setText(tr("语言"));
    m_actionSetting->setText(tr("程序选项"));
    m_actionSwitchUser->setText(tr("退出登陆"));
    m_actionExit->setText(tr("退出"));
}

void PlaceholderMainWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QMainWindow::changeEvent(event);
}
