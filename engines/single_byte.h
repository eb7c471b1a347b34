// Session encodings of one byte a character, with the functions of a form.
#ifndef RQUNI_ENGINES_SINGLE_BYTE_H
#define RQUNI_ENGINES_SINGLE_BYTE_H

#include <cstdint>

#include "frame/rquni.h"

namespace rq::engines {

struct Ascii {
  static std::uint64_t read(const std::uint8_t* in, std::uint64_t, RQChar* character) {
    *character = in[0];
    return in[0] < 0x80 ? 1 : 0;
  }
  static std::uint64_t write(RQChar character, std::uint8_t* out) {
    out[0] = static_cast<std::uint8_t>(character);
    return character < 0x80 ? 1 : 0;
  }
};

/// A superset of ASCII.
class SingleByte {
 public:
  /// Adds what a byte from 0x80 up stands for. Each byte once, in ascending order.
  void add(std::uint8_t byte, RQChar character);

  std::uint64_t read(const std::uint8_t* in, std::uint64_t, RQChar* character) const {
    *character = in[0] < 0x80 ? in[0] : characters_[in[0] - 0x80];
    return *character != unassigned || in[0] == 0 ? 1 : 0;
  }
  std::uint64_t write(RQChar character, std::uint8_t* out) const;

 private:
  static constexpr RQChar unassigned = 0;  // no byte from 0x80 up stands for U+0000
  struct Entry {
    RQChar character;
    std::uint8_t byte;
  };

  RQChar characters_[128] = {};
  Entry entries_[128] = {};  // in ascending order of the characters
  int count_ = 0;
};

}  // namespace rq::engines

#endif
