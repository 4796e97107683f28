/// @file
/// Primitive values as objects and back.
#pragma once

#include "qvjvm/client/typed.hpp"

namespace qvjvm::detail {

/// Calls `use<type, class of its box, name of the method that gives the value>()`.
template <class Use>
auto with_box(char letter, const Use& use) {
  switch (letter) {
    case 'Z':
      return use.template operator()<bool, "java/lang/Boolean", "booleanValue">();
    case 'B':
      return use.template operator()<int8_t, "java/lang/Byte", "byteValue">();
    case 'C':
      return use.template operator()<char16_t, "java/lang/Character", "charValue">();
    case 'S':
      return use.template operator()<int16_t, "java/lang/Short", "shortValue">();
    case 'J':
      return use.template operator()<int64_t, "java/lang/Long", "longValue">();
    case 'F':
      return use.template operator()<float, "java/lang/Float", "floatValue">();
    case 'D':
      return use.template operator()<double, "java/lang/Double", "doubleValue">();
    default:
      return use.template operator()<int32_t, "java/lang/Integer", "intValue">();
  }
}

inline passed pass_box(const context& java, char letter, java_value value) {
  return with_box(letter, [&]<class T, fixed_text Class, fixed_text Value>() -> passed {
    using value_of = site<Class, member::static_method, "valueOf", typed_signature<instance<Class>, T>>;
    void* const cls = class_site<Class>::find(java);
    void* const id = cls == nullptr ? nullptr : value_of::find(java);
    if (id == nullptr) return {nullptr, false, take_exception(java)};
    void* const box =
        invoke<void*>(java.env, place::call_static_method_a, 0, cls, id, static_cast<const java_value*>(&value));
    if (exception_pending(java.env)) return {nullptr, false, take_exception(java)};
    return made(java, box);
  });
}

inline failure_record* read_box(const local& from, char letter, java_value& value) {
  if (from.get() == nullptr) return new_failure(QV_E_FAIL, L"Java gave null where a number was wanted");
  return with_box(letter, [&]<class T, fixed_text Class, fixed_text Value>() -> failure_record* {
    void* const id = site<Class, member::method, Value, typed_signature<T>>::find(from.java());
    if (id == nullptr) return take_exception(from.java());
    const java_value none{};
    const auto raw = invoke<typename java_type<T>::stored>(from.java().env, place::call_method_a,
                                                           3 * java_type<T>::step, from.get(), id, &none);
    if (exception_pending(from.java().env)) return take_exception(from.java());
    java_type<T>::store(value, static_cast<T>(raw));
    return nullptr;
  });
}

}  // namespace qvjvm::detail
