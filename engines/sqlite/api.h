// SQLite's routines, which an extension calls through a table that its entry point is given.
#ifndef RQUNI_ENGINES_SQLITE_API_H
#define RQUNI_ENGINES_SQLITE_API_H

#include <sqlite3ext.h>

extern const sqlite3_api_routines* sqlite3_api;

#endif
