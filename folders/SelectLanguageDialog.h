#pragma once

#include <QDialog>
#include <QString>

class QTranslator;

namespace Ui {
class SelectLanguageDialog;
}

// Chooses the language of the program: English (index 0) or Chinese (index 1). The choice is
// kept in UserConfig.ini for the next start; a first start is in Chinese, the source language.
class SelectLanguageDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SelectLanguageDialog(QWidget* parent = nullptr);
    ~SelectLanguageDialog() override;

    // The compiled translation for a combo index (0 English, anything else Chinese).
    static QString translationFile(int index);
    // Loads the translation for the index and installs it, so that every open window
    // retranslates at once. False when the translation can't be loaded.
    static bool switchLanguage(int index);
    // Only Qt's own texts (standard buttons, file and print dialogs): Chinese unless index is 0.
    static void switchQtLanguage(int index);
    // At start, before the first window: the language chosen last.
    static void applySavedLanguage();

    void accept() override;

protected:
    void changeEvent(QEvent* event) override;

private:
    // The program's translator. It belongs to the application, not to one dialog, so that the
    // choice outlives the dialog and the window that opened it.
    static QTranslator* translator();
    // The index of the language shown now; the dialog opens on it.
    static int& currentLanguage();

    Ui::SelectLanguageDialog* ui;
};
