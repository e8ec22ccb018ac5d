#pragma once

#include "Fax.h"
#include "TiffUtil.h"
#include "UiTestSupport.h"

#include <QImage>
#include <QPainter>

// Shared by the folder tests: a bound device, faxes in the store, fax files on disk.
namespace FolderTestData {

// Binds a device for gUser and returns its row id.
inline int addDevice(const QString& productID = QStringLiteral("PID0001"))
{
    Device device;
    device.deviceName = QStringLiteral("user1");
    device.productID = productID;
    device.localIP = QStringLiteral("127.0.0.1");
    return TestSupport::bindDevice(device).id;
}

inline Fax addFax(const Fax& fax, int deviceId) { return TestSupport::storeFax(fax, deviceId); }

inline Fax receivedFax(const QString& time, int status, const QString& cid, const QString& sender)
{
    Fax fax;
    fax.tag = 0;
    fax.time = time;
    fax.status = status;
    fax.cid = cid;
    fax.sender = sender;
    fax.receiver = QStringLiteral("public");
    fax.pageTotal = 1;
    fax.serverID = QStringLiteral("PID0001");
    return fax;
}

inline Fax sentFax(const QString& time, int status, const QString& cid, const QString& receiver)
{
    Fax fax = receivedFax(time, status, cid, QStringLiteral("user1"));
    fax.tag = 1;
    fax.receiver = receiver;
    fax.pageTotal = 2;
    return fax;
}

// A page whose black bar at y = 100 * (index + 1) tells the pages apart.
inline QImage page(int index, int width = 1728, int height = 2200)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.fillRect(QRect(50, 100 * (index + 1), width - 100, 40), Qt::black);
    return image;
}

// Writes a fax file whose pages have the given widths (all 2200 high).
inline bool writeFaxFile(const QString& path, const QList<int>& widths)
{
    QList<QImage> pages;
    for (int i = 0; i < widths.size(); ++i)
        pages.append(page(i, widths.at(i)));
    return TiffUtil::writeImgToTiff(pages, path);
}

} // namespace FolderTestData
