#include "TextNoteWidget.h"
#include "ui_TextNoteWidget.h"

#include <QMouseEvent>
#include <QtMath>

namespace {
// Page pixels; the fax page is 1728 pixels wide.
const int SIZES[] = {16, 20, 24, 28, 32, 40, 48, 64, 80, 96};
const int DEFAULT_SIZE_INDEX = 4;
}

TextNoteWidget::TextNoteWidget(QWidget* parent) : QWidget(parent), ui(new Ui::TextNoteWidget)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_StyledBackground);
    {
        const QSignalBlocker blocker(ui->combo_text_size);
        for (int size : SIZES)
            ui->combo_text_size->addItem(QString::number(size));
        ui->combo_text_size->setCurrentIndex(DEFAULT_SIZE_INDEX);
    }
    applyFont();
    ui->edit_text->setFocus();
}

TextNoteWidget::~TextNoteWidget()
{
    delete ui;
}

void TextNoteWidget::setDisplayScale(double scale)
{
    m_scale = scale > 0 ? scale : 1.0;
    applyFont();
}

QString TextNoteWidget::text() const
{
    return ui->edit_text->text();
}

QFont TextNoteWidget::pageFont() const
{
    QFont font = ui->fontComboBox->currentFont();
    font.setPixelSize(ui->combo_text_size->currentText().toInt());
    return font;
}

QRect TextNoteWidget::textRect() const
{
    const QRect contents = ui->label_text->contentsRect();
    return QRect(ui->label_text->mapTo(parentWidget() ? parentWidget() : const_cast<TextNoteWidget*>(this),
                                       contents.topLeft()),
                 contents.size());
}

void TextNoteWidget::applyFont()
{
    QFont shown = pageFont();
    shown.setPixelSize(qMax(1, qRound(shown.pixelSize() * m_scale)));
    ui->label_text->setFont(shown);
    adjustSize();
}

void TextNoteWidget::on_fontComboBox_currentFontChanged(const QFont&)
{
    applyFont();
}

void TextNoteWidget::on_edit_text_textChanged(const QString& text)
{
    ui->label_text->setText(text);
    adjustSize();
}

void TextNoteWidget::on_combo_text_size_currentIndexChanged(int)
{
    applyFont();
}

void TextNoteWidget::on_button_hide_clicked()
{
    ui->frame->hide();
    if (ui->edit_text->text().isEmpty()) {
        deleteLater();
        return;
    }
    adjustSize();
    emit confirmed(this);
}

void TextNoteWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        m_lastPos = event->globalPos();
        setCursor(Qt::CrossCursor);
        ui->frame->show();
        adjustSize();
    }
}

void TextNoteWidget::mouseReleaseEvent(QMouseEvent*)
{
    setCursor(Qt::ArrowCursor);
}

void TextNoteWidget::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() & Qt::LeftButton) {
        move(pos() + event->globalPos() - m_lastPos);
        m_lastPos = event->globalPos();
    }
}
