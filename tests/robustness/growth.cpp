// The worst texts for one operation at two lengths; callgrind counts the instructions of the calls alone.
//
//   rq_growth OPERATION BYTES all       every text in turn, in each flavour: n bytes, then 2n, batch by batch
//   rq_growth OPERATION BYTES known     those that are known to be worst, each a batch of its own
//   rq_growth OPERATION BYTES largest   the worst of these alone
//   rq_growth --list                    the operations
//
// A line for each batch: the pieces that repeat in its texts. Each return of countedBatch is one figure of callgrind,
// first that of n bytes, then that of 2n.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/robustness/worst_texts.h"

namespace rq::test {
namespace {

/// What notations are made of.
constexpr std::u32string_view alphabet = U"&#x;\\uU<>09D";

using Batch = std::vector<WorstText>;

/// The piece alone, and with the terminators that only the very end brings.
void add(Batch& batch, const std::u32string& piece) {
  batch.push_back({piece, U""});
  batch.push_back({piece, terminators});
}

/// More characters than any memory of answers holds, as themselves and in each notation, none of them twice.
std::u32string distinctCharacters() {
  std::u32string text;
  for (char32_t c = 0x3400; c < 0x3400 + 20000; ++c) {
    char notations[64];
    const auto value = static_cast<unsigned>(c);
    std::snprintf(notations, sizeof notations, "&#%u;\\u%04X<U%04X>", value, value, value);
    text += c;
    for (const char* unit = notations; *unit != '\0'; ++unit) text += static_cast<unsigned char>(*unit);
  }
  return text;
}

std::vector<Batch> largestBatch(const Worst& which) {
  return {{{which.pieces[0], U""}}};
}

std::vector<Batch> knownBatches(const Worst& which) {
  std::vector<Batch> batches;
  for (const char32_t* piece : which.pieces) batches.push_back({{piece, U""}, {piece, terminators}});
  batches.push_back({{distinctCharacters(), U""}});
  return batches;
}

/// Every piece of one to three characters. Batches are small, so that one text that grows too fast shows in its sum.
std::vector<Batch> allBatches() {
  std::vector<Batch> batches;
  for (const char32_t first : alphabet) {
    batches.emplace_back();
    add(batches.back(), std::u32string(1, first));
    for (const char32_t second : alphabet) add(batches.back(), {first, second});
    for (const char32_t second : alphabet) {
      batches.emplace_back();
      for (const char32_t third : alphabet) add(batches.back(), {first, second, third});
    }
  }
  return batches;
}

/// A call that is ready to be made.
struct Prepared {
  const Slot* slot;
  std::vector<std::uint8_t> input;
};

}  // namespace

/// callgrind writes one figure at each return: the sum of the instructions of these calls.
__attribute__((noinline)) void countedBatch(Session& session, const std::vector<Prepared>& calls,
                                            std::vector<std::uint8_t>& output) {
  for (const Prepared& call : calls) {
    const Slot& slot = *call.slot;
    callSlot(slot, slotsOf(session.object, slot.flavour), session.object, call.input.data(),
             call.input.size() / slot.inputUnit(), output.data(),
             output.size() / slot.outputUnit() - RQ_OUTPUT_SLACK_BYTES, false);
  }
}

namespace {

void printPieces(const Batch& batch) {
  for (const WorstText& text : batch) {
    if (&text != &batch.front() && !text.end.empty()) continue;
    std::putchar(' ');
    for (const char32_t c : text.piece.substr(0, 12))
      std::printf(c > 0x20 && c < 0x7F ? "%c" : "{%X}", static_cast<unsigned>(c));
  }
  std::putchar('\n');
}

void run(const char* operation, const std::vector<Batch>& batches, std::size_t bytes) {
  std::vector<std::uint8_t> output(outputBytes(2 * bytes));
  for (const Batch& batch : batches)
    for (const Flavour flavour : allFlavours) {
      Session session(usualEncoding(flavour));
      session.host.recording = false;
      for (const std::size_t length : {bytes, 2 * bytes}) {
        std::vector<Prepared> calls;
        for (const Slot& slot : allSlots())
          if (slot.flavour == flavour && std::strcmp(slot.name, operation) == 0)
            for (const WorstText& text : batch) calls.push_back({&slot, inputOf(slot, text, length)});
        countedBatch(session, calls, output);
      }
      std::printf("%s %s", operation, nameOf(flavour));
      printPieces(batch);
    }
}

}  // namespace
}  // namespace rq::test

int main(int count, char** arguments) {
  using namespace rq::test;
  if (count == 2 && std::strcmp(arguments[1], "--list") == 0) {
    for (const Worst& which : worst) std::puts(which.operation);
    return 0;
  }
  if (count == 4)
    for (const Worst& which : worst) {
      if (std::strcmp(which.operation, arguments[1]) != 0) continue;
      const auto bytes = static_cast<std::size_t>(std::atol(arguments[2])) / 4 * 4;
      const std::string_view kind = arguments[3];
      if (kind != "all" && kind != "known" && kind != "largest") break;
      run(which.operation,
          kind == "all"     ? allBatches()
          : kind == "known" ? knownBatches(which)
                            : largestBatch(which),
          bytes);
      return 0;
    }
  std::fprintf(stderr, "usage: rq_growth OPERATION BYTES all|known|largest | --list\n");
  return 2;
}
