#include "bench/peers/stringzilla.h"

#if __has_include(<stringzilla/stringzilla.h>)
#include <stringzilla/stringzilla.h>

namespace rq::bench::stringzilla {
namespace {

std::int64_t index(const char* hit, const char* p) {
  return hit ? hit - p : -1;
}

struct Table {
  char map[256];
  explicit constexpr Table(char first) : map() {
    for (int c = 0; c < 256; ++c) map[c] = static_cast<char>(c - first >= 0 && c - first < 26 ? c ^ 0x20 : c);
  }
};

}  // namespace

const bool installed = true;

std::int64_t find(const char* p, std::size_t n, char c) {
  return index(sz_find_byte(p, n, &c), p);
}
std::int64_t findNot(const char* p, std::size_t n, char c) {
  sz_byteset_t set;
  sz_byteset_init(&set);
  sz_byteset_add(&set, c);
  sz_byteset_invert(&set);
  return index(sz_find_byteset(p, n, &set), p);
}
int compare(const char* a, const char* b, std::size_t n) {
  return static_cast<int>(sz_order(a, n, b, n));
}
void fill(char* p, char value, std::size_t n) {
  sz_fill(p, n, static_cast<sz_u8_t>(value));
}
void copy(char* to, const char* from, std::size_t n) {
  sz_copy(to, from, n);
}
void move(char* to, const char* from, std::size_t n) {
  sz_move(to, from, n);
}
void upper(char* p, std::size_t n) {
  static constexpr Table table('a');
  sz_lookup(p, n, p, table.map);
}
void lower(char* p, std::size_t n) {
  static constexpr Table table('A');
  sz_lookup(p, n, p, table.map);
}

}  // namespace rq::bench::stringzilla

#else

namespace rq::bench::stringzilla {

const bool installed = false;

std::int64_t find(const char*, std::size_t, char) {
  return -1;
}
std::int64_t findNot(const char*, std::size_t, char) {
  return -1;
}
int compare(const char*, const char*, std::size_t) {
  return 0;
}
void fill(char*, char, std::size_t) {}
void copy(char*, const char*, std::size_t) {}
void move(char*, const char*, std::size_t) {}
void upper(char*, std::size_t) {}
void lower(char*, std::size_t) {}

}  // namespace rq::bench::stringzilla

#endif
