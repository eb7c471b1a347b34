/* Two copies of the library in one process, the first one loaded for everybody (RTLD_GLOBAL): each must use its own
 * functions. */
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "tests/model/library.h"
#include "tests/model/mock_host.h"

namespace rq::test {
namespace {

/// The library under another file name, so that the loader takes it for another one.
class Copy {
 public:
  Copy(const std::string& name, int flags) : file_(testing::TempDir() + name), library_(file_.path.c_str(), flags) {}

  RQInterface* makeObject(MockHost& host) const {
    library_.rqextent(host.kernel());
    return library_.rquni(host.context(), host.journal());
  }
  /// Whether code or data at `address` belongs to this copy.
  bool holds(const void* address) const {
    Dl_info info;
    return dladdr(address, &info) != 0 && file_.path == info.dli_fname;
  }

 private:
  struct File {
    explicit File(const std::string& name) : path(name) {
      std::filesystem::copy_file(RQ_LIBRARY_PATH, path, std::filesystem::copy_options::overwrite_existing);
    }
    ~File() { std::filesystem::remove(path); }
    const std::string path;
  };

  const File file_;
  const Library library_;
};

/// The function in word `index` of an object.
const void* wordOf(const RQInterface* object, std::size_t index) {
  const void* word;
  std::memcpy(&word, reinterpret_cast<const char*>(object) + 8 * index, sizeof word);
  return word;
}

TEST(TwoCopies, EverySlotLeadsIntoTheCopyThatMadeTheObject) {
  const Copy first("rquni_first.so", RTLD_NOW | RTLD_GLOBAL), second("rquni_second.so", RTLD_NOW | RTLD_LOCAL);
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
