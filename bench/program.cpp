#include "program.h"

#include <tavrel/TavrelInitializer.h>

#include <QFile>

#include <cerrno>
#include <cstdio>

int runProgram(int argc, char* argv[], bool (*run)(const QStringList& arguments))
{
    const TavrelInitializer initializer;
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments += QFile::decodeName(argv[i]);
    }
    return run(arguments) ? 0 : 1;
}

bool fail(const QString& reason)
{
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, qPrintable(reason));
    return false;
}
