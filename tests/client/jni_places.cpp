// The client calls JNI by place in its table; jni.h has the last word on where a function is.
#include <jni.h>

#include <cstddef>

#include "qvjvm/client/jni_table.hpp"

namespace {

using qvjvm::detail::place;

#define QV_PLACE(step, at, function) \
  static_assert(offsetof(JNINativeInterface_, function) == (static_cast<size_t>(place::at) + (step)) * sizeof(void*))
// The families by type: first and last, and one between, pin the order.
#define QV_TYPES(at, before, after)        \
  QV_PLACE(0, at, before##Object##after);  \
  QV_PLACE(1, at, before##Boolean##after); \
  QV_PLACE(2, at, before##Byte##after);    \
  QV_PLACE(3, at, before##Char##after);    \
  QV_PLACE(4, at, before##Short##after);   \
  QV_PLACE(5, at, before##Int##after);     \
  QV_PLACE(6, at, before##Long##after);    \
  QV_PLACE(7, at, before##Float##after);   \
  QV_PLACE(8, at, before##Double##after)
#define QV_CALLS(at, before)               \
  QV_PLACE(0, at, before##ObjectMethodA);  \
  QV_PLACE(3, at, before##BooleanMethodA); \
  QV_PLACE(6, at, before##ByteMethodA);    \
  QV_PLACE(9, at, before##CharMethodA);    \
  QV_PLACE(12, at, before##ShortMethodA);  \
  QV_PLACE(15, at, before##IntMethodA);    \
  QV_PLACE(18, at, before##LongMethodA);   \
  QV_PLACE(21, at, before##FloatMethodA);  \
  QV_PLACE(24, at, before##DoubleMethodA); \
  QV_PLACE(27, at, before##VoidMethodA)
#define QV_ARRAYS(at, before, after)       \
  QV_PLACE(0, at, before##Boolean##after); \
  QV_PLACE(1, at, before##Byte##after);    \
  QV_PLACE(2, at, before##Char##after);    \
  QV_PLACE(3, at, before##Short##after);   \
  QV_PLACE(4, at, before##Int##after);     \
  QV_PLACE(5, at, before##Long##after);    \
  QV_PLACE(6, at, before##Float##after);   \
  QV_PLACE(7, at, before##Double##after)

QV_PLACE(0, define_class, DefineClass);
QV_PLACE(0, find_class, FindClass);
QV_PLACE(0, from_reflected_method, FromReflectedMethod);
QV_PLACE(0, is_assignable_from, IsAssignableFrom);
QV_PLACE(0, throw_, Throw);
QV_PLACE(0, throw_new, ThrowNew);
QV_PLACE(0, ensure_local_capacity, EnsureLocalCapacity);
QV_PLACE(0, get_primitive_array_critical, GetPrimitiveArrayCritical);
QV_PLACE(0, release_primitive_array_critical, ReleasePrimitiveArrayCritical);
QV_PLACE(0, new_direct_byte_buffer, NewDirectByteBuffer);
QV_PLACE(0, get_direct_buffer_address, GetDirectBufferAddress);
QV_PLACE(0, get_direct_buffer_capacity, GetDirectBufferCapacity);
QV_PLACE(0, exception_occurred, ExceptionOccurred);
QV_PLACE(0, exception_clear, ExceptionClear);
QV_PLACE(0, push_local_frame, PushLocalFrame);
QV_PLACE(0, pop_local_frame, PopLocalFrame);
QV_PLACE(0, new_global_ref, NewGlobalRef);
QV_PLACE(0, delete_global_ref, DeleteGlobalRef);
QV_PLACE(0, delete_local_ref, DeleteLocalRef);
QV_PLACE(0, is_same_object, IsSameObject);
QV_PLACE(0, new_local_ref, NewLocalRef);
QV_PLACE(0, new_object_a, NewObjectA);
QV_PLACE(0, get_object_class, GetObjectClass);
QV_PLACE(0, is_instance_of, IsInstanceOf);
QV_PLACE(0, get_method_id, GetMethodID);
QV_PLACE(0, get_field_id, GetFieldID);
QV_PLACE(0, get_static_method_id, GetStaticMethodID);
QV_PLACE(0, get_static_field_id, GetStaticFieldID);
QV_PLACE(0, new_string, NewString);
QV_PLACE(0, get_string_length, GetStringLength);
QV_PLACE(0, get_array_length, GetArrayLength);
QV_PLACE(0, new_object_array, NewObjectArray);
QV_PLACE(0, get_object_array_element, GetObjectArrayElement);
QV_PLACE(0, set_object_array_element, SetObjectArrayElement);
QV_PLACE(0, register_natives, RegisterNatives);
QV_PLACE(0, unregister_natives, UnregisterNatives);
QV_PLACE(0, get_string_region, GetStringRegion);
QV_PLACE(0, exception_check, ExceptionCheck);
QV_CALLS(call_method_a, Call);
QV_CALLS(call_static_method_a, CallStatic);
QV_CALLS(call_nonvirtual_method_a, CallNonvirtual);
QV_TYPES(get_field, Get, Field);
QV_TYPES(get_static_field, GetStatic, Field);
QV_TYPES(set_field, Set, Field);
QV_TYPES(set_static_field, SetStatic, Field);
QV_ARRAYS(new_array, New, Array);
QV_ARRAYS(get_array_region, Get, ArrayRegion);
QV_ARRAYS(set_array_region, Set, ArrayRegion);

}  // namespace
