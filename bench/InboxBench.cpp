// The inbox at scale.
//   bench_inbox fill <home> <faxes> <contacts>   a store filled through DatabaseManager
//   bench_inbox open <home>
//       createTables as at start-up, then queryReceiveFaxes alone, then a ReceiveBoxWidget
//       (its constructor queries and fills the table).

#include "BenchSupport.h"

#include "Contact.h"
#include "DatabaseManager.h"
#include "Device.h"
#include "Fax.h"
#include "ReceiveBoxWidget.h"

#include <QApplication>
#include <QDateTime>
#include <QTableWidget>

#include <cstdio>

using namespace BenchSupport;

namespace {

QString numberOf(int contact, int kind)
{
    return QStringLiteral("0%1%2").arg(kind + 2).arg(contact, 7, 10, QLatin1Char('0'));
}

int fill(const QString& home, int faxCount, int contactCount)
{
    useHome(home);
    loginBenchUser();
    DatabaseManager db;
    Device device;
    device.deviceName = QStringLiteral("admin");
    device.productID = QStringLiteral("5E4D00BENCH");
    device.localIP = QStringLiteral("127.0.0.1");
    db.inseretDevice(device);
    QString productID = device.productID;
    const int deviceId = db.queryDevice(productID).id;

    QList<Contact> contacts;
    for (int i = 0; i < contactCount; ++i) {
        Contact c;
        c.firstName = QStringLiteral("First%1").arg(i);
        c.lastName = QStringLiteral("Last%1").arg(i);
        c.represented = QStringLiteral("Company %1").arg(i);
        c.businessFax = numberOf(i, 0);
        c.houseFax = numberOf(i, 1);
        c.otherFax = numberOf(i, 2);
        c.contact_type_id = 0;
        contacts.append(c);
    }
    db.addContactList(contacts);

    // A third of the faxes come from a number in the address book, on one of its three fields.
    const QDateTime start(QDate(2020, 1, 1), QTime(8, 0));
    QList<Fax> faxes;
    for (int i = 0; i < faxCount; ++i) {
        Fax f;
        f.tag = 0;
        f.status = 11 + i % 3;
        f.time = start.addSecs(qint64(i) * 617).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
        f.cid = i % 3 == 0 ? numberOf((i * 7) % qMax(1, contactCount), i % 3) : QStringLiteral("09%1").arg(i, 8, 10, QLatin1Char('0'));
        f.sender = QStringLiteral("sender %1").arg(i % 500);
        f.receiver = QStringLiteral("public");
        f.serverID = productID;
        f.pageTotal = 1 + i % 5;
        f.file = QString::number(10000000 + i);
        f.filepath = home + QStringLiteral("/Documents/Velkor/bench/%1.tif").arg(i);
        f.taskID = i + 1;
        f.remark = i % 10 == 0 ? QStringLiteral("remark %1").arg(i) : QString();
        faxes.append(f);
    }
    return db.insertFaxes(faxes, deviceId) ? 0 : 1;
}

int open(const QString& home)
{
    useHome(home);
    double t = now();
    loginBenchUser(); // createTables, as at start-up
    const double startupSeconds = now() - t;

    t = now();
    const QList<Fax> faxes = DatabaseManager().queryReceiveFaxes();
    const double querySeconds = now() - t;

    t = now();
    ReceiveBoxWidget* box = new ReceiveBoxWidget;
    const double widgetSeconds = now() - t;
    const int rows = box->findChild<QTableWidget*>(QStringLiteral("tableWidget"))->rowCount();
    t = now();
    box->show();
    QApplication::processEvents();
    const double showSeconds = now() - t;
    result({ QStringLiteral("rows=%1").arg(rows), QStringLiteral("faxes=%1").arg(faxes.size()),
             "startup_s=" + num(startupSeconds), "query_s=" + num(querySeconds),
             "widget_s=" + num(widgetSeconds), "show_s=" + num(showSeconds), "peak_mb=" + num(peakRssMb(), 0) });
    delete box;
    return rows == faxes.size() ? 0 : 1;
}

} // namespace

namespace {

int command(const QStringList& args)
{
    const QString command = args.value(0);
    if (command == QLatin1String("fill") && args.size() >= 4)
        return fill(args.at(1), args.at(2).toInt(), args.at(3).toInt());
    if (command == QLatin1String("open") && args.size() >= 2)
        return open(args.at(1));
    std::fprintf(stderr, "usage: bench_inbox fill <home> <faxes> <contacts> | open <home>\n");
    return 2;
}

} // namespace

int main(int argc, char* argv[])
{
    return benchMain(argc, argv, command);
}
