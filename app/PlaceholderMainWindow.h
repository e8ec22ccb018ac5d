#pragma once

#include <QMainWindow>

class QAction;
class QLabel;
class QMenu;

// The session window main opens while no folder window is plugged in (SessionWindows): it
// names the logged-in user and offers the session's own commands: language, options,
// switch of user and exit. It frees itself when it closes.
class PlaceholderMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit PlaceholderMainWindow(QWidget* parent = nullptr);

public slots:
    void switchUser();
    void quitApp();

protected:
    void changeEvent(QEvent* event) override;

private:
    void retranslate();

    QLabel* m_label;
    QMenu* m_menu;
    QAction* m_actionLanguage;
    QAction* m_actionSetting;
    QAction* m_actionSwitchUser;
    QAction* m_actionExit;
};
