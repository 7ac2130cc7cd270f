#pragma once

#include <QString>

#include <functional>
#include <optional>

/// The terminal that the program was started from.
namespace Terminal {

/// Whether somebody can be asked.
bool isInteractive();
/// Asks for a line that is not shown. Nothing at the end of the input, or after isStopped() has become true. The
/// terminal shows again what is typed afterwards, in each case.
std::optional<QString> askSecretly(const QString& prompt, const std::function<bool()>& isStopped);

/// Columns of the terminal of the standard error; 0 if that is none, or one that obeys no control sequences.
int width();

} // namespace Terminal
