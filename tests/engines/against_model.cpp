#include "tests/engines/against_model.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "engines/kernel.h"
#include "engines/session.h"
#include "engines/single_byte.h"
#include "tests/differential/family.h"
#include "tests/model/encodings.h"

namespace rq::test {
namespace {

using engines::Failure;
using Bytes = std::vector<std::uint8_t>;

// --- Conversions.

/// The single-byte encoding that the model calls `cyrillic`.
engines::SingleByte cyrillicTable() {
  engines::SingleByte table;
  for (int byte = 0x80; byte <= 0xDF; ++byte)
    table.add(static_cast<std::uint8_t>(byte), static_cast<RQChar>(byte - 0x80 + 0x400));
  return table;
}
const engines::SingleByte singleByte = cyrillicTable();
const engines::Utf8 utf8Form;
const engines::Ascii asciiOnly;

struct Kind {
  const engines::Conversions& conversions;
  const void* encoding;
  std::uint32_t model;
};
const Kind kinds[] = {
    {engines::conversionsOf<engines::Utf8>, &utf8Form, utf8},
    {engines::conversionsOf<engines::Ascii>, &asciiOnly, ascii},
    {engines::conversionsOf<engines::SingleByte>, &singleByte, cyrillic},
};
constexpr std::uint32_t formsOfTheModel[] = {utf8, utf16Big, utf16Little, utf32Big, utf32};

RQChar anyCharacter(Choices& choices) {
  static constexpr RQChar edges[] = {0,      1,      0x1A,   0x7F,    0x80,     0x7FF,   0x800,
                                     0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF, 0x1F600, 0x45F};
  switch (choices.below(4)) {
    case 0:
      return edges[choices.below(std::size(edges))];
    case 1:
      return choices.below(0x80);
    case 2:
      return 0x400 + choices.below(0x60);
    default:
      break;
  }
  const RQChar character = choices.below(0x1100) * 0x100U + choices.byte();
  return engines::isScalar(character) ? character : 0xFFFD;
}

/// A text of the encoding, whole or with errors: some bytes are others, some are gone.
Bytes anyText(Choices& choices, const Encoding& encoding) {
  Bytes bytes;
  for (std::uint32_t i = choices.below(20); i > 0; --i) {
    std::uint8_t written[8];
    unsigned page = 0;
    const std::size_t length = encoding.write(anyCharacter(choices), false, page, written);
    bytes.insert(bytes.end(), written, written + length);
  }
  if (bytes.empty()) return bytes;
  if (choices.oneIn(3)) bytes[choices.below(0x10000) % bytes.size()] = choices.byte();
  if (choices.oneIn(3)) bytes.resize(choices.below(0x10000) % (bytes.size() + 1));
  return bytes;
}

/// The same conversion by the model. U+0000 becomes the engines' substitute on its way to the session.
struct Expected {
  std::uint64_t produced = 0, read = 0;
  Failure failure = Failure::none;
};
Expected expectedOf(const Encoding& from, const Encoding& to, bool toSession, const Bytes& in, Bytes& out,
                    std::uint64_t capacity) {
  Expected expected;
  unsigned readPage = 0, writePage = 0;
  while (expected.read < in.size()) {
    Characters characters;
    const std::size_t length =
        from.read(in.data() + expected.read, in.size() - expected.read, false, readPage, characters);
    if (length == 0) return expected.failure = Failure::unreadable, expected;
    const bool isZero = toSession && characters.at[0] == 0;
    std::uint8_t written[8];
    const std::size_t bytes = to.write(isZero ? 0x1A : characters.at[0], false, writePage, written);
    if (bytes == 0) return expected.failure = Failure::lacking, expected;
    if (bytes > capacity - expected.produced) return expected.failure = Failure::outputFull, expected;
    out.insert(out.end(), written, written + bytes);
    expected.produced += bytes;
    expected.read += length;
  }
  return expected;
}

void compareConversion(Choices& choices) {
  const Kind& kind = kinds[choices.below(std::size(kinds))];
  const std::uint32_t form = formsOfTheModel[choices.below(std::size(formsOfTheModel))];
  const bool toSession = choices.oneIn(2);
  const Encoding& from = *encodingOf(toSession ? form : kind.model);
  const Encoding& to = *encodingOf(toSession ? kind.model : form);
  const Bytes text = anyText(choices, from);
  const std::uint64_t capacity = choices.below(static_cast<std::uint32_t>(4 * text.size() + 8));

  engines::Session session(kind.conversions, kind.encoding);
  RQNlsServices* const nls = session.context()->nls;
  const auto identifier = static_cast<std::uint64_t>(engines::sessionIdentifier);
  RQTranscoder* const transcoder =
      nls->createTranscoder(nls, toSession ? form : identifier, toSession ? identifier : form, 0, 0);
  // Blocks of exactly the sizes: a sanitizer sees what lies beyond.
  const auto in = std::make_unique<std::uint8_t[]>(text.size());
  std::copy(text.begin(), text.end(), in.get());
  const auto out = std::make_unique<std::uint8_t[]>(capacity);
  Bytes expectedBytes;
  std::uint64_t produced = ~std::uint64_t{0};
  const RQStatus status = transcoder->convert(transcoder, in.get(), text.size(), out.get(), capacity, &produced, 0);
  const Expected expected = expectedOf(from, to, toSession, text, expectedBytes, capacity);

  const char* const where = toSession ? "to the session" : "from the session";
  expect(produced == expected.produced, "the length", where);
  expect(std::equal(expectedBytes.begin(), expectedBytes.end(), out.get()), "the bytes", where);
  expect((status == RQ_SUCCESS) == (expected.failure == Failure::none), "the status", where);
  expect(session.firstFailure.failure == expected.failure, "the failure", where);
  if (expected.failure == Failure::none) return;
  expect(session.firstFailure.read == expected.read, "the place of the failure", where);
  expect(session.firstFailure.written == expected.produced, "what was written before the failure", where);
}

// --- Pools.

int blocksOfTheEngine = 0;
int callsLeft = 0;  // before the engine refuses one

void* take(void* owner, std::uint64_t bytes) {
  expect(owner == &blocksOfTheEngine, "the owner", "take");
  if (callsLeft-- == 0 || bytes > 1 << 20) return nullptr;
  ++blocksOfTheEngine;
  return std::malloc(bytes);
}
void giveBack(void* block) {
  --blocksOfTheEngine;
  std::free(block);
}

struct Block {
  std::uint8_t* bytes;
  std::uint64_t length;
  std::uint8_t fill;
};
void expectWhole(const Block& block) {
  for (std::uint64_t i = 0; i < block.length; ++i) expect(block.bytes[i] == block.fill, "a block's bytes", "pool");
}

void comparePool(Choices& choices) {
  engines::Kernel kernel({.take = take, .giveBack = giveBack, .owner = &blocksOfTheEngine});
  kernel.registerWithLibrary();
  RQPoolParameters parameters = {};
  callsLeft = choices.oneIn(4) ? choices.byte() % 8 : -1;
  RQPool* const pool = Exported_RQHandle->createPool(Exported_RQHandle, &parameters, nullptr, "a test");
  if (!pool) return expect(callsLeft < 0 && blocksOfTheEngine == 0, "a pool refused", "pool");
  std::vector<Block> blocks;
  for (std::uint32_t i = choices.below(40); i > 0; --i) {
    if (!blocks.empty() && choices.oneIn(2)) {
      std::swap(blocks[choices.below(0x10000) % blocks.size()], blocks.back());
      expectWhole(blocks.back());
      pool->release(pool, blocks.back().bytes);
      blocks.pop_back();
      continue;
    }
    const std::uint64_t length = choices.oneIn(8) ? ~std::uint64_t{0} - choices.below(64) : choices.below(300);
    const int before = blocksOfTheEngine;
    auto* const bytes = static_cast<std::uint8_t*>(pool->allocate(pool, length, 0));
    expect(blocksOfTheEngine == before + (bytes ? 1 : 0), "a block of the engine for each block", "pool");
    if (!bytes) continue;
    expect(length < 300 && reinterpret_cast<std::uintptr_t>(bytes) % 8 == 0, "a block", "pool");
    blocks.push_back({bytes, length, choices.byte()});
    std::fill_n(bytes, length, blocks.back().fill);
  }
  for (const Block& block : blocks) expectWhole(block);
  expect(blocksOfTheEngine == static_cast<int>(blocks.size()) + 1, "blocks in use", "pool");
  expect(pool->destroy(pool) == RQ_SUCCESS && blocksOfTheEngine == 0, "all blocks are given back", "pool");
}

}  // namespace

void compareEnginesWithModel(Choices& choices) {
  if (choices.oneIn(8))
    comparePool(choices);
  else
    compareConversion(choices);
}

}  // namespace rq::test
