#pragma once

// Included by the test programs of the clients.

#include <tavrel/TavrelInitializer.h>

#include <foundation/FileUtils.h>
#include <foundation/Thread.h>

#include <QtTest>

/// Of the program: it exists before the application does.
static const TavrelInitializer initializer;
