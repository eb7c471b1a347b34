// Tables whose unlisted words are traps: a call through one prints the table and the word, and aborts.
#ifndef RQUNI_HOST_GUARDED_H
#define RQUNI_HOST_GUARDED_H

#include <algorithm>
#include <cstddef>
#include <utility>

namespace rq::host {

/// A table's name as a template argument.
template <std::size_t size>
struct TableName {
  char text[size];
  consteval TableName(const char (&name)[size]) { std::copy_n(name, size, text); }
};

[[noreturn]] void reportForbiddenCall(const char* table, unsigned word) noexcept;

template <TableName name, unsigned word>
[[noreturn]] void forbiddenSlot() {
  reportForbiddenCall(name.text, word);
}

/// Fills `gap`, which begins at word `from` of the table, with a trap for each word.
template <TableName name, unsigned from, std::size_t count>
void forbid(void* (&gap)[count]) {
  [&gap]<std::size_t... i>(std::index_sequence<i...>) {
    ((gap[i] = reinterpret_cast<void*>(&forbiddenSlot<name, from + static_cast<unsigned>(i)>)), ...);
  }
  (std::make_index_sequence<count>());
}

/// A host table followed by traps, which catch slot numbers beyond its last word. The derived class fills the listed
/// words and forbids the gaps.
template <class Table, TableName name>
struct Guarded : Table {
  static constexpr unsigned tableWords = sizeof(Table) / sizeof(void*);
  static constexpr unsigned guardedWords = 192;
  static_assert(tableWords < guardedWords);

  Guarded() : Table{} { forbid<name, tableWords>(beyond); }
  void* beyond[guardedWords - tableWords];
};

}  // namespace rq::host

#endif
