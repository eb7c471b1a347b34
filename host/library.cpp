#include "host/library.h"

#include <dlfcn.h>

#include <type_traits>

namespace rq::host {
namespace {

std::string loaderMessage() {
  const char* message = dlerror();
  return message ? message : "no reason given";
}

}  // namespace

void Library::Close::operator()(void* handle) const {
  dlclose(handle);
}

Result<void*> Library::find(const char* name) const {
  dlerror();
  void* address = dlsym(handle_.get(), name);
  if (address) return address;
  return Error{Error::Kind::system, path_ + " lacks the symbol '" + name + "': " + loaderMessage()};
}

Result<Library> Library::open(const std::string& path) {
  Library library;
  library.handle_.reset(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library.handle_) return Error{Error::Kind::system, "cannot load the library " + path + ": " + loaderMessage()};
  library.path_ = path;

  Error missing{Error::Kind::system, {}};
  const auto entry = [&](auto*& function, const char* name) {
    auto found = library.symbol<std::remove_reference_t<decltype(*function)>>(name);
    if (found) {
      function = *found;
    } else {
      missing = found.error();
    }
    return static_cast<bool>(found);
  };
  if (!entry(library.rqextver, "rqextver") || !entry(library.rqvercn1, "rqvercn1") ||
      !entry(library.rquni, "rquni")) {
    return missing;
  }
  Dl_info info;
  if (dladdr(reinterpret_cast<void*>(library.rquni), &info) != 0) library.path_ = info.dli_fname;
  return library;
}

}  // namespace rq::host
