// What the switched sources are written in: every place that can be mutated asks whether its mutant is the one to
// run.
//
// `a < b` becomes `a < rqs::Place<7>{} < b`: the operator on both sides has the precedence of the original, so no
// parser is needed. What the compiler evaluates is never mutated; namespace rqr evaluates nothing while compiling.
// Everything has internal linkage: sources with different instruction sets include it.
#ifndef RQ_SWITCH_NAMESPACE

extern "C" {
// The mutant to run, or 0, and the places that were executed; see switch.c.
extern __attribute__((visibility("hidden"))) unsigned rqMutant;
extern __attribute__((visibility("hidden"))) unsigned char* rqReached;
// Ends the process: the compiler would have refused this mutant.
__attribute__((visibility("hidden"))) void rqRefuse(void);
}

#define RQ_SWITCH_NAMESPACE rqs
#define RQ_SWITCH inline constexpr __attribute__((always_inline))
#include __FILE__
#undef RQ_SWITCH_NAMESPACE
#undef RQ_SWITCH
#define RQ_SWITCH_NAMESPACE rqr
#define RQ_SWITCH inline __attribute__((always_inline))
#include __FILE__

// In place of static_assert in sources whose constants are made at run time.
#define RQ_AT_RUN_TIME_2(line, ...) static const bool rqHolds##line = ((__VA_ARGS__) ? true : (rqRefuse(), false))
#define RQ_AT_RUN_TIME_1(line, ...) RQ_AT_RUN_TIME_2(line, __VA_ARGS__)
#define RQ_AT_RUN_TIME(...) RQ_AT_RUN_TIME_1(__LINE__, __VA_ARGS__)

#else

namespace RQ_SWITCH_NAMESPACE {
namespace {

template <unsigned mutant, unsigned place = mutant>
RQ_SWITCH bool on() {
  if (__builtin_is_constant_evaluated()) return false;
  rqReached[place] = 1;
  return rqMutant == mutant;
}

/// A literal, one more, and if `down` one less as the next mutant.
template <unsigned mutant, bool down, class T>
RQ_SWITCH T literal(T value) {
  if (on<mutant>()) return static_cast<T>(value + 1);
  if constexpr (down)
    if (on<mutant + 1, mutant>()) return static_cast<T>(value - 1);
  return value;
}
template <unsigned mutant>
RQ_SWITCH bool flag(bool value) {
  return on<mutant>() != value;
}

/// The place of a binary operator, and that with its left or right operand.
template <unsigned mutant>
struct Place {};
template <class A, unsigned mutant>
struct Left {
  A value;
};
template <class B, unsigned mutant>
struct Right {
  B value;
};

#define RQ_SWITCH_BINARY(op, other)                                     \
  template <class A, unsigned mutant>                                   \
  RQ_SWITCH Left<A, mutant> operator op(A a, Place<mutant>) {           \
    return {a};                                                         \
  }                                                                     \
  template <class A, class B, unsigned mutant>                          \
  RQ_SWITCH auto operator op(Left<A, mutant> a, B b) {                  \
    using Result = decltype(a.value op b);                              \
    if constexpr (requires { static_cast<Result>(a.value other b); }) { \
      if (on<mutant>()) return static_cast<Result>(a.value other b);    \
    } else if (on<mutant>()) {                                          \
      rqRefuse();                                                       \
    }                                                                   \
    return a.value op b;                                                \
  }
RQ_SWITCH_BINARY(<, <=)
RQ_SWITCH_BINARY(<=, <)
RQ_SWITCH_BINARY(>, >=)
RQ_SWITCH_BINARY(>=, >)
RQ_SWITCH_BINARY(==, !=)
RQ_SWITCH_BINARY(!=, ==)
RQ_SWITCH_BINARY(<<, >>)
RQ_SWITCH_BINARY(>>, <<)
RQ_SWITCH_BINARY(+, -)
RQ_SWITCH_BINARY(-, +)
RQ_SWITCH_BINARY(*, +)
RQ_SWITCH_BINARY(/, *)
RQ_SWITCH_BINARY(%, /)
RQ_SWITCH_BINARY(&, |)
RQ_SWITCH_BINARY(|, &)
RQ_SWITCH_BINARY(^, |)
#undef RQ_SWITCH_BINARY

#define RQ_SWITCH_ASSIGNMENT(op, other)                        \
  template <class B, unsigned mutant>                          \
  RQ_SWITCH Right<B, mutant> operator op(Place<mutant>, B b) { \
    return {b};                                                \
  }                                                            \
  template <class A, class B, unsigned mutant>                 \
  RQ_SWITCH A& operator op(A& a, Right<B, mutant> b) {         \
    if (on<mutant>()) return a other b.value;                  \
    return a op b.value;                                       \
  }
RQ_SWITCH_ASSIGNMENT(+=, -=)
RQ_SWITCH_ASSIGNMENT(-=, +=)
#undef RQ_SWITCH_ASSIGNMENT

/// `Unary<7>{} ->* !x`: binds tighter than any binary operator. Undoes what the operator did.
template <unsigned mutant>
struct Not {};
template <unsigned mutant>
struct Complement {};
template <unsigned mutant>
struct Increment {};
template <unsigned mutant>
struct Decrement {};
template <unsigned mutant, class T>
RQ_SWITCH T operator->*(Not<mutant>, T value) {
  return on<mutant>() ? static_cast<T>(!value) : value;
}
template <unsigned mutant, class T>
RQ_SWITCH T operator->*(Complement<mutant>, T value) {
  return on<mutant>() ? static_cast<T>(~value) : value;
}
template <unsigned mutant, class T>
RQ_SWITCH T& operator->*(Increment<mutant>, T& value) {
  return on<mutant>() ? value -= 2 : value;
}
template <unsigned mutant, class T>
RQ_SWITCH T& operator->*(Decrement<mutant>, T& value) {
  return on<mutant>() ? value += 2 : value;
}

}  // namespace
}  // namespace RQ_SWITCH_NAMESPACE

#endif
