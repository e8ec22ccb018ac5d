#include "SessionWindows.h"

#include <QWidget>

namespace SessionWindows {

namespace {
Factory& mainFactory()
{
    static Factory factory;
    return factory;
}

Factory& loginFactory()
{
    static Factory factory;
    return factory;
}
} // namespace

void setMainWindowFactory(Factory factory)
{
    mainFactory() = std::move(factory);
}

void setLoginWindowFactory(Factory factory)
{
    loginFactory() = std::move(factory);
}

QWidget* showMainWindow()
{
    QWidget* window = mainFactory() ? mainFactory()() : nullptr;
    if (window)
        window->showMaximized();
    return window;
}

QWidget* showLoginWindow()
{
    QWidget* window = loginFactory() ? loginFactory()() : nullptr;
    if (window)
        window->show();
    return window;
}

} // namespace SessionWindows
