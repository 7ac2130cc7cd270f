#pragma once

/// Logs a warning if libcurl is not initialized. Called by the constructor of each client, with literals.
void warnIfNotInitialized(const char* file, const char* className, int line);
