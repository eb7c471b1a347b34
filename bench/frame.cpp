// Making and ending an interface object, what a transform adds to the transcoder's call, and the blank fill.
#include <unicode/ustring.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "bench/families.h"
#include "bench/peers/loops.h"
#include "bench/support/cell.h"
#include "bench/support/host.h"
#include "bench/support/library.h"
#include "bench/support/row.h"

namespace rq::bench {
namespace {

void creation() {
  const auto create = RQ_OURS(rquni);
  const bool ready = object(RQ_ENCODING_UTF8);
  auto call = [=] {
    setSession(RQ_ENCODING_UTF8);
    RQInterface* const made = create(context(), nullptr);
    return made ? made->destroy(made) : 1;
  };
  Cell ours{"frame/rquni+destroy/1/ours", 0};
  ours.refusal = [=]() -> const char* { return !ready ? "not built" : call() == 0 ? nullptr : "wrong answer"; };
  timed(ours, call);
  timed(Cell{"frame/rquni+destroy/1/host", 0}, [] { return createDirectly(); });
}

std::uint64_t callSlot(RQTransform slot, RQInterface* object, void* output) {
  std::uint64_t written = 0;
  slot(object, "0123456789abcdef", 16, output, 64, &written);
  return written;
}
std::uint64_t callSlot(RQPaddedTransform slot, RQInterface* object, void* output) {
  std::uint64_t written = 0;
  slot(object, "0123456789abcdef", 16, output, 64, &written, 0);
  return written;
}
template <class Slot>
std::uint64_t callSlot(Slot, RQInterface*, void*) {
  return 0;  // measured elsewhere
}

char output[512];

template <class Slot>
void transform(const char* flavour, const char* function, Slot slot, RQInterface* object) {
  if (!std::is_same_v<Slot, RQPaddedTransform> && !std::string_view(function).starts_with("GetUTF") &&
      !std::string_view(function).starts_with("PutUTF8"))
    return;
  const std::string row = std::string("frame/") + flavour + function + "/16B/";
  timed(Cell{row + "ours", 16}, [=] { return callSlot(slot, object, output); });
  const auto calls = std::make_shared<std::vector<Conversion>>();
  Cell host{row + "host", 16};
  host.refusal = [=]() -> const char* {
    record();
    callSlot(slot, object, output);
    *calls = recorded();
    return calls->size() == 1 ? nullptr : "wrong answer";
  };
  timed(host, [=] { return replay(*calls); });
}

void transforms() {
  RQInterface* const object = bench::object(RQ_ENCODING_UTF8);
  if (!object) return;
#define OPERATION(position, slot, function, shape)             \
  if ((position) < 10 || (position) > 11) {                    \
    if ((position) != 16 && (position) != 17) {                \
      transform("ul", #function, object->plain.slot, object);  \
      transform("T_ul", #function, object->wide.slot, object); \
    }                                                          \
  }
#include "frame/operations.def"
#undef OPERATION
}

void blankFill() {
  RQInterface* const object = bench::object(RQ_ENCODING_UTF8);
  static std::vector<std::uint16_t> room((std::size_t{1} << 20) / 2 + 8);
  for (const auto& [size, bytes] : {std::pair{"64B", std::size_t{64}},
                                    {"256B", std::size_t{256}},
                                    {"1KiB", std::size_t{1} << 10},
                                    {"4KiB", std::size_t{4} << 10},
                                    {"32KiB", std::size_t{32} << 10},
                                    {"256KiB", std::size_t{256} << 10},
                                    {"1MiB", std::size_t{1} << 20}}) {
    const std::string row = std::string("frame/ulPutUTF16L padding/") + size + "/";
    const auto filled = [=, n = bytes]() -> const char* {
      return std::all_of(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(n / 2),
                         [](std::uint16_t u) { return u == 0x20; })
                 ? nullptr
                 : "wrong answer";
    };
    const auto clear = [] { std::fill(room.begin(), room.end(), std::uint16_t{1}); };
    auto add = [&, n = bytes](const std::string& column, bool built, auto call) {
      Cell cell{row + column, static_cast<double>(n), 0, clear};
      cell.refusal = [=]() -> const char* {
        if (!built) return "not built";
        call();
        return filled();
      };
      timed(cell, [=] { return call(), 0; });
    };
    add("ours", object, [=, n = bytes] {
      std::uint64_t written = 0;
      object->plain.putUTF16L(object, "", 0, room.data(), n, &written, 1);
    });
    add("u_memset", true,
        [n = bytes] { u_memset(reinterpret_cast<UChar*>(room.data()), 0x20, static_cast<int32_t>(n / 2)); });
    for (const Loops* loops : {&loopsV3, &loopsNative})
      add(loops->column, true, [=, n = bytes] { loops->fillHalves(room.data(), 0x20, n / 2); });
  }
}

}  // namespace

void registerFrame() {
  creation();
  transforms();
  blankFill();
}

}  // namespace rq::bench
