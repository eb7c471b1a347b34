// Integers whose value may be an expression of z3, memory that holds them, and the search through all paths of code
// that computes with them. begin.h puts them in place of the library's words.
#ifndef RQUNI_PROOF_SYMBOLIC_WORDS_H
#define RQUNI_PROOF_SYMBOLIC_WORDS_H

#include <z3++.h>

#include <array>
#include <concepts>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace rq::proof {

/// The solver, and the path through the code that is tried now.
class Prover {
 public:
  static Prover& get();

  /// Tries body(i) for all i below `cases`, each on every path that it can take. Prints a line with the name.
  void prove(const std::string& name, std::size_t cases, const std::function<void(std::size_t i)>& body);
  /// Values for which the code is not meant. Call it before the code.
  void assume(const z3::expr& condition) { solver_.add(condition); }
  /// What must hold for all values on this path.
  void claim(const z3::expr& condition, const char* what);
  void claim(bool condition, const char* what) { claim(context_.bool_val(condition), what); }
  /// The way that this path takes where the code asks for a condition.
  bool decide(const z3::expr& condition);
  /// A value that an expression has on this path; other paths have the others.
  std::uint64_t valueOf(const z3::expr& number);

  z3::context& context() { return context_; }
  std::uint32_t add(const z3::expr& expression);
  const z3::expr& at(std::uint32_t index) const { return nodes_[index]; }

  /// Prints the closing line and returns the exit code.
  int finish() const;

 private:
  struct Decision {
    bool taken, open;
    std::uint64_t value;
  };
  bool isPossible(const z3::expr& condition);
  bool next();

  z3::context context_;
  z3::solver solver_{context_, "QF_BV"};
  std::vector<z3::expr> nodes_;
  std::vector<Decision> decisions_;
  std::size_t depth_ = 0;
  std::string refutation_;
  unsigned proven_ = 0, refuted_ = 0;
};

/// An integer of type T. One that is an expression has a value that no code here computes with: a mark, and the
/// number of the expression. The size is T's, so that arrays and structures keep their layout; types below 32 bits
/// take 32 and lie in no memory.
template <class T>
struct Word {
  using Value = T;
  using Raw = std::conditional_t<(sizeof(T) > 4), std::uint64_t, std::uint32_t>;
  static constexpr unsigned bits = std::same_as<T, bool> ? 1 : 8 * sizeof(T);
  static constexpr unsigned numberBits = sizeof(Raw) == 8 ? 32 : 20;
  static constexpr Raw mark = sizeof(Raw) == 8 ? Raw(0xB5C3E1D7) : Raw(0xB5C);

  Raw raw;

  constexpr Word() : raw(0) {}
  template <std::integral A>
  constexpr Word(A value) : raw(rawOf(static_cast<T>(value))) {}
  template <class A>
  constexpr Word(Word<A> other);

  static Word of(const z3::expr& expression) {
    const z3::expr simple = expression.simplify();
    std::uint64_t value = 0;
    if (simple.is_bv() && simple.is_numeral_u64(value)) return Word(static_cast<T>(value));
    if (simple.is_true() || simple.is_false()) return Word(static_cast<T>(simple.is_true()));
    Word word;
    word.raw = static_cast<Raw>(mark << numberBits | Prover::get().add(simple));
    return word;
  }
  /// A value that is not known.
  static Word any(const std::string& name) { return of(Prover::get().context().bv_const(name.c_str(), bits)); }

  constexpr bool isKnown() const { return raw >> numberBits != mark; }
  std::uint32_t number() const { return static_cast<std::uint32_t>(raw & ((Raw{1} << numberBits) - 1)); }
  constexpr T known() const { return static_cast<T>(raw); }
  /// Of as many bits as T; of a bool a condition.
  z3::expr expression() const {
    if (!isKnown()) return Prover::get().at(number());
    if constexpr (std::same_as<T, bool>)
      return Prover::get().context().bool_val(known());
    else
      return Prover::get().context().bv_val(static_cast<std::uint64_t>(raw), bits);
  }
  /// Where the library needs a plain number: this path goes on with one of the possible values.
  constexpr T value() const { return isKnown() ? known() : chosen(); }
  template <class To>
  requires(std::same_as<To, T> || std::same_as<To, bool> || std::same_as<To, long> ||
           std::same_as<To, unsigned long>) constexpr
  operator To() const {
    if constexpr (std::same_as<To, bool> && !std::same_as<T, bool>)
      return Word<bool>(*this).value();
    else
      return static_cast<To>(value());
  }

