#pragma once

#include <QString>

enum ExitStatus { Done = 0, Failed = 1, WrongUsage = 2, Interrupted = 130 };

/// Prints a text to the standard error, after the name of the program; returns the status.
int complain(ExitStatus status, const QString& text);
