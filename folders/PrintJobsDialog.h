#pragma once

#include "PrintJobSpool.h"

#include <QDialog>

class QListWidget;
class QPushButton;

// The documents printed to the "Velkor" queue that were shown in an editor but not sent:
// they stay in the spool until the user opens them again or deletes them here.
class PrintJobsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit PrintJobsDialog(QWidget* parent = nullptr);

signals:
    void openJob(const PrintJob& job);

private:
    void reload();
    PrintJob current() const;
    void removeCurrent();

    QListWidget* m_list;
    QPushButton* m_open;
    QPushButton* m_delete;
    QList<PrintJob> m_jobs;
};
