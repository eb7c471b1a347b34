// Whole texts through the slots, against the host's own conversions; and the memory that they use.
#include "host/text_work.h"

#include <sys/mman.h>

#include <fstream>

#include "tests/host/support.h"

namespace rq::test {
namespace {

using host::TextWork;

TEST(Buffer, KeepsWhatItIsToldToKeep) {
  for (const std::size_t keep : {0U, 1U, 2U, 100U}) {
    host::Buffer buffer;
    EXPECT_EQ(buffer.atLeast(0).size(), 0U);
    const host::MutableBytes small = buffer.atLeast(100);
    EXPECT_EQ(small.size(), 100U);
    std::ranges::fill(small, std::byte{7});
    EXPECT_EQ(buffer.atLeast(100).data(), small.data());
    const host::MutableBytes larger = buffer.atLeast(101, keep);
    EXPECT_GE(larger.size(), 101U);
    EXPECT_EQ(std::ranges::count(larger.first(keep), std::byte{7}), keep);
  }
}

/// Growing a buffer by little costs little when it is done often: what is kept is copied seldom.
TEST(Buffer, GrowsToTwiceItsSizeWhenItKeeps) {
  host::Buffer buffer;
  buffer.atLeast(1000);
  EXPECT_EQ(buffer.atLeast(1001, 1).size(), 2000U);
  EXPECT_EQ(buffer.atLeast(5000, 1).size(), 5000U);
  EXPECT_EQ(buffer.atLeast(5001).size(), 5001U);
}

/// The parts of a mapping that the system was advised to back by large pages, by their offsets.
std::vector<std::pair<std::size_t, std::size_t>> advised(const std::byte* begin, std::size_t bytes) {
  std::vector<std::pair<std::size_t, std::size_t>> parts;
  std::ifstream maps("/proc/self/smaps");
  const auto base = reinterpret_cast<std::uintptr_t>(begin);
  std::uintptr_t first = 0, last = 0, low = 0, high = 0;
  for (std::string line; std::getline(maps, line);) {
    if (std::sscanf(line.c_str(), "%lx-%lx ", &low, &high) == 2) std::tie(first, last) = std::tie(low, high);
    const bool flags = line.starts_with("VmFlags:") && line.find(" hg") != std::string::npos;
    if (flags && first < base + bytes && last > base)
      parts.emplace_back(std::max(first, base) - base, std::min(last, base + bytes) - base);
  }
  return parts;
}

TEST(LargePages, ArePreferredForWholeOnes) {
  constexpr std::size_t page = 2 << 20, bytes = 8 * page;
  const auto map = [](auto&& use) {
    void* const memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    const auto at = reinterpret_cast<std::uintptr_t>(memory);
    use(static_cast<std::byte*>(memory) + (page - at % page) % page);
    ::munmap(memory, bytes);
  };
  bool known = false;
  map([&](std::byte* aligned) {
    known = ::madvise(aligned, page, MADV_HUGEPAGE) == 0 && !advised(aligned, page).empty();
  });
  if (!known) GTEST_SKIP() << "the system has no large pages";
  const struct {
    std::size_t offset, bytes;
    std::vector<std::pair<std::size_t, std::size_t>> parts;
  } rows[] = {
      {0, page, {{0, page}}},
      {0, 2 * page, {{0, 2 * page}}},
      {0, page - 1, {}},
      {1, page, {}},
      {1, 2 * page - 1, {{page, 2 * page}}},
      {1, 2 * page - 2, {}},
      {page - 1, page + 1, {{page, 2 * page}}},
      {page / 2, 4 * page, {{page, 4 * page}}},
      {page, 2 * page + 4096, {{page, 3 * page}}},
  };
  for (const auto& row : rows) {
    map([&](std::byte* aligned) {
      host::preferLargePages(aligned + row.offset, row.bytes);
      EXPECT_EQ(advised(aligned, bytes - page), row.parts) << row.offset << ", " << row.bytes;
    });
  }
}

/// One flavour of a session.
class Work {
 public:
  Work(const char* encoding, bool wide)
      : host_(identifierOf(encoding)),
        session_(std::move(*host::Session::open(library_, host_))),
        work_(session_.object(), wide ? session_->wide : session_->plain, encodingNamed(encoding), wide) {}
  TextWork* operator->() { return &work_; }

