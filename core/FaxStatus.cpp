#include "FaxStatus.h"

#include <QCoreApplication>

QString FaxStatus::statusText(int status)
{
    switch (status) {
    case SEND_FAX_FAILED: return QCoreApplication::translate("FaxStatus", "发送失败");
    case SEND_FAX_SUCCESS: return QCoreApplication::translate("FaxStatus", "发送成功");
    case SEND_FAX_UNSEND: return QCoreApplication::translate("FaxStatus", "等待上传");
    case SEND_FAX_UPLOADING: return QCoreApplication::translate("FaxStatus", "正在上传");
    case SEND_FAX_WAITTING: return QCoreApplication::translate("FaxStatus", "排队中");
    case SEND_FAX_SENDING: return QCoreApplication::translate("FaxStatus", "发送中");
    case SEND_FAX_STOPED: return QCoreApplication::translate("FaxStatus", "已停止");
    case SEND_FAX_PLAN: return QCoreApplication::translate("FaxStatus", "计划中");
    case SEND_FAX_UPLOAD_UNKNOWN: return QCoreApplication::translate("FaxStatus", "上传结果未知");
    case RECV_FAX_UNREAD: return QCoreApplication::translate("FaxStatus", "未读");
    case RECV_FAX_READED: return QCoreApplication::translate("FaxStatus", "已读");
    case RECV_FAX_REPLYED: return QCoreApplication::translate("FaxStatus", "已回复");
    case RECV_FAX_FORWARDED: return QCoreApplication::translate("FaxStatus", "已转发");
    case RECV_FAX_PRINTED: return QCoreApplication::translate("FaxStatus", "已打印");
    case RECV_FAX_FAILED: return QCoreApplication::translate("FaxStatus", "接收失败");
    default: return QString();
    }
}

QString FaxStatus::priorityText(int priority)
{
    switch (priority) {
    case FAX_PRIORITY_LOW: return QCoreApplication::translate("FaxStatus", "低");
    case FAX_PRIORITY_NORMAL: return QCoreApplication::translate("FaxStatus", "普通");
    case FAX_PRIORITY_HIGH: return QCoreApplication::translate("FaxStatus", "高");
    case FAX_PRIORITY_CRITICAL: return QCoreApplication::translate("FaxStatus", "紧急");
    default: return QString();
    }
}

QString FaxStatus::progressText(int sendState, int pageSended, int pagePercent, int pageTotal, int trainingValue)
{
    switch (sendState) {
    case SEND_STATE_DIAL: return QCoreApplication::translate("FaxStatus", "正在拨号");
    case SEND_STATE_CONNECTED: return QCoreApplication::translate("FaxStatus", "正在连接");
    case SEND_STATE_TRAINING: return QCoreApplication::translate("FaxStatus", "传真握手 %1").arg(trainingValue);
    default:
        return QCoreApplication::translate("FaxStatus", "已完成%1页%2%(共%3页)")
            .arg(pageSended).arg(pagePercent).arg(pageTotal);
    }
}
