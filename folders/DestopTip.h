#pragma once

#include <QDialog>
#include <QPoint>
#include <QString>

class QTimer;

namespace Ui {
class DestopTip;
}

// The new-fax notice: a small frameless box at the lower right corner of the desktop's
// available area. It stands 5 seconds, goes 1 second later, and frees itself when it closes,
// so the caller may forget it once it is shown.
class DestopTip : public QDialog
{
    Q_OBJECT

public:
    explicit DestopTip(QWidget* parent = nullptr);
    ~DestopTip() override;

    // Sets the text, moves the notice to its place and starts its stay. Show it right after.
    void showTip(QString& text);
    // Sets the text and lets the notice climb from the bottom of the desktop to its place
    // before its stay begins. Show it right after.
    void slideTip(QString& text);

    QString text() const;

private slots:
    void onMove();
    void onStay();
    void onClose();

private:
    void setTextAndPlace(QString& text);

    Ui::DestopTip* ui;
    QTimer* m_moveTimer;
    QTimer* m_stayTimer;
    QTimer* m_closeTimer;
    QPoint m_point;    // where the notice comes to rest
    int m_currentY = 0; // during a slide, starts at the desktop's height
};