  template <class B>
  constexpr Word& operator+=(const B& b) {
    return *this = Word(*this + b);
  }
  template <class B>
  constexpr Word& operator-=(const B& b) {
    return *this = Word(*this - b);
  }
  template <class B>
  constexpr Word& operator*=(const B& b) {
    return *this = Word(*this * b);
  }
  template <class B>
  constexpr Word& operator|=(const B& b) {
    return *this = Word(*this | b);
  }
  template <class B>
  constexpr Word& operator&=(const B& b) {
    return *this = Word(*this & b);
  }
  template <class B>
  constexpr Word& operator>>=(const B& b) {
    return *this = Word(*this >> b);
  }
  template <class B>
  constexpr Word& operator<<=(const B& b) {
    return *this = Word(*this << b);
  }
  constexpr Word& operator++() { return *this += 1; }
  constexpr Word operator++(int) {
    const Word before = *this;
    ++*this;
    return before;
  }
  constexpr Word& operator--() { return *this -= 1; }
  constexpr Word operator--(int) {
    const Word before = *this;
    --*this;
    return before;
  }

 private:
  T chosen() const {
    if constexpr (std::same_as<T, bool>)
      return Prover::get().decide(expression());
    else
      return static_cast<T>(Prover::get().valueOf(expression()));
  }
  static constexpr Raw rawOf(T value) {
    if constexpr (std::same_as<T, bool>)
      return value;
    else
      return static_cast<std::make_unsigned_t<T>>(value);
  }
};

template <class T>
struct ValueOf {
  using Type = T;
  static constexpr bool isWord = false;
};
template <class T>
struct ValueOf<Word<T>> {
  using Type = T;
  static constexpr bool isWord = true;
};
template <class T>
using Value = typename ValueOf<T>::Type;
template <class A, class B>
concept Operands = (ValueOf<A>::isWord || ValueOf<B>::isWord) && std::integral<Value<A>>&& std::integral<Value<B>>;

/// The conversion of C++ between integers.
template <class To, class From>
z3::expr converted(Word<From> from) {
  z3::context& context = Prover::get().context();
  z3::expr x = from.expression();
  constexpr unsigned bits = Word<To>::bits;
  if constexpr (std::same_as<From, bool>) {
    if constexpr (std::same_as<To, bool>)
      return x;
    else
      return z3::ite(x, context.bv_val(1, bits), context.bv_val(0, bits));
  } else if constexpr (std::same_as<To, bool>) {
    return x != context.bv_val(0, Word<From>::bits);
  } else if constexpr (bits < Word<From>::bits) {
    return x.extract(bits - 1, 0);
  } else if constexpr (bits > Word<From>::bits) {
    return std::is_signed_v<From> ? z3::sext(x, bits - Word<From>::bits) : z3::zext(x, bits - Word<From>::bits);
  } else {
    return x;
  }
}

template <class T>
template <class A>
constexpr Word<T>::Word(Word<A> other) : raw(0) {
  if (other.isKnown())
    *this = Word(other.known());
  else
    *this = of(converted<T>(other));
}

template <class A>
constexpr Word<Value<A>> word(const A& a) {
  return a;
}

// The arithmetic of C++: both operands in their common type. The compiler evaluates an operator only on known
// numbers.
#define RQ_OPERATOR(op, Result, name)                    \
  template <class A, class B>                            \
  requires Operands<A, B>                                \
  constexpr auto operator op(const A& a, const B& b) {   \
    const auto x = word(a);                              \
    const auto y = word(b);                              \
    if (!x.isKnown() || !y.isKnown()) return name(x, y); \
    return Word<Result>(x.known() op y.known());         \
  }
#define RQ_BINARY(op, name, ofSigned, ofUnsigned)                                                 \
  template <class A, class B>                                                                     \
  auto name(Word<A> x, Word<B> y) {                                                               \
    using Common = decltype(A{} + B{});                                                           \
    const z3::expr left = converted<Common>(x), right = converted<Common>(y);                     \
    return Word<decltype(A {} op B{})>::of(std::is_signed_v<Common> ? (ofSigned) : (ofUnsigned)); \
  }                                                                                               \
  RQ_OPERATOR(op, decltype(Value<A> {} op Value<B>{}), name)
RQ_BINARY(+, sum, left + right, left + right)
RQ_BINARY(-, difference, left - right, left - right)
RQ_BINARY(*, product, left* right, left* right)
RQ_BINARY(&, conjunction, left& right, left& right)
RQ_BINARY(|, disjunction, left | right, left | right)
RQ_BINARY(^, exclusive, left ^ right, left ^ right)
RQ_BINARY(<, less, z3::slt(left, right), z3::ult(left, right))
RQ_BINARY(>, greater, z3::sgt(left, right), z3::ugt(left, right))
RQ_BINARY(<=, lessOrEqual, z3::sle(left, right), z3::ule(left, right))
RQ_BINARY(>=, greaterOrEqual, z3::sge(left, right), z3::uge(left, right))
RQ_BINARY(==, equality, left == right, left == right)
RQ_BINARY(!=, inequality, left != right, left != right)

