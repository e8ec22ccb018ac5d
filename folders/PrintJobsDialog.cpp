#include "PrintJobsDialog.h"

#include "MessageBoxUtil.h"

#include <QDialogButtonBox>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

PrintJobsDialog::PrintJobsDialog(QWidget* parent)
    : QDialog(parent), m_list(new QListWidget(this)), m_open(new QPushButton(tr("打开"), this)),
      m_delete(new QPushButton(tr("删除"), this))
{
    setWindowTitle(tr("打印到传真的文档"));
    m_list->setObjectName(QStringLiteral("list_print_jobs"));
    m_open->setObjectName(QStringLiteral("button_open_job"));
    m_delete->setObjectName(QStringLiteral("button_delete_job"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->addButton(m_open, QDialogButtonBox::ActionRole);
    buttons->addButton(m_delete, QDialogButtonBox::ActionRole);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_list);
    layout->addWidget(buttons);
    resize(520, 320);

    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_open, &QPushButton::clicked, this, [this]() {
        if (!current().id.isEmpty())
            emit openJob(current());
    });
    connect(m_list, &QListWidget::itemDoubleClicked, m_open, &QPushButton::click);
    connect(m_delete, &QPushButton::clicked, this, &PrintJobsDialog::removeCurrent);
    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) {
        m_open->setEnabled(row >= 0);
        m_delete->setEnabled(row >= 0);
    });
    reload();
}

void PrintJobsDialog::reload()
{
    m_jobs = PrintJobSpool::list(PrintJobSpool::userFolder());
    m_list->clear();
    for (const PrintJob& job : m_jobs) {
        const QString title = job.title.isEmpty() ? tr("(无标题)") : job.title;
        const QString to = job.recipients.isEmpty() ? QString() : QStringLiteral("  → ") + job.recipients;
        m_list->addItem(job.time.toString(QStringLiteral("yyyy-MM-dd hh:mm")) + QStringLiteral("  ") + title + to);
    }
    m_list->setCurrentRow(m_jobs.isEmpty() ? -1 : 0);
    m_open->setEnabled(!m_jobs.isEmpty());
    m_delete->setEnabled(!m_jobs.isEmpty());
}

PrintJob PrintJobsDialog::current() const
{
    const int row = m_list->currentRow();
    return row >= 0 && row < m_jobs.size() ? m_jobs.at(row) : PrintJob();
}

void PrintJobsDialog::removeCurrent()
{
    const PrintJob job = current();
    if (job.id.isEmpty())
        return;
    if (MessageBoxUtil::question(this, tr("Velkor 消息"), tr("删除打印的文档“%1”？").arg(job.title))
        != QMessageBox::Yes)
        return;
    if (!PrintJobSpool::remove(job))
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("无法删除 %1").arg(job.metaPath()));
    reload();
}
