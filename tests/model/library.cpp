#include "tests/model/library.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace rq::test {

const Library& Library::get() {
  // Never unloaded: objects in static storage end later.
  static const Library& library = *new Library(RQ_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  return library;
}

Library::Library(const char* path, int flags) : handle_(dlopen(path, flags)) {
  if (!handle_) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(2);
  }
  rquni = symbol<RQInterface* (*)(RQContext*, RQJournal*)>("rquni");
  rqextent = symbol<RQStatus (*)(RQKernel*)>("rqextent");
  exportedHandle = symbol<RQKernel**>("Exported_RQHandle");
}

Library::~Library() {
  dlclose(handle_);
}

void* Library::find(const char* name) const {
  return dlsym(handle_, name);
}

void* Library::require(const char* name) const {
  void* address = find(name);
  if (!address) {
    std::fprintf(stderr, "symbol %s is missing\n", name);
    std::exit(2);
  }
  return address;
}

}  // namespace rq::test
