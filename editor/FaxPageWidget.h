#pragma once

#include "FaxCover.h"

#include <QImage>
#include <QWidget>

namespace Ui {
class FaxPageWidget;
}

// The cover page form. Applying it draws the texts and check marks on the cover template at
// the positions of the cover description and hands the page to the editor.
class FaxPageWidget : public QWidget
{
    Q_OBJECT

public:
    // Keeps a reference to the cover, which the editor owns and which outlives the form.
    FaxPageWidget(FaxCover& cover, QWidget* parent = nullptr);
    ~FaxPageWidget() override;

    // The template with the cover's texts drawn on it. The four automatic fields are taken as
    // given: the caller settles them. Without the description the blank template comes back.
    static QImage drawCover(const FaxCover& cover, const QString& date, const QString& pages, const QString& to,
                            const QString& recipientFax);

signals:
    void addFaxPage(QImage& image);

private slots:
    void on_button_apply_clicked();
    void on_button_cancel_clicked();

private:
    Ui::FaxPageWidget* ui;
    FaxCover& m_cover;
};
