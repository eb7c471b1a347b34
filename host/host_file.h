// Hosts in shared objects, entered as frame/host_entry.h says.
#ifndef RQUNI_HOST_HOST_FILE_H
#define RQUNI_HOST_HOST_FILE_H

#include <string>

#include "frame/host_entry.h"
#include "host/result.h"

namespace rq::host {

/// What rquni_host stores. It stays valid until the process ends.
struct HostTables {
  RQKernel* kernel = nullptr;
  RQContext* context = nullptr;
};

using HostEntry = RQStatus (*)(RQKernel** kernel, RQContext** context);

/// Loads the shared object and finds its entry point. It is never unloaded.
Result<HostEntry> loadHost(const std::string& path);

/// Calls the entry point. The error says what the host leaves undone.
Result<HostTables> enterHost(HostEntry entry);

}  // namespace rq::host

#endif