/// No path may divide by zero.
template <class A, class B>
auto quotient(Word<A> x, Word<B> y) {
  using Common = decltype(A{} + B{});
  const z3::expr left = converted<Common>(x), right = converted<Common>(y);
  Prover::get().claim(right != 0, "a divisor is not zero");
  return Word<Common>::of(std::is_signed_v<Common> ? left / right : z3::udiv(left, right));
}
template <class A, class B>
auto remainder(Word<A> x, Word<B> y) {
  using Common = decltype(A{} + B{});
  const z3::expr left = converted<Common>(x), right = converted<Common>(y);
  Prover::get().claim(right != 0, "a divisor is not zero");
  return Word<Common>::of(std::is_signed_v<Common> ? z3::srem(left, right) : z3::urem(left, right));
}
RQ_OPERATOR(/, decltype(Value<A>{} + Value<B>{}), quotient)
RQ_OPERATOR(%, decltype(Value<A>{} + Value<B>{}), remainder)

/// No path may shift by a number's width or more.
template <class A, class B>
z3::expr shiftCount(Word<B> count) {
  constexpr unsigned bits = Word<A>::bits;
  const z3::expr by = converted<std::make_unsigned_t<A>>(count);
  Prover::get().claim(z3::ult(by, Prover::get().context().bv_val(bits, bits)), "a shift is not too wide");
  return by;
}
template <class A, class B>
auto shiftLeft(Word<A> x, Word<B> y) {
  using Result = decltype(+A{});
  return Word<Result>::of(z3::shl(converted<Result>(x), shiftCount<Result>(y)));
}
template <class A, class B>
auto shiftRight(Word<A> x, Word<B> y) {
  using Result = decltype(+A{});
  const z3::expr left = converted<Result>(x), by = shiftCount<Result>(y);
  return Word<Result>::of(std::is_signed_v<Result> ? z3::ashr(left, by) : z3::lshr(left, by));
}
RQ_OPERATOR(<<, decltype(+Value<A>{}), shiftLeft)
RQ_OPERATOR(>>, decltype(+Value<A>{}), shiftRight)
#undef RQ_BINARY
#undef RQ_OPERATOR

template <class T>
auto complement(Word<T> x) {
  using Result = decltype(~T{});
  return Word<Result>::of(~converted<Result>(x));
}
inline Word<bool> negation(Word<bool> x) {
  return Word<bool>::of(!x.expression());
}
template <class T>
constexpr auto operator~(Word<T> x) {
  using Result = decltype(~T{});
  return x.isKnown() ? Word<Result>(~x.known()) : complement(x);
}
template <class T>
constexpr auto operator-(Word<T> x) {
  return 0 - x;
}
template <class T>
constexpr auto operator+(Word<T> x) {
  return 0 + x;
}
template <class T>
constexpr Word<bool> operator!(Word<T> x) {
  return x == 0;
}
template <>
constexpr Word<bool> operator!(Word<bool> x) {
  return x.isKnown() ? Word<bool>(!x.known()) : negation(x);
}

/// `a` where the condition holds, else `b`, without a path for each.
template <class A, class B>
auto select(Word<bool> condition, const A& a, const B& b) {
  using Common = Value<std::common_type_t<Value<A>, Value<B>>>;
  if (condition.isKnown()) return condition.known() ? Word<Common>(a) : Word<Common>(b);
  return Word<Common>::of(
      z3::ite(condition.expression(), Word<Common>(a).expression(), Word<Common>(b).expression()));
}
inline Word<bool> both(Word<bool> a, Word<bool> b) {
  return Word<bool>::of(a.expression() && b.expression());
}
inline Word<bool> either(Word<bool> a, Word<bool> b) {
  return Word<bool>::of(a.expression() || b.expression());
}

inline void claim(Word<bool> condition, const char* what) {
  Prover::get().claim(condition.expression(), what);
}
inline void assume(Word<bool> condition) {
  Prover::get().assume(condition.expression());
}

// What begin.h puts in place of casts and built-in functions.

template <class To, class From>
constexpr auto cast(From from) {
  if constexpr (ValueOf<From>::isWord && std::integral<To>)
    return Word<To>(from);
  else
    return static_cast<To>(from);
}
template <class To, class From>
auto reinterpret(From from) {
  if constexpr (ValueOf<From>::isWord)
    return reinterpret_cast<To>(from.value());
  else
    return reinterpret_cast<To>(from);
}

