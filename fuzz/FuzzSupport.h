#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QtGlobal>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

// Shared by the fuzz targets: quiet logging, the input as a file, and a check that aborts so
// that libFuzzer keeps the input that broke it.
namespace FuzzSupport {

inline void quiet()
{
    // Parsers log every odd input; at thousands of runs a second that is only noise.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
}

inline QByteArray bytes(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), int(size));
}

// The readers under test take a path: the input is written to one file of this process.
inline QString asFile(const uint8_t* data, size_t size, const char* suffix)
{
    static const QString path = QDir::tempPath() + QStringLiteral("/velkor-fuzz-%1%2").arg(getpid()).arg(QLatin1String(suffix));
    FILE* file = std::fopen(QFile::encodeName(path).constData(), "wb");
    if (!file)
        std::abort();
    if (size > 0 && std::fwrite(data, 1, size, file) != size)
        std::abort();
    std::fclose(file);
    return path;
}

// A property that must hold for every input.
inline void check(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "property violated: %s\n", what);
        std::abort();
    }
}

} // namespace FuzzSupport
