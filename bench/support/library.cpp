#include "bench/support/library.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace rq::bench {
namespace {
void* handle;
}

void loadLibrary(const char* path) {
  handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (handle) return;
  std::fprintf(stderr, "rq_bench: %s\n", dlerror());
  std::exit(2);
}

void* findSymbol(const char* name) {
  return handle ? dlsym(handle, name) : nullptr;
}

}  // namespace rq::bench
