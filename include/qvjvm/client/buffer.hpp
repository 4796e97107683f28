/// @file
/// Direct byte buffers: Java and the host look at the same memory.
#pragma once

#include "qvjvm/client/throwable.hpp"

namespace qvjvm {

/// A java.nio.ByteBuffer over memory that both sides see; null is allowed.
class direct_buffer : public java_class<direct_buffer, "java/nio/ByteBuffer"> {
 public:
  using java_class::java_class;

  /// A buffer over the host's memory. Java never frees it, and cannot know when it goes: the memory must stay until
  /// nothing in Java can reach the buffer any more, or any view that was made of it.
  /// @throws qvjvm::error when the memory has more than 2,147,483,647 bytes, or Java has none for the buffer.
  template <detail::origin Where>
  [[nodiscard]] static direct_buffer over(const Where& where, std::span<std::byte> memory) {
    return detail::value_of(make_over(where, memory));
  }
  /// The same with a result instead of an exception.
  template <detail::origin Where>
  [[nodiscard]] static result<direct_buffer> try_over(const Where& where, std::span<std::byte> memory) {
    return result<direct_buffer>(make_over(where, memory));
  }

  /// The memory of a direct buffer, whoever made it, from its first to its last byte, wherever its position is; empty
  /// for a buffer that is not direct. It stays as long as the buffer's memory does.
  [[nodiscard]] std::span<std::byte> memory() const noexcept {
    if (!*this) return {};
    void* const address = detail::invoke<void*>(java().env, detail::place::get_direct_buffer_address, 0, get());
    const auto size = detail::invoke<int64_t>(java().env, detail::place::get_direct_buffer_capacity, 0, get());
    if (address == nullptr || size <= 0) return {};
    return {static_cast<std::byte*>(address), static_cast<size_t>(size)};
  }

 private:
  template <class Where>
  static detail::outcome<direct_buffer> make_over(const Where& where, std::span<std::byte> memory) {
    const auto java = enter_from(where);
    if (java.why != nullptr) return detail::failed<direct_buffer>(java.why);
    if (memory.size() > detail::longest) {
      return detail::failed<direct_buffer>(detail::invalid(L"a Java buffer has at most 2,147,483,647 bytes"));
    }
    // Java refuses an address of null even for no bytes.
    static constinit std::byte nothing{};
    std::byte* const address = memory.empty() ? &nothing : memory.data();
    void* const made = detail::invoke<void*>(java.value.env, detail::place::new_direct_byte_buffer, 0,
                                             static_cast<void*>(address), static_cast<int64_t>(memory.size()));
    if (made == nullptr) return detail::failed<direct_buffer>(detail::take_exception(java.value));
    return {nullptr, direct_buffer(detail::local(java.value, made))};
  }
};

}  // namespace qvjvm
