// devicesim: the loopback fax device, for demos and for trying the client by hand.
#include "DeviceSim.h"
#include "Scenario.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QGuiApplication>
#include <QTextStream>

int main(int argc, char** argv)
{
    // Fax pages are drawn with fonts, which need a GUI application but no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("devicesim"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Loopback fax device for tests and demos."));
    parser.addHelpOption();
    const QCommandLineOption addressOption(QStringLiteral("address"), QStringLiteral("Address to listen on (default 127.0.0.1)."), QStringLiteral("ip"));
    const QCommandLineOption baseOption(QStringLiteral("base-port"), QStringLiteral("Base TCP port; the others are base+1, +5, +6 (default 3001)."),
                                        QStringLiteral("port"));
    const QCommandLineOption scenarioOption(QStringLiteral("scenario"), QStringLiteral("Scenario file (JSON)."), QStringLiteral("file"));
    const QCommandLineOption demoOption(QStringLiteral("demo"), QStringLiteral("Run the built-in demo scenario."));
    const QCommandLineOption httpOption(QStringLiteral("http-port"), QStringLiteral("Serve the remote address service on this port."),
                                        QStringLiteral("port"));
    const QCommandLineOption anyOption(QStringLiteral("discovery-any"), QStringLiteral("Also answer broadcast discovery queries (binds 0.0.0.0:5076)."));
    const QCommandLineOption announceOption(QStringLiteral("announce"), QStringLiteral("Send the discovery answer to this address (port 5077) at start."),
                                            QStringLiteral("ip"));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"), QStringLiteral("Log request and reply texts too."));
    parser.addOptions({addressOption, baseOption, scenarioOption, demoOption, httpOption, anyOption, announceOption, verboseOption});
    parser.process(app);

    QTextStream err(stderr);
    Scenario scenario;
    QString error;
    if (parser.isSet(demoOption) && !Scenario::fromFile(QStringLiteral(":/devicesim/demo.json"), &scenario, &error)) {
        err << "devicesim: " << error << '\n';
        return 2;
    }
    if (parser.isSet(scenarioOption) && !Scenario::fromFile(parser.value(scenarioOption), &scenario, &error)) {
        err << "devicesim: " << error << '\n';
        return 2;
    }
    if (parser.isSet(addressOption))
        scenario.address = parser.value(addressOption);
    if (parser.isSet(baseOption))
        scenario.basePort = parser.value(baseOption).toInt();
    if (parser.isSet(httpOption))
        scenario.httpPort = parser.value(httpOption).toInt();
    if (parser.isSet(anyOption))
        scenario.discoveryAnyAddress = true;

    DeviceSim sim(scenario);
    sim.setVerbose(parser.isSet(verboseOption));
    QTextStream out(stdout);
    QObject::connect(&sim, &DeviceSim::logLine, [&out](const QString& line) {
        out << QDateTime::currentDateTime().toString(QStringLiteral("hh:mm:ss.zzz")) << ' ' << line << Qt::endl;
    });
    if (!sim.start(&error)) {
        err << "devicesim: " << error << '\n';
        return 1;
    }
    out << "Accounts:";
    for (const SimUser& user : sim.device()->users())
        out << ' ' << user.name;
    out << "  (Ctrl+C to stop)" << Qt::endl;
    // The client binds by identity only once its address service is set.
    if (!sim.httpUrl().isEmpty())
        out << "Address service: " << sim.httpUrl() << "  (client: 程序选项 > 远程地址服务)" << Qt::endl;
    if (parser.isSet(announceOption))
        sim.announce(QHostAddress(parser.value(announceOption)));
    return app.exec();
}
