// The server's headers. They are C, and postgres.h must come first.
#ifndef RQUNI_ENGINES_POSTGRESQL_SERVER_H
#define RQUNI_ENGINES_POSTGRESQL_SERVER_H

extern "C" {
#include <postgres.h>
// What follows relies on it.
#include <catalog/pg_conversion.h>
#include <catalog/pg_namespace.h>
#include <fmgr.h>
#include <mb/pg_wchar.h>
#include <miscadmin.h>
#include <utils/builtins.h>
#include <utils/memutils.h>
}

#endif
