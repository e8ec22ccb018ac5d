#pragma once

#include "Fax.h"

#include <QList>
#include <QModelIndex>
#include <QWidget>
#include <memory>

class FaxRows;
class QMenu;

namespace Ui {
class DeleteBoxWidget;
}

// The folder of deleted faxes, sent and received alike (isDelete = 1). A fax leaves it either
// restored to its own folder or deleted for good.
class DeleteBoxWidget : public QWidget
{
    Q_OBJECT

public:
    explicit DeleteBoxWidget(QWidget* parent = nullptr);
    ~DeleteBoxWidget() override;

    // Faxes just deleted in the inbox or outbox; each goes to row 0 in list order. The list
    // comes from the folder that deleted them, the database is not asked again.
    void addFax(QList<Fax>& faxes);
    // Empties the table and fills it anew from the database.
    void reacquire();
    // Clears the preview and the current row.
    void clearSelectItems();
    // A copy of the current row's fax; an empty Fax when no row is current.
    Fax getSelectItemPath();

    // The fax the table shows in a row (the list mirrors the table row by row).
    const QList<Fax>& faxes() const { return m_faxes; }

public slots:
    // Both act on the current row only, even when several rows are selected.
    void restore();
    void deletePermanently();

    void on_tableWidget_clicked(const QModelIndex& index);
    void on_tableWidget_doubleClicked(const QModelIndex& index);
    void on_tableWidget_customContextMenuRequested(const QPoint& pos);

signals:
    // The main window gives the fax back to the inbox or the outbox by its tag.
    void restoreFax(Fax& fax);
    void showFaxDetailWindow(Fax& fax);
    // Another row (or none) is current: the fax the commands act on has changed.
    void currentFaxChanged();

protected:
    void changeEvent(QEvent* event) override;

private:
    void createRightMenu();
    QStringList headers() const;
    void setDatas(int row, const Fax& fax);

    Ui::DeleteBoxWidget* ui;
    QList<Fax> m_faxes;
    std::unique_ptr<FaxRows> m_rows;
    QMenu* m_menu = nullptr;
    QAction* m_actionRestore = nullptr;
    QAction* m_actionDelete = nullptr;
};
