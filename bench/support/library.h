// The library under measurement, loaded as a host would load it.
#pragma once

#include "frame/rquni.h"

namespace rq::bench {

/// Loads the library; ends the program with a message when that fails. Call once, before any row is registered.
void loadLibrary(const char* path);

/// The address of an exported name, or null when the library has none.
void* findSymbol(const char* name);

}  // namespace rq::bench

/// The exported function `name` with its declared type, or null: then its rows read "not built".
#define RQ_OURS(name) reinterpret_cast<decltype(&::name)>(::rq::bench::findSymbol(#name))
