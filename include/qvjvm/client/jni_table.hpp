/// @file
/// The JNI functions that the client calls itself, by their place in the JNIEnv's table. The places are part of JNI's
/// binary interface, so no jni.h is needed. Nothing here is for hosts.
#pragma once

#include <cstddef>
#include <cstdint>

#include "qvjvm/qvjvm.h"

namespace qvjvm::detail {

/// JNI's jvalue.
union java_value {
  uint8_t z;
  int8_t b;
  uint16_t c;
  int16_t s;
  int32_t i;
  int64_t j;
  float f;
  double d;
  void* l;
};
static_assert(sizeof(java_value) == 8);

using method_id = void*;
using field_id = void*;

/// Places in the table.
enum class place : size_t {
  define_class = 5,
  find_class = 6,
  from_reflected_method = 7,
  is_assignable_from = 11,
  throw_ = 13,
  throw_new = 14,
  exception_occurred = 15,
  exception_clear = 17,
  push_local_frame = 19,
  pop_local_frame = 20,
  new_global_ref = 21,
  delete_global_ref = 22,
  delete_local_ref = 23,
  is_same_object = 24,
  new_local_ref = 25,
  ensure_local_capacity = 26,
  new_object_a = 30,
  get_object_class = 31,
  is_instance_of = 32,
  get_method_id = 33,
  call_method_a = 36,             ///< of object; then every third: boolean byte char short int long float double void
  call_nonvirtual_method_a = 66,  ///< the same order
  get_field_id = 94,
  get_field = 95,   ///< of object; then boolean byte char short int long float double
  set_field = 104,  ///< the same order
  get_static_method_id = 113,
  call_static_method_a = 116,  ///< the same order as call_method_a
  get_static_field_id = 144,
  get_static_field = 145,
  set_static_field = 154,
  new_string = 163,
  get_string_length = 164,
  get_array_length = 171,
  new_object_array = 172,
  get_object_array_element = 173,
  set_object_array_element = 174,
  new_array = 175,         ///< of boolean; then byte char short int long float double
  get_array_region = 199,  ///< the same order
  set_array_region = 207,  ///< the same order
  register_natives = 215,
  unregister_natives = 216,
  get_string_region = 220,
  get_primitive_array_critical = 222,
  release_primitive_array_critical = 223,
  exception_check = 228,
  new_direct_byte_buffer = 229,
  get_direct_buffer_address = 230,
  get_direct_buffer_capacity = 231,
};

/// Calls the function at a place, `step` places further on. JNI functions never unwind.
template <class Result, class... Arguments>
Result invoke(qv_jnienv env, place at, size_t step, Arguments... arguments) noexcept {
  using function = Result (*)(qv_jnienv, Arguments...) noexcept;
  return (*static_cast<function* const*>(env))[static_cast<size_t>(at) + step](env, arguments...);
}

inline bool exception_pending(qv_jnienv env) noexcept { return invoke<uint8_t>(env, place::exception_check, 0) != 0; }

inline void clear_exception(qv_jnienv env) noexcept { invoke<void>(env, place::exception_clear, 0); }

inline void delete_local(qv_jnienv env, void* reference) noexcept {
  if (reference != nullptr) invoke<void>(env, place::delete_local_ref, 0, reference);
}

inline bool is_instance(qv_jnienv env, void* reference, void* cls) noexcept {
  return invoke<uint8_t>(env, place::is_instance_of, 0, reference, cls) != 0;
}

}  // namespace qvjvm::detail