 private:
  const host::Library library_ = loadLibrary();
  host::Host host_;
  host::Session session_;
  TextWork work_;
};

std::string stringOf(const host::Result<host::Bytes>& bytes) {
  return bytes ? std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size()) : bytes.error().text;
}

constexpr RQForm writtenForms[] = {RQ_FORM_UTF8, RQ_FORM_UTF16_BIG, RQ_FORM_UTF16_LITTLE, RQ_FORM_UTF32_BIG,
                                   RQ_FORM_UTF32_LITTLE};

/// Texts of one character, of every length about the sizes of buffers.
TEST(TextWorkTest, ConvertsFormsAsTheHostDoes) {
  const std::pair<const char*, bool> sessions[] = {{"UTF-8", false},     {"ISO-8859-1", false}, {"GB18030", false},
                                                   {"Shift_JIS", false}, {"UTF-16LE", false},   {"UTF-32LE", true}};
  for (const auto& [session, wide] : sessions) {
    Work work(session, wide);
    for (const char* character : {"a", "\u00E9", "\u65E5", "\U0001F600"}) {
      if (convert("UTF-8", session, character).outcome != host::Outcome::done) continue;
      for (const std::size_t count : {0U, 1U, 15U, 16U, 63U, 64U, 65U, 255U, 256U, 1000U, 5000U}) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) text += character;
        const std::string inSession = convert("UTF-8", session, text, 30'000).bytes;
        for (const RQForm form : writtenForms) {
          const std::string inForm = convert("UTF-8", host::encodingOf(form).name, text, 30'000).bytes;
          EXPECT_TRUE(stringOf(work->fromForm(form, bytesOf(inForm))) == inSession) << session << character << count;
          EXPECT_TRUE(stringOf(work->toForm(form, bytesOf(inSession))) == inForm) << session << character << count;
        }
      }
    }
  }
}

/// A field has its size and holds the text; what is left of it is blanks.
TEST(TextWorkTest, FillsFields) {
  for (const auto& [session, wide] : {std::pair("UTF-8", false), {"UTF-32LE", true}}) {
    Work work(session, wide);
    for (const std::string& text : {std::string(), std::string("a"), std::string("ab"), std::string(1000, 'x')}) {
      const std::string inSession = convert("UTF-8", session, text, 30'000).bytes;
      for (const RQForm form : {RQ_FORM_UTF16_BIG, RQ_FORM_UTF16_LITTLE, RQ_FORM_UTF32_BIG, RQ_FORM_UTF32_LITTLE}) {
        const std::string& name = host::encodingOf(form).name;
        const std::string exact = convert("UTF-8", name, text, 30'000).bytes;
        for (const std::size_t blanks : {0U, 4U, 400U}) {
          std::string expected = exact;
          while (expected.size() < exact.size() + blanks) expected += convert("UTF-8", name, " ").bytes;
          if (expected.size() % 4 != 0) continue;
          EXPECT_EQ(stringOf(work->toForm(form, bytesOf(inSession), {}, expected.size())), expected)
              << session << text.size();
        }
        if (exact.size() < 8) continue;
        EXPECT_EQ(
            stringOf(work->toForm(form, bytesOf(inSession), {.offset = 3, .line = 4, .column = 1}, exact.size() - 4)),
            "the text does not fit into the field: it begins at offset 3, line 4");
      }
    }
  }
}

/// Notations of every length about the sizes of buffers, as they are written and as they are read.
TEST(TextWorkTest, WritesAndReadsNotations) {
  struct Row {
    const char* character;
    std::array<const char*, 3> written, read;
  };
  const Row rows[] = {
      {"\u00E9", {"&#233;", "\\u00E9", "<u00E9>"}, {"&#xE9;", "\\u00e9", "<U00E9>"}},
      {"\U0001F600", {"&#128512;", "\\u0001F600", "<u0001F600>"}, {"&#x1F600;", "\\U0001F600", "<U0001F600>"}},
      {"a", {"a", "a", "<u0061>"}, {"&#97;", "\\u0061", "<u0061>"}}};
  constexpr host::Notation notations[] = {host::Notation::ncr, host::Notation::uesc, host::Notation::uparen};
  for (const auto& [session, wide] :
       {std::pair("UTF-8", false), {"ISO-8859-1", false}, {"GB18030", false}, {"UTF-32LE", true}}) {
    Work work(session, wide);
    const auto repeated = [encoding = session](const char* part, std::size_t count) {
      std::string text;
      for (std::size_t i = 0; i < count; ++i) text += part;
      return convert("UTF-8", encoding, text, 200'000).bytes;
    };
    for (const Row& row : rows) {
      if (convert("UTF-8", session, row.character).outcome != host::Outcome::done) continue;
      for (const std::size_t count : {0U, 1U, 6U, 7U, 63U, 64U, 65U, 255U, 256U, 257U, 3000U}) {
        const std::string text = repeated(row.character, count);
        for (std::size_t i = 0; i < std::size(notations); ++i) {
          EXPECT_TRUE(stringOf(work->encode(notations[i], bytesOf(text))) == repeated(row.written[i], count))
              << row.written[i] << count;
          EXPECT_TRUE(stringOf(work->decode(notations[i], bytesOf(repeated(row.read[i], count)))) == text)
              << row.read[i] << count;
        }
      }
    }
  }
}

/// Texts of wide operations are whole units.
TEST(TextWorkTest, NeedsWholeUnits) {
  Work work("UTF-32LE", true);
  for (const std::size_t bytes : {1U, 2U, 3U, 5U}) {
    const std::string cut = std::string("a\0\0\0b\0\0\0", 8).substr(0, bytes);
    for (const std::string& problem : {stringOf(work->toForm(RQ_FORM_UTF8, bytesOf(cut))),
                                       stringOf(work->decode(host::Notation::ncr, bytesOf(cut))),
                                       stringOf(work->encode(host::Notation::ncr, bytesOf(cut))),
                                       work->measure(TextWork::Measure::length, bytesOf(cut)).error().text})
      EXPECT_TRUE(problem.starts_with("the text ends inside a character: bytes ")) << problem;
  }
}

TEST(TextWorkTest, MeasuresTexts) {
  for (const auto& [session, wide] : {std::pair("UTF-8", false), {"GB18030", false}, {"UTF-32LE", true}}) {
    Work work(session, wide);
    for (const std::size_t count : {0U, 1U, 7U, 64U, 1000U}) {
      std::string text;
      for (std::size_t i = 0; i < count; ++i) text += "\u65E5a";
      const std::string inSession = convert("UTF-8", session, text + "  ", 30'000).bytes;
      EXPECT_EQ(*work->measure(TextWork::Measure::length, bytesOf(inSession)), 2 * count) << session;
      EXPECT_EQ(*work->measure(TextWork::Measure::width, bytesOf(inSession)), 3 * count) << session;
    }
  }
}

}  // namespace
}  // namespace rq::test
