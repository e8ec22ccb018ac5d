#pragma once

#include <QString>
#include <QStringList>

// Small helpers shared by the benchmark commands.
namespace BenchSupport {

// Points HOME (and the XDG folders) at dir, so the run never touches the real user's files.
void useHome(const QString& dir);
// Makes the tables and logs in the local account "bench" (created on first use).
int loginBenchUser();
// Seconds since an arbitrary start, monotonic.
double now();
// Peak resident set of this process so far, in MB.
double peakRssMb();
// Prints "key=value key=value ..." on one line and flushes.
void result(const QStringList& fields);
QString num(double value, int decimals = 3);

} // namespace BenchSupport

// main() of a benchmark program: an offscreen QApplication with the code's logging silenced,
// then command(arguments after the program name); its result is the exit code.
int benchMain(int argc, char* argv[], int (*command)(const QStringList& args));
