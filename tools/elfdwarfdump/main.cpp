#include <QCoreApplication>
#include <QStringList>
#include <cstdio>
#include <cstdlib>

#include "tools/elfdwarfdump/run.h"

int main(int argc, char** argv)
{
    // Large enough that writes are few, small enough that its pages are touched once.
    static char stdoutBuffer[1 << 16];
    setvbuf(stdout, stdoutBuffer, _IOFBF, sizeof stdoutBuffer);
    // A damaged or unusual file can make the readers report thousands of lines; they
    // are written in blocks too, and flushed before the process ends.
    static char stderrBuffer[1 << 14];
    setvbuf(stderr, stderrBuffer, _IOFBF, sizeof stderrBuffer);

    QCoreApplication app(argc, argv);
    // The program name is reported exactly as it was given, so take argv as it is
    // rather than the application's cleaned-up argument list.
    QStringList arguments;
    arguments.reserve(argc);
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));

    const int status = runElfDwarfDump(arguments, stdout, stderr);
    fflush(stdout);
    fflush(stderr);
    exit(status);
}
