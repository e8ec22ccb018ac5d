// IniUtil's reader on a configuration file as the device serves it (UTF-16LE, with or without
// a byte-order mark), then the rewrite and a second reading of what it wrote.
#include "FuzzSupport.h"
#include "IniUtil.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::quiet();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    IniUtil::clear();
    IniUtil::openIni(FuzzSupport::asFile(data, size, ".cfg"));
    IniUtil::setValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName"), QStringLiteral("名字"));
    const QString text = IniUtil::writeIni(QString());
    FuzzSupport::check(text.isEmpty() || text.startsWith(QLatin1Char('\n')), "the rewrite starts with an empty line");

    // The rewrite is read again as the device would be given it.
    IniUtil::clear();
    IniUtil::parse(text);
    // An entry whose value holds "[" reads as a section line (the file's own grammar); short of
    // that, the device name set before the rewrite is what the device reads back.
    bool plain = true;
    for (const QString& line : text.split(QLatin1Char('\n')))
        plain = plain && (line.startsWith(QLatin1Char('[')) || !line.contains(QLatin1Char('[')));
    if (plain)
        FuzzSupport::check(IniUtil::getValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName")) == QStringLiteral("名字"),
                           "the name set survives the rewrite");
    return 0;
}
