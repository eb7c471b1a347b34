// The library as a host finds it: a file to load, names to look up.
#ifndef RQUNI_HOST_LIBRARY_H
#define RQUNI_HOST_LIBRARY_H

#include <cstdint>
#include <memory>
#include <string>

#include "frame/interface.h"
#include "frame/registration.h"
#include "host/result.h"

namespace rq::host {

class Library {
 public:
  /// Loads `path` and finds the entry points. The dynamic loader searches for a name without a slash.
  static Result<Library> open(const std::string& path);

  /// Any further name that the library exports.
  template <class Symbol>
  Result<Symbol*> symbol(const char* name) const {
    Result<void*> address = find(name);
    if (!address) return address.error();
    return reinterpret_cast<Symbol*>(*address);
  }

  /// The file that the loader took.
  const std::string& path() const { return path_; }

  RQStatus (*rqextver)(RQKernel* kernel, std::uint64_t* major, std::uint64_t* minor) = nullptr;
  void (*rqvercn1)(RQVersionRecord* destination) = nullptr;
  RQInterface* (*rquni)(RQContext* context, RQJournal* journal) = nullptr;

 private:
  struct Close {
    void operator()(void* handle) const;
  };
  Library() = default;
  Result<void*> find(const char* name) const;

  std::unique_ptr<void, Close> handle_;
  std::string path_;
};

}  // namespace rq::host

#endif
