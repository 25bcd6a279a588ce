// SQLite's interface for loadable extensions. The table of routines is one for the whole extension: extension.cpp has it.
#pragma once

#include <sqlite3ext.h>

extern "C" {
SQLITE_EXTENSION_INIT3
}
