#pragma once

#include "Device.h"
#include "Fax.h"
#include "LoginThread.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <QSet>
#include <QString>

class QTcpSocket;

// Finds the faxes a device has received since the device's high-water mark, fetches each
// file and records them in FAXES. Lives on the thread of its Controller.
//
// What keeps faxes from being lost or doubled: a file is written under a temporary name and
// only a complete transfer gets the final name; a fax whose transfer fails is passed over and
// the run goes on with the next one on a new connection; the rows of a run and the mark go
// into the store together, and the mark never passes a fax not stored, so the next run asks
// for it again. A fax stored already is neither fetched nor stored a second time.
class ReceiveFaxThread : public LoginThread
{
    Q_OBJECT

public:
    explicit ReceiveFaxThread(QObject* parent = nullptr);

    // Fetches the device's file FILE into <documents>/Velkor/<nickname>/<svrId>/FaxFile/
    // "<localTime>.tif" on the run's socket. An existing file counts as complete and costs no
    // traffic, unless its path is in `taken` (a file of another fax with the same time): then
    // " (2)", " (3)" ... is put before ".tif". Returns the absolute path, or an empty text when
    // the file could not be written or the transfer did not complete; nothing is then left
    // under the final name.
    QString downloadFaxFile(QString& svrId, QString& file, QString& localTime, int remaining, QTcpSocket* socket,
                            const QSet<QString>& taken = QSet<QString>());

    // "<documents>/Velkor/<nickname>/<svrId>/FaxFile" of the logged-in user.
    static QString faxFolder(const QString& svrId);
    // "$STG_DIR$FaxFiles\12\34\56\78.tif" for the file number "12345678".
    static QString devicePath(const QString& file);

    // Waits of a download, in milliseconds, before the test divisor.
    static constexpr int CHUNK_TIMEOUT_MS = 10000;
    // After this many polls that could not fetch a fax, the inbox shows it as failed.
    static constexpr int FAILED_POLLS_SHOWN = 3;
    // Broken transfers after which a run ends: a device that breaks them all costs bounded time.
    static constexpr int BROKEN_PER_RUN = 3;

public slots:
    // Foreground run for one device; ends with downloadFaxInfoResult() unless the login fails.
    void downloadFaxInfo(Device device, int port);
    // One device; returns the faxes it stored (empty when the login fails).
    QList<Fax> downloadFaxInfo2(Device device, int port);
    // Every device of the logged-in user in turn; always ends with backgroundDownloadFaxInfoResult.
    void backgroundDownloadFaxInfo(int port);

signals:
    void showProgress(QString& text);
    void downloadFaxInfoResult();
    void backgroundDownloadFaxInfoResult(QList<Fax>& faxes);
    // Received faxes could not be written to `folder`; they stay on the device.
    void storageFailed(QString folder);

private:
    enum Outcome { Fetched, Broken, NotWritten };

    // The retrieval of one device; `reached` tells whether the login worked. Returns the rows
    // it stored, faxes shown as failed among them.
    QList<Fax> retrieve(Device& device, int port, bool* reached);
    // downloadFaxFile, telling a transfer that broke off from a file that could not be written.
    Outcome fetchFile(const QString& svrId, const QString& file, const QString& localTime, int remaining,
                      QTcpSocket* socket, const QSet<QString>& taken, QString* result);

    // Polls in a row that could not fetch a fax, by (device id, task).
    QHash<QPair<int, qint64>, int> m_failedPolls;
};
