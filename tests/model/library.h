/* The library under test, loaded as a host loads it: dlopen by path, symbols by name. */
#ifndef RQUNI_TESTS_MODEL_LIBRARY_H
#define RQUNI_TESTS_MODEL_LIBRARY_H

#include "frame/rquni.h"

namespace rq::test {

class Library {
 public:
  /// The library of this build, loaded once.
  static const Library& get();
  /// Loads the library at `path` with the flags of dlopen; ends the process with a message when that fails.
  Library(const char* path, int flags);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// The symbol's address, or null.
  void* find(const char* name) const;
  /// The same, but a missing symbol ends the process with a message.
  template <class T>
  T symbol(const char* name) const {
    return reinterpret_cast<T>(require(name));
  }

  RQInterface* (*rquni)(RQContext*, RQJournal*);
  RQStatus (*rqextent)(RQKernel*);
  RQKernel** exportedHandle;

 private:
  void* require(const char* name) const;
  void* handle_;
};

}  // namespace rq::test

#endif
