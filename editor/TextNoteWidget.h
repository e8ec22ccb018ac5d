#pragma once

#include <QFont>
#include <QPoint>
#include <QWidget>

namespace Ui {
class TextNoteWidget;
}

// A movable text note over a page: the text on top, the font, size and text fields below.
// The size is in page pixels; the note is shown at the page's current zoom, so that what the
// user sees is what lands on the page. "完成" with text confirms the note, without text
// removes it.
class TextNoteWidget : public QWidget
{
    Q_OBJECT

public:
    explicit TextNoteWidget(QWidget* parent = nullptr);
    ~TextNoteWidget() override;

    // Shown pixels for one page pixel.
    void setDisplayScale(double scale);
    QString text() const;
    // The chosen font with its pixel size on the page.
    QFont pageFont() const;
    // The rectangle of the shown text in the parent's coordinates.
    QRect textRect() const;

signals:
    // The user finished a note that has text; the note has hidden its frame.
    void confirmed(TextNoteWidget* note);

private slots:
    void on_fontComboBox_currentFontChanged(const QFont& font);
    void on_edit_text_textChanged(const QString& text);
    void on_combo_text_size_currentIndexChanged(int index);
    void on_button_hide_clicked();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void applyFont();

    Ui::TextNoteWidget* ui;
    QPoint m_lastPos;
    double m_scale = 1.0;
};
