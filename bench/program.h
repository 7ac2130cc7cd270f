#pragma once

#include <QString>
#include <QStringList>

/// Runs a subject with the decoded arguments of the program, and returns the exit status.
int runProgram(int argc, char* argv[], bool (*run)(const QStringList& arguments));

/// Prints the reason for a failure after the name of the program; false.
bool fail(const QString& reason);
