#include "complain.h"

#include <QCoreApplication>

#include <cstdio>

int complain(ExitStatus status, const QString& text)
{
    std::fprintf(stderr, "%s: %s\n", qUtf8Printable(QCoreApplication::applicationName()), qUtf8Printable(text));
    return status;
}
