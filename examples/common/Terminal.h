#pragma once

#include <QString>

#include <optional>

/// The terminal that the program was started from.
namespace Terminal {

/// Whether somebody can be asked.
bool isInteractive();
/// Asks for a line that is not shown. Nothing after an interruption or the end of the input. The terminal shows again
/// what is typed afterwards, in each case.
std::optional<QString> askSecretly(const QString& prompt);

/// Columns of the terminal of the standard error; 0 if that is none.
int width();

} // namespace Terminal
