// Talk with the device stand-in over loopback.
//   bench_link status <home> <jobs>
//       <jobs> faxes uploaded and open on one devicesim, then one getFaxStatus2 round timed;
//       also the cost of one bare login, for the share of the round spent logging in.
//   bench_link deadround <home> <jobs> <dead>
//       as status, with <dead> of the faxes on a second device that takes no connection (every
//       connect waits its whole time-out): one round timed, and the wait of an upload asked for
//       at the start of a round of the outbox's controller.
//   bench_link transfer <home> <bytes>
//       upload (SendFaxThread::sendFax) and download (ReceiveFaxThread::downloadFaxInfo2) of
//       a fax of <bytes>, next to a bare socket ping-pong of the same 1200-byte blocks, each
//       asked for by the same ready token.
//   bench_link cancel <home> <runs>
//       a bind whose device takes the connection and never greets, its controller destroyed
//       (as when "添加设备" is closed) while the bind waits; the worst time that takes.

#include "BenchSupport.h"

#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "DeviceSimRunner.h"
#include "ImageUtil.h"
#include "LoginController.h"
#include "LoginThread.h"
#include "MD5Util.h"
#include "ReceiveFaxThread.h"
#include "SendFaxController.h"
#include "SendFaxThread.h"
#include "TiffUtil.h"
#include "WireCodec.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QThread>
#include <QTransform>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

using namespace BenchSupport;

namespace {

Scenario scenarioAt(const QString& address)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    s.serverId = QStringLiteral("5E4D00%1").arg(address.section('.', 3, 3));
    s.jobs.stepMs = 24 * 3600 * 1000; // jobs stay where they are
    return s;
}

std::unique_ptr<DeviceSimRunner> startSim(const Scenario& scenario)
{
    auto runner = std::make_unique<DeviceSimRunner>(scenario);
    QString error;
    if (!runner->start(&error)) {
        std::fprintf(stderr, "devicesim did not start: %s\n", qPrintable(error));
        return nullptr;
    }
    return runner;
}

Device storedDevice(const Scenario& s)
{
    Device d;
    d.deviceName = QStringLiteral("admin");
    d.devicePassword = MD5Util::call128MD5(QByteArray("admin"));
    d.serverName = s.serverName;
    d.productID = s.serverId;
    d.localIP = s.address;
    DatabaseManager db;
    db.inseretDevice(d);
    Device stored = db.queryDevice(d.productID);
    stored.localIP = s.address;
    return stored;
}

// A file the device takes for a TIFF (one empty directory), padded to the given size.
QString writeFaxFile(const QString& path, int size)
{
    QByteArray bytes("II*\0\x08\0\0\0\0\0\0\0\0\0", 14);
    bytes.append(QByteArray(qMax(0, size - bytes.size()), '\0'));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
    return path;
}

// A real G3 fax file of at least the given size: pages of scattered dots, which compress
// badly, so a few pages make a megabyte.
QString writeRealFax(const QString& path, qint64 size)
{
    QImage page(ImageUtil::FAX_PAGE_WIDTH, ImageUtil::FAX_PAGE_HGIEHT, QImage::Format_RGBA8888);
    quint32 seed = 12345;
    for (int y = 0; y < page.height(); ++y) {
        quint32* line = reinterpret_cast<quint32*>(page.scanLine(y));
        for (int x = 0; x < page.width(); ++x) {
            seed = seed * 1103515245u + 12345u;
            line[x] = (seed >> 16) % 7 == 0 ? 0xFF000000u : 0xFFFFFFFFu;
        }
    }
    QList<QImage> pages { page };
    while (TiffUtil::writeImgToTiff(pages, path) && QFileInfo(path).size() < size)
        pages.append(page.transformed(QTransform().rotate(180.0 * pages.size())));
    return path;
}

