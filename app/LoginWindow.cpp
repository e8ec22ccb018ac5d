#include "LoginWindow.h"
#include "ui_LoginWindow.h"

#include "CreateLocalAccountWidget.h"
#include "LoginWidget.h"
#include "SessionWindows.h"

#include <QEvent>
#include <QTimer>

LoginWindow::LoginWindow(QWidget* parent)
    : QMainWindow(parent), ui(new Ui::LoginWindow), m_loginWidget(new LoginWidget),
      m_createWidget(new CreateLocalAccountWidget)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    // A title and a close button only: no minimise or maximise.
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);

    ui->stackedWidget->addWidget(m_loginWidget);  // 0
    ui->stackedWidget->addWidget(m_createWidget); // 1
    ui->stackedWidget->setCurrentIndex(0);

    connect(m_loginWidget, &LoginWidget::display, ui->stackedWidget, &QStackedWidget::setCurrentIndex);
    connect(m_createWidget, &CreateLocalAccountWidget::display, ui->stackedWidget, &QStackedWidget::setCurrentIndex);
    connect(m_createWidget, &CreateLocalAccountWidget::showCreateUserNickname, m_loginWidget,
            &LoginWidget::showUserNickname);
    connect(m_loginWidget, &LoginWidget::loginSuccess, this, &LoginWindow::gotoMainWindow);
    fitFixedSize();
}

void LoginWindow::fitFixedSize()
{
    // Fixed, but never smaller than what the texts of the current language need.
    setFixedSize(sizeHint().expandedTo(QSize(400, 380)));
}

LoginWindow::~LoginWindow()
{
    delete ui;
}

void LoginWindow::gotoMainWindow()
{
    // The next window shows before this one goes, so the program never stands without one.
    SessionWindows::showMainWindow();
    close();
}

void LoginWindow::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        // The pages take the change after this window; measure once they have.
        QTimer::singleShot(0, this, &LoginWindow::fitFixedSize);
    }
    QMainWindow::changeEvent(event);
}
