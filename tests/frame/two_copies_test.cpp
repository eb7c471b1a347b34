/* Two copies of the library in one process, the first of them loaded for everybody (RTLD_GLOBAL): what the second one
 * refers to of its own functions must be its own. */
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "frame/rquni.h"
#include "tests/model/mock_host.h"

namespace rq::test {
namespace {

/// The library under another file name, so that the loader takes it for another one.
class Copy {
 public:
  Copy(const std::string& name, int flags) : path_(testing::TempDir() + name) {
    std::filesystem::copy_file(RQ_LIBRARY_PATH, path_, std::filesystem::copy_options::overwrite_existing);
    handle_ = dlopen(path_.c_str(), RTLD_NOW | flags);
    if (!handle_) ADD_FAILURE() << dlerror();
  }
  ~Copy() {
    if (handle_) dlclose(handle_);
    std::filesystem::remove(path_);
  }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;

  bool isLoaded() const { return handle_ != nullptr; }
  template <class T>
  T symbol(const char* name) const {
    return reinterpret_cast<T>(dlsym(handle_, name));
  }
  RQInterface* makeObject(MockHost& host) const {
    symbol<RQStatus (*)(RQKernel*)>("rqextent")(host.kernel());
    return symbol<RQInterface* (*)(RQContext*, RQJournal*)>("rquni")(host.context(), host.journal());
  }
  /// Whether code or data at `address` belongs to this copy.
  bool holds(const void* address) const {
    Dl_info info;
    return dladdr(address, &info) != 0 && path_ == info.dli_fname;
  }

 private:
  std::string path_;
  void* handle_;
};

/// The function in word `index` of an object.
const void* wordOf(const RQInterface* object, std::size_t index) {
  const void* word;
  std::memcpy(&word, reinterpret_cast<const char*>(object) + 8 * index, sizeof word);
  return word;
}

TEST(TwoCopies, EverySlotLeadsIntoTheCopyThatMadeTheObject) {
  const Copy first("rquni_first.so", RTLD_GLOBAL), second("rquni_second.so", RTLD_LOCAL);
  ASSERT_TRUE(first.isLoaded() && second.isLoaded());
  for (const Copy* copy : {&first, &second}) {
    MockHost host;
    RQInterface* const object = copy->makeObject(host);
    ASSERT_NE(object, nullptr);
    for (const std::size_t word : {3U, 4U, 6U}) EXPECT_TRUE(copy->holds(wordOf(object, word))) << "word " << word;
    for (std::size_t word = 60; word < 129; ++word) EXPECT_TRUE(copy->holds(wordOf(object, word))) << "word " << word;
    object->destroy(object);
  }
}

}  // namespace
}  // namespace rq::test