Fax storedFax(const Device& d, const QString& filepath, int n)
{
    Fax fax;
    fax.pageTotal = 1;
    fax.dialTotal = 2;
    fax.sender = d.deviceName;
    fax.status = 5;
    fax.time = QStringLiteral("2024-01-01 10:00:00");
    fax.serverID = d.productID;
    fax.cid = QStringLiteral("555%1").arg(n, 4, 10, QLatin1Char('0'));
    fax.filepath = filepath;
    fax.tag = 1;
    fax.priority = 2;
    fax.quality = 1;
    fax.id = DatabaseManager().insertFax(fax, d.id);
    return fax;
}

// Uploads the fax; its task number, 0 when the device did not take it.
int upload(Fax& fax)
{
    SendFaxThread worker;
    int task = 0;
    QObject::connect(&worker, &SendFaxThread::returnTaskID, [&task](Fax& f) { task = f.taskID; });
    worker.sendFax(fax);
    return task;
}

// Logs in and hangs up, as each operation does.
class LoginProbe : public LoginThread
{
public:
    bool once(Device& device)
    {
        QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
        if (!socket)
            return false;
        hangUp(socket);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return true;
    }
};

// jobs open faxes: the first dead ones on off, stored as taken before it went off, the
// others uploaded to device.
bool openFaxes(const Device& device, const Device& off, const QString& file, int jobs, int dead = 0)
{
    for (int i = 0; i < jobs; ++i) {
        Fax fax = storedFax(i < dead ? off : device, file, i);
        if (i < dead) {
            fax.taskID = 1000 + i;
            DatabaseManager().updateFaxTaskID(fax);
        } else if (upload(fax) == 0) {
            std::fprintf(stderr, "upload %d failed\n", i);
            return false;
        }
    }
    return true;
}

// One status round on this thread: the faxes it reported, and its seconds.
int timedRound(double& seconds)
{
    SendFaxThread worker;
    int updated = 0;
    QObject::connect(&worker, &SendFaxThread::updateFax, [&updated](Fax&) { ++updated; });
    const double t = now();
    worker.getFaxStatus2();
    seconds = now() - t;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return updated;
}

int status(const QString& home, int jobs)
{
    useHome(home);
    loginBenchUser();
    const Scenario scenario = scenarioAt(QStringLiteral("127.0.0.240"));
    auto sim = startSim(scenario);
    if (!sim)
        return 1;
    Device device = storedDevice(scenario);
    const QString file = writeFaxFile(home + QStringLiteral("/Documents/job.tif"), 2000);
    if (!openFaxes(device, device, file, jobs))
        return 1;
    double roundSeconds = 0;
    const int updated = timedRound(roundSeconds);

    LoginProbe probe;
    const int logins = 50;
    double t = now();
    for (int i = 0; i < logins; ++i)
        probe.once(device);
    const double loginSeconds = (now() - t) / logins;
    result({ QStringLiteral("jobs=%1").arg(jobs), QStringLiteral("updated=%1").arg(updated),
             "round_s=" + num(roundSeconds), "login_ms=" + num(loginSeconds * 1000, 2),
             "logins_share=" + num(updated > 0 ? loginSeconds * updated / roundSeconds : 0, 2) });
    return updated == jobs ? 0 : 1;
}

