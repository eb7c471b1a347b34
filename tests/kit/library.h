// The kit as a host gets it: librquni.so loaded, every routine looked up by its exported name.
#ifndef RQUNI_TESTS_KIT_LIBRARY_H
#define RQUNI_TESTS_KIT_LIBRARY_H

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "frame/host_tables.h"
#include "frame/kit_exports.h"
#include "frame/registration.h"

namespace rq::test {

inline void* symbolOf(const char* name) {
  static void* const library = dlopen(RQ_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  void* const symbol = library ? dlsym(library, name) : nullptr;
  if (!symbol) {
    std::fprintf(stderr, "%s: %s\n", name, dlerror());
    std::abort();
  }
  return symbol;
}

// Functions and tables under their own names, hiding the declarations of the same name, which are not linked.
#define RQ_FROM_LIBRARY(name) inline auto& name = *static_cast<decltype(&::name)>(symbolOf(#name))
#define RQ_CALL_FROM_LIBRARY(name) inline auto* const name = reinterpret_cast<decltype(&::name)>(symbolOf(#name))
RQ_CALL_FROM_LIBRARY(skUnsup);
RQ_CALL_FROM_LIBRARY(skStrLen);
RQ_CALL_FROM_LIBRARY(skStrTLen);
RQ_CALL_FROM_LIBRARY(skStrCpy);
RQ_CALL_FROM_LIBRARY(skStrTCpy);
RQ_CALL_FROM_LIBRARY(skStrUp);
RQ_CALL_FROM_LIBRARY(skStrLow);
RQ_CALL_FROM_LIBRARY(skMemNot);
RQ_CALL_FROM_LIBRARY(skMemTNot);
RQ_CALL_FROM_LIBRARY(skMemSet);
RQ_CALL_FROM_LIBRARY(skMemTSet);
RQ_CALL_FROM_LIBRARY(skMemCmp);
RQ_CALL_FROM_LIBRARY(skWMemCmp);
RQ_CALL_FROM_LIBRARY(skMemCpy);
RQ_CALL_FROM_LIBRARY(skMemSCpy);
RQ_CALL_FROM_LIBRARY(skMemDup);
RQ_CALL_FROM_LIBRARY(skMemScan);
RQ_CALL_FROM_LIBRARY(skMemNScan);
RQ_CALL_FROM_LIBRARY(skMemTNScan);
RQ_CALL_FROM_LIBRARY(skMissArray);
RQ_CALL_FROM_LIBRARY(rqzspos);
RQ_CALL_FROM_LIBRARY(rqzstlo);
RQ_CALL_FROM_LIBRARY(rqzstup);
RQ_CALL_FROM_LIBRARY(rqzseqn);
RQ_CALL_FROM_LIBRARY(rqzsncmp);
RQ_CALL_FROM_LIBRARY(rqzstmin);
RQ_CALL_FROM_LIBRARY(rqzstmax);
RQ_CALL_FROM_LIBRARY(rqextent);
RQ_FROM_LIBRARY(skz_metatable);
RQ_FROM_LIBRARY(skz_upshift);
RQ_FROM_LIBRARY(skz_downshift);
RQ_FROM_LIBRARY(skz_upaux);
RQ_FROM_LIBRARY(skz_downaux);
#undef RQ_CALL_FROM_LIBRARY
#undef RQ_FROM_LIBRARY

}  // namespace rq::test

#endif
