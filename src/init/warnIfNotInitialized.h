#pragma once

/// Logs that libcurl was not initialised, if so. Every client calls it when it is built; the texts are
/// literals.
void warnIfNotInitialized(const char* file, const char* className, int line);
