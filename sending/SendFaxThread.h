#pragma once

#include "Device.h"
#include "Fax.h"
#include "FaxOption.h"
#include "FaxPage.h"
#include "FaxPageSource.h"
#include "LoginThread.h"
#include "SendFax.h"

#include <QImage>
#include <QList>
#include <QString>

#include <functional>

class QTcpSocket;

// The sending worker: assembles jobs into stored faxes, uploads them, follows their state on
// the device, and pauses or retries them. Lives on its SendFaxController's thread.
class SendFaxThread : public LoginThread
{
    Q_OBJECT

public:
    // The device whose columns queryUploadingFax joined to the fax.
    static Device deviceOf(const Fax& fax);
    explicit SendFaxThread(QObject* parent = nullptr);

    // The entry forms of the recipient line: "name<number>" or a plain number.
    static void parseRecipient(const QString& entry, QString& name, QString& number, bool& named);
    // How n recipients are shared over d devices: the group size of each device in order.
    static QList<int> shareOut(int recipients, int devices);

public slots:
    // Shares the recipients over the devices, writes one TIFF per device and one FAXES row
    // (status 5) per recipient, and emits returnFaxList.
    void transfromFax(
        QString& recipients, QString& remark, QList<FaxPage>& pages, FaxOption& option, QList<Device>& devices);
    // As transfromFax, where a page whose image is null and that has a source at its position
    // is decoded from that source as it is written, one page at a time.
    void transfromFaxPages(QString& recipients, QString& remark, QList<FaxPage>& pages,
                           QList<FaxPageSource>& sources, FaxOption& option, QList<Device>& devices);
    // Uploads one assembled fax on port 3002: returnTaskID, or status 3 and uploadFaxFailed.
    void sendFax(Fax& fax);
    // "开始上传" of a fax whose upload failed. One in "上传结果未知" is looked for on the device
    // first: found there, it takes that job's task number (returnTaskID); not found, it is
    // uploaded again; when the device's lists cannot be read, reUploadUnconfirmed asks for
    // the user's word, and confirmed uploads it again without looking.
    void reUploadFax(Fax& fax, bool confirmed);
    // Polls one fax; writes the record's fields into it and emits updateFax (FAXES untouched).
    void getFaxStatus(Fax& fax);
    // Polls every open fax of the user, writes FAXES (each device's changes together) and
    // emits updateFax for each.
    void getFaxStatus2();
    void sendFaxPause(Device& device, QString& taskID);
    void sendFaxRetry(Device& device, QString& taskID);

signals:
    void returnFaxList(QList<Fax>& faxes);
    void returnTaskID(Fax& fax);
    // Status 3, or "上传结果未知" when the device may hold the fax.
    void uploadFaxFailed(Fax& fax);
    // The device's lists could not be read: whether the fax is already there is not known.
    void reUploadUnconfirmed(Fax& fax);
    // A job's file could not be written in folder: no rows for these recipients (a recipient line).
    void jobFileFailed(QString& folder, QString& recipients);
    void updateFax(Fax& fax);
    // Nothing emits it; live progress travels in updateFax.
    void updateSendFax(SendFax& info);
    // Whether the device answered "PAUSE_OK" / "RETRY_OK"; false also when it was not reached.
    void sendFaxPauseResult(QString& taskID, bool accepted);
    void sendFaxRetryResult(QString& taskID, bool accepted);
    // A status round saw the fax reach SEND_FAX_SUCCESS: once per fax.
    void faxSent(Fax& fax);
    // Ends every getFaxStatus and getFaxStatus2, whatever came of it.
    void faxStatusFinished();

private:
    // Reserves a final name in folder that no other job holds and moves the written file
    // there; empty when the file could not be written.
    static QString writeJobFile(
        int pageTotal, const std::function<QImage(int)>& pageAt, const QString& folder, const QString& now);
    // One status exchange on port 3007; true when a whole record was read into the fax, or
    // when the device no longer knows the task (status SEND_FAX_NOT_FOUND). answered: the
    // device logged in and replied.
    bool queryStatus(Device& device, Fax& fax, bool* answered = nullptr);
    // Writes the faxes whose record changed a stored column, then shows them.
    void storeRound(QList<Fax>& changed);
    // The upload itself once the header is built: true with the device's final reply text,
    // false with the reason.
    // delivered: every byte went out and the device is silent, so it may hold the fax.
    bool upload(QTcpSocket* socket, const QByteArray& header, const QString& path, QString& finalReply, QString& why,
                bool& delivered);
    // Status 3, or "上传结果未知" when the device may hold the fax (or might from before).
    void failUpload(Fax& fax, const QString& why, bool mayBeOnDevice = false);
    void acceptUpload(Fax& fax, int taskID);
    enum class DeviceCopy { Found, None, Unknown, Unreachable };
    // Looks in the device's queue and send history for a job of this account with the fax's
    // number and page count that no other local fax follows.
    DeviceCopy findOnDevice(Device& device, const Fax& fax, int& taskID);
    // PAUSE / RETRY: one request, true when FEEDBACK equals expected.
    bool command(Device& device, const QString& request, const QString& logFormat, const QString& expected);
};
