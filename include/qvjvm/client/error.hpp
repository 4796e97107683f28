/// @file
/// Failures of the client API: thrown as qvjvm::error, or handed back in a qvjvm::result by the functions whose names
/// begin with try_.
#pragma once

#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "qvjvm/qvjvm.h"

namespace qvjvm {

/// Why something failed.
struct failure {
  int32_t status = QV_E_FAIL;  ///< A status of qvjvm.h, or of Windows where the service could not be loaded.
  std::wstring message;        ///< For people; a Java exception's text where there was one.
};

namespace detail {

/// UTF-16 as UTF-8; unpaired surrogates become U+FFFD.
inline std::string to_utf8(std::wstring_view text) {
  std::string bytes;
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t point = text[i];
    const bool high = point >= 0xD800 && point < 0xDC00;
    if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
      point = 0x10000 + ((point - 0xD800) << 10) + (static_cast<uint32_t>(text[++i]) - 0xDC00);
    } else if (point >= 0xD800 && point < 0xE000) {
      point = 0xFFFD;
    }
    const auto put = [&](uint32_t byte) { bytes.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (point < 0x80) {
      put(point);
    } else if (point < 0x800) {
      put(0xC0 | (point >> 6));
      put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
      put(0xE0 | (point >> 12));
      put(0x80 | ((point >> 6) & 0x3F));
      put(0x80 | (point & 0x3F));
    } else {
      put(0xF0 | (point >> 18));
      put(0x80 | ((point >> 12) & 0x3F));
      put(0x80 | ((point >> 6) & 0x3F));
      put(0x80 | (point & 0x3F));
    }
  }
  return bytes;
}

}  // namespace detail

/// The exception of the throwing functions.
class error : public std::exception {
 public:
  /// Takes the failure over.
  explicit error(failure reason) : reason_(std::move(reason)), utf8_(detail::to_utf8(reason_.message)) {}
  /// The message as UTF-8.
  [[nodiscard]] const char* what() const noexcept override { return utf8_.c_str(); }
  /// The message as the service gave it.
  [[nodiscard]] const std::wstring& message() const noexcept { return reason_.message; }
  /// The status of the operation.
  [[nodiscard]] int32_t status() const noexcept { return reason_.status; }

 private:
  failure reason_;
  std::string utf8_;
};

/// A value or the reason why there is none. Looking at the wrong one throws qvjvm::error or std::bad_variant_access.
template <class T>
class [[nodiscard]] result {
 public:
  /// A success.
  result(T value) : content_(std::in_place_index<0>, std::move(value)) {}  // NOLINT(google-explicit-constructor)
  /// A failure.
  result(failure reason)
      : content_(std::in_place_index<1>, std::move(reason)) {}  // NOLINT(google-explicit-constructor)
  /// Whether there is a value.
  [[nodiscard]] explicit operator bool() const noexcept { return content_.index() == 0; }
  /// The value; throws qvjvm::error when there is none.
  [[nodiscard]] T& value() & {
    need();
    return std::get<0>(content_);
  }
  /// The value, moved out; throws qvjvm::error when there is none.
  [[nodiscard]] T&& value() && {
    need();
    return std::get<0>(std::move(content_));
  }
  /// The reason of a failure.
  [[nodiscard]] const failure& reason() const { return std::get<1>(content_); }

 private:
  void need() const {
    if (content_.index() == 1) throw error(std::get<1>(content_));
  }
  std::variant<T, failure> content_;
};

/// Success without a value, or the reason of the failure.
template <>
class [[nodiscard]] result<void> {
 public:
  /// A success.
  result() = default;
  /// A failure.
  result(failure reason) : reason_(std::move(reason)) {}  // NOLINT(google-explicit-constructor)
  /// Whether it succeeded.
  [[nodiscard]] explicit operator bool() const noexcept { return !reason_.has_value(); }
  /// Throws qvjvm::error unless it succeeded.
  void value() const {
    if (reason_) throw error(*reason_);
  }
  /// The reason of a failure.
  [[nodiscard]] const failure& reason() const { return reason_.value(); }

 private:
  std::optional<failure> reason_;
};

}  // namespace qvjvm
