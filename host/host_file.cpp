#include "host/host_file.h"

#include <dlfcn.h>

namespace rq::host {
namespace {

Error missing(const char* what) {
  return {Error::Kind::system, what};
}

}  // namespace

Result<HostEntry> loadHost(const std::string& path) {
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* address = handle ? ::dlsym(handle, "rquni_host") : nullptr;
  if (address) return reinterpret_cast<HostEntry>(address);
  const char* message = ::dlerror();
  return missing(message ? message : "no reason given");
}

Result<HostTables> enterHost(HostEntry entry) {
  HostTables tables;
  const RQStatus status = entry(&tables.kernel, &tables.context);
  if (status != RQ_SUCCESS) return Error{Error::Kind::system, "it returns status " + std::to_string(status)};
  if (!tables.kernel) return missing("no kernel is stored");
  if (!tables.context) return missing("no context is stored");
  return tables;
}

}  // namespace rq::host
