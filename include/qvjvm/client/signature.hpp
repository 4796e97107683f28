/// @file
/// JNI signatures at compile time: made from C++ types, and given ones checked against them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qvjvm {

/// A text as a template argument: instance<"java/util/List">, call<"size", int32_t>().
template <size_t Size>
struct fixed_text {
  /// Copies the literal.
  consteval fixed_text(const char (&literal)[Size]) {  // NOLINT(google-explicit-constructor)
    for (size_t i = 0; i < Size; ++i) text[i] = literal[i];
  }
  /// Without the terminator.
  [[nodiscard]] constexpr std::string_view view() const noexcept { return {text, Size - 1}; }
  char text[Size] = {};  ///< With the terminator.
};

/// A signature that is only known when the program runs, for call_as; it is checked then.
/// The text must live as long as the call.
struct signature {
  /// Takes the text; null is a malformed one.
  explicit constexpr signature(const char* jni_signature) noexcept : text(jni_signature) {}
  const char* text;  ///< "(Ljava/lang/Object;)Z"
};

namespace detail {

/// What stands for a C++ type in Java; types.hpp has one for each type that Java knows.
template <class T>
struct java_type;

/// A signature under construction.
template <size_t Length>
struct signature_text {
  char text[Length + 1] = {};
  [[nodiscard]] constexpr const char* c_str() const noexcept { return text; }
  [[nodiscard]] constexpr std::string_view view() const noexcept { return {text, Length}; }
};

template <size_t Size>
consteval auto piece(const char (&literal)[Size]) {
  signature_text<Size - 1> result;
  for (size_t i = 0; i + 1 < Size; ++i) result.text[i] = literal[i];
  return result;
}

template <size_t... Lengths>
consteval auto join(const signature_text<Lengths>&... parts) {
  signature_text<(0 + ... + Lengths)> result;
  size_t at = 0;
  const auto add = [&](std::string_view part) {
    for (const char letter : part) result.text[at++] = letter;
  };
  (add(parts.view()), ...);
  return result;
}

/// "(" arguments ")" result.
template <class Result, class... Arguments>
inline constexpr auto signature_of = join(piece("("), java_type<Arguments>::signature()..., piece(")"),
                                          java_type<Result>::signature());

/// The type that begins at `at`, "I", "[J" or "Ljava/lang/String;"; empty where none does.
constexpr std::string_view type_at(std::string_view signature, size_t at) noexcept {
  size_t end = at;
  while (end < signature.size() && signature[end] == '[') ++end;
  if (end == signature.size()) return {};
  if (signature[end] == 'L') {
    const size_t semicolon = signature.find(';', end);
    if (semicolon == std::string_view::npos || semicolon == end + 1) return {};
    return signature.substr(at, semicolon + 1 - at);
  }
  if (std::string_view("ZBCSIJFD").find(signature[end]) == std::string_view::npos) return {};
  return signature.substr(at, end + 1 - at);
}

/// What Java's look-ups call the class of a type: an array's class has the type's own name, any other has the text
/// between L and the semicolon.
constexpr std::string_view class_name_of(std::string_view type) noexcept {
  return type[0] == 'L' ? type.substr(1, type.size() - 2) : type;
}

/// Whether a number of one primitive type may go where another is declared: numbers only widen, as in Java.
constexpr bool widens(char from, char to) noexcept {
  if (from == to) return true;
  constexpr std::string_view order = "BSIJFD";
  const size_t target = order.find(to);
  if (target == std::string_view::npos) return false;
  return from == 'C' ? target >= order.find('I') : order.find(from) < target;
}

/// Whether a value of a C++ type may go where the signature has a type.
enum class fit { no, yes, ask_java };

inline constexpr std::string_view object_signature = "Ljava/lang/Object;";

constexpr bool is_one_of(std::string_view type, std::string_view list) noexcept {
  return list.find(type) != std::string_view::npos;
}

/// The types that final classes of Java's own have above them, besides Object.
inline constexpr std::string_view above_string =
    "Ljava/lang/CharSequence; Ljava/lang/Comparable; Ljava/io/Serializable; Ljava/lang/constant/Constable; "
    "Ljava/lang/constant/ConstantDesc;";
inline constexpr std::string_view above_number =
    "Ljava/lang/Number; Ljava/lang/Comparable; Ljava/io/Serializable; Ljava/lang/constant/Constable; "
    "Ljava/lang/constant/ConstantDesc;";
inline constexpr std::string_view above_box =
    "Ljava/lang/Comparable; Ljava/io/Serializable; Ljava/lang/constant/Constable;";
inline constexpr std::string_view above_array = "Ljava/lang/Cloneable; Ljava/io/Serializable;";

/// How a type of the client, by its own signature, fits where `declared` stands.
constexpr fit fits(std::string_view own, std::string_view declared) noexcept {
  if (own == declared) return fit::yes;
  const auto is_reference = [](std::string_view type) { return type[0] == 'L' || type[0] == '['; };
  if (!is_reference(own) || !is_reference(declared)) return fit::no;
  if (declared == object_signature) return fit::yes;
  const auto above = [&](std::string_view list) { return is_one_of(declared, list) ? fit::yes : fit::no; };
  if (own == "Ljava/lang/String;") return above(above_string);
  if (own == "Ljava/lang/Boolean;" || own == "Ljava/lang/Character;") return above(above_box);
  if (is_one_of(own,
                "Ljava/lang/Byte; Ljava/lang/Short; Ljava/lang/Integer; Ljava/lang/Long; Ljava/lang/Float; "
                "Ljava/lang/Double;")) {
    return above(above_number);
  }
  if (own.size() == 2) return above(above_array);  // an array of a primitive type
  return fit::ask_java;
}

/// What is wrong with a signature for certain C++ types.
enum class mistake { none, malformed, too_few_arguments, too_many_arguments, wrong_argument, wrong_result };

/// A signature compared with C++ types.
struct comparison {
  mistake found = mistake::none;
  size_t position = 0;        ///< of the argument, from 1
  std::string_view own;       ///< what the C++ type stands for
  std::string_view declared;  ///< what the signature has in its place
  uint64_t ask_java = 0;      ///< a bit for each argument whose class has to be asked for
  bool ask_result = false;
};

/// Compares; `own` are the C++ arguments' types, `result` the result's. A result that nobody wants may be anything.
constexpr comparison compare_signature(std::string_view signature, std::string_view result, const std::string_view* own,
                                       size_t count) noexcept {
  comparison all;
  const auto fail = [&](mistake found) {
    all.found = found;
    return all;
  };
  if (signature.empty() || signature[0] != '(') return fail(mistake::malformed);
  size_t at = 1;
  for (size_t i = 0; at < signature.size() && signature[at] != ')'; ++i) {
    all.declared = type_at(signature, at);
    if (all.declared.empty()) return fail(mistake::malformed);
    all.position = i + 1;
    if (i == count) return fail(mistake::too_few_arguments);
    all.own = own[i];
    switch (fits(own[i], all.declared)) {
      case fit::no:
        return fail(mistake::wrong_argument);
      case fit::ask_java:
        all.ask_java |= uint64_t{1} << i;
        break;
      case fit::yes:
        break;
    }
    at += all.declared.size();
  }
  if (at >= signature.size()) return fail(mistake::malformed);
  size_t given = 0;
  for (size_t i = 1; i < at; i += type_at(signature, i).size()) ++given;
  if (given < count) {
    all.position = given + 1;
    return fail(mistake::too_many_arguments);
  }
  const std::string_view declared = signature.substr(at + 1);
  if (declared != "V" && (declared.empty() || type_at(declared, 0) != declared)) return fail(mistake::malformed);
  all.own = result;
  all.declared = declared;
  if (result == "V") return all;
  if (declared == "V") return fail(mistake::wrong_result);
  if (result == declared || result == object_signature) {
    if (result != declared && declared[0] != 'L' && declared[0] != '[') return fail(mistake::wrong_result);
    return all;
  }
  // A result goes down: what is declared may be something above what it is taken for.
  if (fits(declared, result) == fit::no || fits(result, declared) == fit::no) return fail(mistake::wrong_result);
  all.ask_result = true;
  return all;
}

template <class T>
inline constexpr auto own_signature = java_type<T>::signature();
/// The name of the class that a C++ class of objects stands for, as an argument for templates.
template <class T>
inline constexpr auto class_text_of = []<size_t... I>(std::index_sequence<I...>) {
  return fixed_text<sizeof...(I) + 1>({class_name_of(own_signature<T>.view())[I]..., '\0'});
}
(std::make_index_sequence<class_name_of(own_signature<T>.view()).size()>());
template <class... Types>
inline constexpr std::string_view own_signatures[sizeof...(Types) + 1] = {own_signature<Types>.view()...};

template <class Result, class... Arguments>
constexpr comparison compare_types(std::string_view signature) noexcept {
  static_assert(sizeof...(Arguments) <= 64, "qvjvm: a call takes at most 64 arguments");
  return compare_signature(signature, own_signature<Result>.view(), own_signatures<Arguments...>, sizeof...(Arguments));
}

// The compiler names these functions when a literal signature is wrong, with the argument's position and C++ type.
inline void the_signature_is_malformed() {}
template <size_t Position>
void the_signature_wants_more_arguments_than_the_call_gives_it_has_an_argument() {}
template <size_t Position>
void the_signature_wants_fewer_arguments_than_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_boolean_Z_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_byte_B_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_char_C_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_short_S_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_int_I_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_long_J_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_float_F_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_double_D_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_an_array_where_the_call_gives() {}
template <size_t Position, class Type>
void the_signature_has_another_class_where_the_call_gives() {}
template <class Type>
void the_signature_has_another_result_than() {}

template <size_t Position, class Type>
constexpr void name_wrong_argument(char declared) {
  switch (declared) {
    case 'Z':
      return the_signature_has_boolean_Z_where_the_call_gives<Position, Type>();
    case 'B':
      return the_signature_has_byte_B_where_the_call_gives<Position, Type>();
    case 'C':
      return the_signature_has_char_C_where_the_call_gives<Position, Type>();
    case 'S':
      return the_signature_has_short_S_where_the_call_gives<Position, Type>();
    case 'I':
      return the_signature_has_int_I_where_the_call_gives<Position, Type>();
    case 'J':
      return the_signature_has_long_J_where_the_call_gives<Position, Type>();
    case 'F':
      return the_signature_has_float_F_where_the_call_gives<Position, Type>();
    case 'D':
      return the_signature_has_double_D_where_the_call_gives<Position, Type>();
    case '[':
      return the_signature_has_an_array_where_the_call_gives<Position, Type>();
    default:
      return the_signature_has_another_class_where_the_call_gives<Position, Type>();
  }
}

template <class... Arguments, size_t... Index>
constexpr void name_argument(const comparison& wrong, std::index_sequence<Index...>) {
  ((wrong.position == Index + 1 ? name_wrong_argument<Index + 1, Arguments>(wrong.declared[0]) : void()), ...);
}

template <class Result, class... Arguments>
constexpr comparison require_signature(std::string_view signature) {
  const comparison compared = compare_types<Result, Arguments...>(signature);
  switch (compared.found) {
    case mistake::none:
      break;
    case mistake::malformed:
      the_signature_is_malformed();
      break;
    case mistake::too_few_arguments:
      the_signature_wants_more_arguments_than_the_call_gives_it_has_an_argument<sizeof...(Arguments) + 1>();
      break;
    case mistake::too_many_arguments:
      the_signature_wants_fewer_arguments_than_the_call_gives<sizeof...(Arguments)>();
      break;
    case mistake::wrong_argument:
      name_argument<Arguments...>(compared, std::index_sequence_for<Arguments...>());
      break;
    case mistake::wrong_result:
      the_signature_has_another_result_than<Result>();
      break;
  }
  return compared;
}

/// The same for people, when the signature came at run time.
inline std::string tell(const comparison& compared, const char* signature) {
  const std::string text = std::string("the signature ") + signature;
  const std::string position = std::to_string(compared.position);
  const std::string declared(compared.declared);
  switch (compared.found) {
    case mistake::malformed:
      return text + " is malformed";
    case mistake::too_few_arguments:
      return text + " has an argument " + position + ", " + declared + ", that the call does not give";
    case mistake::too_many_arguments:
      return text + " has no argument " + position + ", which the call gives";
    case mistake::wrong_argument:
      return text + " has " + declared + " for argument " + position + ", the call gives " + std::string(compared.own);
    default:
      return text + " has the result " + declared + ", the call wants " + std::string(compared.own);
  }
}

/// The signature of a call: a literal is checked by the compiler, one in qvjvm::signature by the call.
template <class Result, class... Arguments>
class call_signature {
 public:
  template <size_t Size>
  consteval call_signature(const char (&literal)[Size])  // NOLINT(google-explicit-constructor)
      : text_(literal), compared_(require_signature<Result, Arguments...>(std::string_view(literal, Size - 1))) {}
  call_signature(signature given)  // NOLINT(google-explicit-constructor)
      : text_(given.text == nullptr ? "" : given.text), compared_(compare_types<Result, Arguments...>(text_)) {}

  [[nodiscard]] constexpr const char* text() const noexcept { return text_; }
  [[nodiscard]] constexpr const comparison& compared() const noexcept { return compared_; }

 private:
  const char* text_;
  comparison compared_;
};

}  // namespace detail
}  // namespace qvjvm