// A listening socket whose queue is full: the kernel drops every further connection request,
// so a client's connect waits for its time-out, as with a device that is switched off.
bool deafListener(const char* address, int port, std::vector<int>& sockets)
{
    sockaddr_in at {};
    at.sin_family = AF_INET;
    at.sin_port = htons(quint16(port));
    inet_pton(AF_INET, address, &at.sin_addr);
    const int server = ::socket(AF_INET, SOCK_STREAM, 0);
    sockets.push_back(server);
    if (::bind(server, reinterpret_cast<sockaddr*>(&at), sizeof at) != 0 || ::listen(server, 0) != 0)
        return false;
    for (int i = 0; i < 3; ++i) {
        const int filler = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
        sockets.push_back(filler);
        ::connect(filler, reinterpret_cast<sockaddr*>(&at), sizeof at);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    return true;
}

int deadRound(const QString& home, int jobs, int dead)
{
    useHome(home);
    loginBenchUser();
    const Scenario scenario = scenarioAt(QStringLiteral("127.0.0.242"));
    auto sim = startSim(scenario);
    std::vector<int> sockets;
    const char* deadAddress = "127.0.0.243";
    if (!sim || !deafListener(deadAddress, DeviceProtocol::PORT_COMMAND, sockets))
        return 1;
    Device device = storedDevice(scenario);
    Device off = storedDevice(scenarioAt(QString::fromLatin1(deadAddress)));
    const QString file = writeFaxFile(home + QStringLiteral("/Documents/job.tif"), 2000);
    if (!openFaxes(device, off, file, jobs, dead))
        return 1;
    double roundSeconds = 0;
    const int updated = timedRound(roundSeconds);

    // The outbox's way: a tick, then an upload asked for while the round runs.
    SendFaxController controller;
    Fax fresh = storedFax(device, file, jobs);
    double uploadSeconds = -1;
    double controllerRound = -1;
    QEventLoop loop;
    double t = 0;
    QObject::connect(&controller, &SendFaxController::saveTaskID, [&](Fax&) { uploadSeconds = now() - t; });
    QObject::connect(&controller, &SendFaxController::faxStatusFinished, [&] {
        controllerRound = now() - t;
        loop.quit();
    });
    t = now();
    emit controller.getFaxStatus2();
    emit controller.sendFax(fresh);
    loop.exec();
    for (int s : sockets)
        ::close(s);
    result({ QStringLiteral("jobs=%1").arg(jobs), QStringLiteral("dead=%1").arg(dead),
             QStringLiteral("updated=%1").arg(updated), "round_s=" + num(roundSeconds),
             "controller_round_s=" + num(controllerRound), "upload_s=" + num(uploadSeconds) });
    return updated == jobs - dead && uploadSeconds >= 0 ? 0 : 1;
}

// The floor of the block protocol: a server that answers each ready token with one block,
// over a bare socket on the same loopback, without any of the client's code.
double pingPongSeconds(const char* address, qint64 bytes, int blockSize)
{
    const QByteArray token = WireCodec::encode(QStringLiteral("R"));
    const int server = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in at {};
    at.sin_family = AF_INET;
    at.sin_port = 0;
    inet_pton(AF_INET, address, &at.sin_addr);
    const int yes = 1;
    setsockopt(server, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (::bind(server, reinterpret_cast<sockaddr*>(&at), sizeof at) != 0 || ::listen(server, 1) != 0)
        return -1;
    socklen_t length = sizeof at;
    getsockname(server, reinterpret_cast<sockaddr*>(&at), &length);
    const qint64 blocks = (bytes + blockSize - 1) / blockSize;

    std::thread device([&] {
        const int peer = ::accept(server, nullptr, nullptr);
        setsockopt(peer, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        std::vector<char> block(static_cast<size_t>(blockSize), 'x');
        std::vector<char> in(static_cast<size_t>(token.size()));
        for (qint64 i = 0; i < blocks; ++i) {
            if (::recv(peer, in.data(), in.size(), MSG_WAITALL) != ssize_t(in.size()))
                break;
            ::send(peer, block.data(), block.size(), 0);
        }
        ::close(peer);
    });

    const int client = ::socket(AF_INET, SOCK_STREAM, 0);
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    ::connect(client, reinterpret_cast<sockaddr*>(&at), sizeof at);
    std::vector<char> block(static_cast<size_t>(blockSize));
    const double start = now();
    for (qint64 i = 0; i < blocks; ++i) {
        ::send(client, token.constData(), size_t(token.size()), 0);
        if (::recv(client, block.data(), block.size(), MSG_WAITALL) != ssize_t(block.size()))
            break;
    }
    const double seconds = now() - start;
    ::close(client);
    device.join();
    ::close(server);
    return seconds;
}

int transfer(const QString& home, int bytes)
{
    useHome(home);
    loginBenchUser();
    const Scenario scenario = scenarioAt(QStringLiteral("127.0.0.241"));
    auto sim = startSim(scenario);
    if (!sim)
        return 1;
    Device device = storedDevice(scenario);

    const QString path = writeRealFax(home + QStringLiteral("/Documents/big.tif"), bytes);
    bytes = int(QFileInfo(path).size());
    const double megabytes = bytes / 1e6;
    Fax fax = storedFax(device, path, 1);
    double t = now();
    const int task = upload(fax);
    const double uploadSeconds = now() - t;

    SimReceivedFax incoming;
    incoming.cid = QStringLiteral("5550001");
    incoming.sender = QStringLiteral("bench");
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    incoming.tiff = file.readAll();
    sim->device()->addReceivedFax(incoming);
    ReceiveFaxThread receiver;
    t = now();
    const QList<Fax> fetched = receiver.downloadFaxInfo2(device, DeviceProtocol::PORT_COMMAND);
    const double downloadSeconds = now() - t;
    const qint64 got = fetched.isEmpty() ? 0 : QFile(fetched.first().filepath).size();

    const double floorSeconds = pingPongSeconds("127.0.0.241", bytes, 1200);
    result({ QStringLiteral("bytes=%1").arg(bytes), "upload_mbs=" + num(megabytes / uploadSeconds, 2),
             "download_mbs=" + num(megabytes / downloadSeconds, 2), "floor_mbs=" + num(megabytes / floorSeconds, 2),
             "upload_s=" + num(uploadSeconds), "download_s=" + num(downloadSeconds), "floor_s=" + num(floorSeconds) });
    return task != 0 && got == bytes ? 0 : 1;
}

} // namespace

namespace {

int cancel(const QString& home, int runs)
{
    useHome(home);
    loginBenchUser();
    Scenario scenario = scenarioAt(QStringLiteral("127.0.5.250"));
    scenario.faults << SimFault::make(QStringLiteral("GREETING"), SimFault::Silent);
    auto sim = startSim(scenario);
    if (!sim)
        return 1;
    double worst = 0;
    for (int i = 0; i < runs; ++i) {
        auto* controller = new LoginController;
        Device device;
        device.localIP = scenario.address;
        device.deviceName = QStringLiteral("admin");
        device.devicePassword = QStringLiteral("admin");
        emit controller->bindDevice(device, DeviceProtocol::PORT_COMMAND);
        QThread::msleep(200); // connected, waiting for the greeting
        const double t = now();
        delete controller;
        worst = qMax(worst, now() - t);
    }
    // Every run reached the device and sat in its wait.
    if (sim->device()->actionLog().filter(QStringLiteral("no greeting")).size() != runs)
        return 1;
    result({QStringLiteral("runs=%1").arg(runs), "worst_ms=" + num(worst * 1000, 1)});
    return worst < 1.0 ? 0 : 1;
}

int command(const QStringList& args)
{
    const QString command = args.value(0);
    if (command == QLatin1String("status") && args.size() >= 3)
        return status(args.at(1), args.at(2).toInt());
    if (command == QLatin1String("deadround") && args.size() >= 4)
        return deadRound(args.at(1), args.at(2).toInt(), args.at(3).toInt());
    if (command == QLatin1String("transfer") && args.size() >= 3)
        return transfer(args.at(1), args.at(2).toInt());
    if (command == QLatin1String("cancel") && args.size() >= 3)
        return cancel(args.at(1), args.at(2).toInt());
    std::fprintf(stderr, "usage: bench_link status <home> <jobs> | deadround <home> <jobs> <dead> | transfer <home> <bytes> | cancel <home> <runs>\n");
    return 2;
}

} // namespace

int main(int argc, char* argv[])
{
    return benchMain(argc, argv, command);
}