inline Word<bool> bitAt(Word<unsigned long> x, unsigned i) {
  return Word<bool>::of(x.expression().extract(i, i) == Prover::get().context().bv_val(1, 1));
}
inline Word<int> firstOne(Word<unsigned long> x) {
  claim(x != 0, "there is a bit to find");
  Word<int> place = 0;
  for (unsigned i = 64; i-- > 0;) place = select(bitAt(x, i), static_cast<int>(i), place);
  return place;
}
constexpr Word<int> countTrailingZeros(Word<unsigned long> x) {
  return x.isKnown() && x.known() != 0 ? Word<int>(__builtin_ctzll(x.known())) : firstOne(x);
}
inline Word<int> countLeadingZeros(Word<unsigned long> x) {
  claim(x != 0, "there is a bit to find");
  Word<int> place = 0;
  for (unsigned i = 0; i < 64; ++i) place = select(bitAt(x, i), static_cast<int>(63 - i), place);
  return place;
}
/// Half by half, which z3 follows more easily than a long sum.
inline Word<int> countOnes(Word<unsigned long> x, unsigned from = 0, unsigned bits = 64) {
  if (bits == 1) return bitAt(x, from);
  return countOnes(x, from, bits / 2) + countOnes(x, from + bits / 2, bits / 2);
}

/// One byte: a known one, or one of an expression.
struct Byte {
  std::uint32_t number = 0;  // of the expression
  std::uint8_t place = 0;    // from the lowest
  std::uint8_t known = 0;
  bool isKnown = true;
};

/// The bytes of a number, the lowest first, and back.
template <class T>
void split(Word<T> word, Byte* bytes) {
  for (unsigned i = 0; i < sizeof(T); ++i) {
    if (word.isKnown())
      bytes[i] = {.known = static_cast<std::uint8_t>(word.raw >> (8 * i))};
    else
      bytes[i] = {.number = word.number(), .place = static_cast<std::uint8_t>(i), .isKnown = false};
  }
}
template <class T>
Word<T> joined(const Byte* bytes) {
  bool known = true, same = true;
  std::uint64_t value = 0;
  for (unsigned i = 0; i < sizeof(T); ++i) {
    known = known && bytes[i].isKnown;
    same = same && !bytes[i].isKnown && bytes[i].place == i && bytes[i].number == bytes[0].number;
    value |= std::uint64_t{bytes[i].known} << (8 * i);
  }
  if (known) return Word<T>(static_cast<T>(value));
  Prover& prover = Prover::get();
  if (same && prover.at(bytes[0].number).get_sort().bv_size() == 8 * sizeof(T))
    return Word<T>::of(prover.at(bytes[0].number));
  z3::expr_vector parts(prover.context());
  for (unsigned i = sizeof(T); i-- > 0;) {
    const unsigned low = 8U * bytes[i].place;
    parts.push_back(bytes[i].isKnown ? prover.context().bv_val(bytes[i].known, 8)
                                     : prover.at(bytes[i].number).extract(low + 7, low));
  }
  return Word<T>::of(sizeof(T) == 1 ? parts[0] : z3::concat(parts));
}

/// The memory of the code under proof. It lies over the process's own: what the code reads and writes as plain bytes
/// is that, and words are their marks. A buffer has an edge on both sides that nothing may touch.
class Memory {
 public:
  static Memory& get();

  /// Forgets what the last path wrote.
  void clear();
  /// A buffer of so many bytes, so far behind a multiple of 64.
  std::uint8_t* buffer(std::size_t bytes, std::size_t offset);
  void read(const void* from, Byte* bytes, std::size_t count) const;
  void write(void* to, const Byte* bytes, std::size_t count);

 private:
  static constexpr std::size_t edge = 192;
  struct Shadow {
    Byte byte;
    std::uint8_t own;  // the process's byte: another one means that the code has written there since
  };
  struct Range {
    std::uintptr_t begin, end;
  };
  void check(const void* at, std::size_t count) const;

  std::unordered_map<std::uintptr_t, Shadow> shadows_;
  std::vector<Range> inside_, edges_;
  std::vector<std::vector<std::uint8_t>> blocks_;
};

template <class T>
Word<T> loadWord(const void* from) {
  std::array<Byte, sizeof(T)> bytes;
  Memory::get().read(from, bytes.data(), bytes.size());
  return joined<T>(bytes.data());
}
template <class T>
void storeWord(void* to, Word<T> word) {
  std::array<Byte, sizeof(T)> bytes;
  split(word, bytes.data());
  Memory::get().write(to, bytes.data(), bytes.size());
}

}  // namespace rq::proof

template <class T>
struct std::numeric_limits<rq::proof::Word<T>> : std::numeric_limits<T> {};

#endif
