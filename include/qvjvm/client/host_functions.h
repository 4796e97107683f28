/* The functions of callbacks.h, for the one source file of a module that asks for them. Nothing here is for hosts.
 *
 * Java's half is that of the C++ client, the classes of java/, defined once for the module in a class loader of its
 * own. Java counts the calls that are inside an object and ends it once; so nothing here counts or waits. One lock
 * guards which classes the module has; while it is held nothing is called.
 */
#ifndef QVJVM_CLIENT_HOST_FUNCTIONS_H
#define QVJVM_CLIENT_HOST_FUNCTIONS_H

#include <windows.h>

#include <string.h>

#include "qvjvm/callbacks.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* ---- JNI, by the places of its functions, which are part of its binary interface ---- */

typedef void* qv_jmethod;

/* The primitive types: letter in signatures, member of qv_value, type, and name in JNI's functions, in JNI's order. */
#define QV_PRIMITIVE_TYPES(Each)                                                                                      \
  Each('Z', z, uint8_t, Boolean) Each('B', b, int8_t, Byte) Each('C', c, uint16_t, Char) Each('S', s, int16_t, Short) \
      Each('I', i, int32_t, Int) Each('J', j, int64_t, Long) Each('F', f, float, Float) Each('D', d, double, Double)

typedef struct qv_jni {
  void* before_define_class[5];
  qv_jclass (*DefineClass)(qv_jnienv env, const char* name, qv_jobject loader, const char* bytes, int32_t size); /* 5 */
  qv_jclass (*FindClass)(qv_jnienv env, const char* name);
  qv_jmethod (*FromReflectedMethod)(qv_jnienv env, qv_jobject method);
  void* before_throw[5];
  int32_t (*Throw)(qv_jnienv env, qv_jobject throwable); /* 13 */
  int32_t (*ThrowNew)(qv_jnienv env, qv_jclass cls, const char* text);
  qv_jobject (*ExceptionOccurred)(qv_jnienv env);
  void* before_exception_clear[1];
  void (*ExceptionClear)(qv_jnienv env); /* 17 */
  void* before_push_local_frame[1];
  int32_t (*PushLocalFrame)(qv_jnienv env, int32_t capacity); /* 19 */
  qv_jobject (*PopLocalFrame)(qv_jnienv env, qv_jobject result);
  qv_jobject (*NewGlobalRef)(qv_jnienv env, qv_jobject reference);
  void (*DeleteGlobalRef)(qv_jnienv env, qv_jobject reference);
  void (*DeleteLocalRef)(qv_jnienv env, qv_jobject reference);
  void* before_ensure_local_capacity[2];
  int32_t (*EnsureLocalCapacity)(qv_jnienv env, int32_t capacity); /* 26 */
  void* before_new_object[3];
  qv_jobject (*NewObjectA)(qv_jnienv env, qv_jclass cls, qv_jmethod method, const qv_value* values); /* 30 */
  qv_jclass (*GetObjectClass)(qv_jnienv env, qv_jobject object);
  uint8_t (*IsInstanceOf)(qv_jnienv env, qv_jobject object, qv_jclass cls);
  qv_jmethod (*GetMethodID)(qv_jnienv env, qv_jclass cls, const char* name, const char* signature);
  void* before_call_object[2];
  qv_jobject (*CallObjectMethodA)(qv_jnienv env, qv_jobject on, qv_jmethod method, const qv_value* values); /* 36 */
  void* before_call_void[26];
  void (*CallVoidMethodA)(qv_jnienv env, qv_jobject on, qv_jmethod method, const qv_value* values); /* 63 */
#define QV_NONVIRTUAL(letter, member, Result, Type)                                                      \
  void* before_nonvirtual_##Type[2];                                                                     \
  Result (*CallNonvirtual##Type##MethodA)(qv_jnienv env, qv_jobject on, qv_jclass in, qv_jmethod method, \
                                          const qv_value* values);
  QV_NONVIRTUAL('L', l, qv_jobject, Object) /* 66, and then every third */
  QV_PRIMITIVE_TYPES(QV_NONVIRTUAL)
  QV_NONVIRTUAL('V', j, void, Void) /* 93 */
#undef QV_NONVIRTUAL
  void* before_get_static_method[19];
  qv_jmethod (*GetStaticMethodID)(qv_jnienv env, qv_jclass cls, const char* name, const char* signature); /* 113 */
  void* before_call_static_object[2];
  qv_jobject (*CallStaticObjectMethodA)(qv_jnienv env, qv_jclass cls, qv_jmethod method,
                                        const qv_value* values); /* 116 */
  void* before_call_static_boolean[2];
  uint8_t (*CallStaticBooleanMethodA)(qv_jnienv env, qv_jclass cls, qv_jmethod method,
                                      const qv_value* values); /* 119 */
  void* before_call_static_long[14];
  int64_t (*CallStaticLongMethodA)(qv_jnienv env, qv_jclass cls, qv_jmethod method, const qv_value* values); /* 134 */
  void* before_new_string[28];
  qv_jstring (*NewString)(qv_jnienv env, const wchar_t* units, int32_t length); /* 163 */
  int32_t (*GetStringLength)(qv_jnienv env, qv_jstring string);
  void* before_new_string_utf[2];
  qv_jstring (*NewStringUTF)(qv_jnienv env, const char* text); /* 167 */
  void* before_new_object_array[4];
  qv_jarray (*NewObjectArray)(qv_jnienv env, int32_t length, qv_jclass cls, qv_jobject element); /* 172 */
  qv_jobject (*GetObjectArrayElement)(qv_jnienv env, qv_jarray array, int32_t at);
  void (*SetObjectArrayElement)(qv_jnienv env, qv_jarray array, int32_t at, qv_jobject element);
  void* before_register_natives[40];
  int32_t (*RegisterNatives)(qv_jnienv env, qv_jclass cls, const qv_native* methods, int32_t count); /* 215 */
  int32_t (*UnregisterNatives)(qv_jnienv env, qv_jclass cls);
  void* before_get_string_region[3];
  void (*GetStringRegion)(qv_jnienv env, qv_jstring string, int32_t from, int32_t count, uint16_t* units); /* 220 */
  void* before_exception_check[7];
  uint8_t (*ExceptionCheck)(qv_jnienv env); /* 228 */
} qv_jni;

#define QV_JNI(env) (*(const qv_jni* const*)(env))

/* A slot of the service object, in both views of its header. */
#if QV_CPP_VIEW
#define QV_SLOT(vm, operation, ...) ((vm)->operation(__VA_ARGS__))
#define QV_SLOT0(vm, operation) ((vm)->operation())
#define QV_THREAD_ENV(vm) QV_AcquireThreadEnv(vm)
#else
#define QV_SLOT(vm, operation, ...) ((vm)->lpVtbl->operation((vm), __VA_ARGS__))
#define QV_SLOT0(vm, operation) ((vm)->lpVtbl->operation(vm))
#define QV_THREAD_ENV(vm) QV_SLOT0(vm, AcquireThreadEnv)
#endif

/* ---- memory and text ---- */

static void* qv_alloc(size_t size) { return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size); }

static void qv_free(void* block) {
  if (block != NULL) HeapFree(GetProcessHeap(), 0, block);
}

static qv_jstring qv_new_string(qv_jnienv env, const wchar_t* text) {
  size_t length = 0;
  while (text[length] != 0) ++length;
  return QV_JNI(env)->NewString(env, text, length > 0x7FFFFFFF ? 0x7FFFFFFF : (int32_t)length);
}

static void qv_delete_local(qv_jnienv env, qv_jobject reference) {
  if (reference != NULL) QV_JNI(env)->DeleteLocalRef(env, reference);
}

static void qv_throw_out_of_memory(qv_jnienv env) {
  const qv_jclass cls = QV_JNI(env)->FindClass(env, "java/lang/OutOfMemoryError");
  if (cls != NULL) QV_JNI(env)->ThrowNew(env, cls, "no memory in the host");
  qv_delete_local(env, cls);
}

/* ---- coming in ---- */

/* A call of one of the functions: an exception that was pending is set aside until it leaves. */
typedef struct qv_scope {
  IQV_JavaVM* vm;
  qv_jnienv env;
  qv_jobject aside;
} qv_scope;

static int32_t qv_enter(qv_scope* in, IQV_JavaVM* vm) {
  in->vm = vm;
  in->aside = NULL;
  in->env = NULL;
  if (vm == NULL) return QV_E_INVALIDARG;
  in->env = QV_THREAD_ENV(vm);
  if (in->env == NULL) return QV_E_FAIL;
  in->aside = QV_JNI(in->env)->ExceptionOccurred(in->env);
  if (in->aside != NULL) QV_JNI(in->env)->ExceptionClear(in->env);
  return QV_S_OK;
}

static int32_t qv_leave(const qv_scope* in, int32_t status) {
  if (in->aside == NULL) return status;
  QV_JNI(in->env)->Throw(in->env, in->aside);
  qv_delete_local(in->env, in->aside);
  return status;
}

/* ---- reasons ---- */

/* Hands out the reason, a Java string or none, and gives the status back. */
static int32_t qv_tell_string(const qv_scope* in, int32_t status, qv_jstring text, IQvString** why) {
  if (why != NULL && text != NULL) QV_SLOT(in->vm, GetStringValue, why, text);
  return status;
}

static int32_t qv_tell(const qv_scope* in, int32_t status, const wchar_t* text, IQvString** why) {
  qv_jstring string;
  if (why == NULL) return status;
  string = qv_new_string(in->env, text);
  if (string == NULL) QV_JNI(in->env)->ExceptionClear(in->env);
  qv_tell_string(in, status, string, why);
  qv_delete_local(in->env, string);
  return status;
}

static void qv_tell_exception(const qv_scope* in, qv_jobject exception, IQvString** why) {
  const qv_jni* const jni = QV_JNI(in->env);
  const qv_jclass cls = jni->GetObjectClass(in->env, exception);
  const qv_jmethod method = jni->GetMethodID(in->env, cls, "toString", "()Ljava/lang/String;");
  qv_jstring text = NULL;
  qv_value none;
  none.j = 0;
  if (method != NULL) text = jni->CallObjectMethodA(in->env, exception, method, &none);
  if (jni->ExceptionCheck(in->env)) jni->ExceptionClear(in->env);
  if (text == NULL) {
    qv_tell(in, QV_E_FAIL, L"a Java exception that cannot say what it is", why);
  } else {
    qv_tell_string(in, QV_E_FAIL, text, why);
  }
  qv_delete_local(in->env, text);
  qv_delete_local(in->env, cls);
}

/* Takes the pending exception away, as the reason of a failure. */
static int32_t qv_fail_by_java(const qv_scope* in, IQvString** why) {
  const qv_jobject exception = QV_JNI(in->env)->ExceptionOccurred(in->env);
  if (exception == NULL) return qv_tell(in, QV_E_FAIL, L"Java gave no result", why);
  QV_JNI(in->env)->ExceptionClear(in->env);
  if (why != NULL) qv_tell_exception(in, exception, why);
  qv_delete_local(in->env, exception);
  return QV_E_FAIL;
}

/* ---- the classes of the module ---- */

/* Java's half, with what is called there. The classes are global references. */
typedef struct qv_kit {
  LONG volatile users;
  IQV_JavaVM* vm;
  qv_jclass part;      /* HostPart */
  qv_jclass watcher;   /* HostWatcher */
  qv_jclass type;      /* HostType */
  qv_jclass exception; /* HostException */
  qv_jclass out_of_memory;
  qv_jmethod part_of;
  qv_jmethod part_revoke;
  qv_jmethod watcher_await;
  qv_jmethod watcher_close;
  qv_jmethod type_make;
  qv_jmethod type_create;
  qv_jmethod type_bits;
  qv_jmethod type_box;
  qv_jmethod make_exception;
} qv_kit;

/* The module's classes, made by the first that wants them, and who may look. */
static SRWLOCK qv_kit_lock = SRWLOCK_INIT;
static qv_kit* qv_module_kit = NULL;

static void qv_drop_kit(qv_kit* kit) {
  const qv_jclass classes[] = {kit->part, kit->watcher, kit->type, kit->exception, kit->out_of_memory};
  size_t i;
  if (InterlockedDecrement(&kit->users) != 0) return;
  for (i = 0; i < sizeof classes / sizeof classes[0]; ++i) QV_SLOT(kit->vm, DeleteGlobalRef, classes[i]);
  QV_SLOT0(kit->vm, Release);
  qv_free(kit);
}

/* The classes as they are, with a count for the caller; null when there are none. */
static qv_kit* qv_get_kit(void) {
  qv_kit* kit;
  AcquireSRWLockExclusive(&qv_kit_lock);
  kit = qv_module_kit;
  if (kit != NULL) InterlockedIncrement(&kit->users);
  ReleaseSRWLockExclusive(&qv_kit_lock);
  return kit;
}

/* Keeps classes unless another thread was first; what is kept then, with a count for the caller. */
static qv_kit* qv_keep_kit(qv_kit* made) {
  qv_kit* kept;
  AcquireSRWLockExclusive(&qv_kit_lock);
  if (qv_module_kit == NULL) {
    qv_module_kit = made;
    InterlockedIncrement(&made->users);
  }
  kept = qv_module_kit;
  if (kept != made) InterlockedIncrement(&kept->users);
  ReleaseSRWLockExclusive(&qv_kit_lock);
  if (kept != made) qv_drop_kit(made);
  return kept;
}

static void qv_forget_kit(qv_kit* kit) {
  int forgotten;
  AcquireSRWLockExclusive(&qv_kit_lock);
  forgotten = qv_module_kit == kit;
  if (forgotten) qv_module_kit = NULL;
  ReleaseSRWLockExclusive(&qv_kit_lock);
  if (forgotten) qv_drop_kit(kit);
}

/* ---- objects of the host ---- */

typedef struct qv_slot {
  qv_callback call;
  int32_t count;       /* of the parameters */
  const char* letters; /* theirs and the result's, with L for every class */
} qv_slot;

/* The host's part of an object, the number that Java has of it. In one block with its slots and their letters. */
typedef struct qv_target {
  qv_kit* kit;
  IQV_JavaVM* vm;
  void* context;
  qv_end end;
  const qv_slot* slots;
} qv_target;

static int64_t qv_bits_of(const qv_target* target) { return (int64_t)(intptr_t)target; }
static qv_target* qv_target_of(int64_t bits) { return (qv_target*)(intptr_t)bits; }

static void qv_end_context(qv_jnienv env, qv_end end, void* context) {
  if (end == NULL) return;
  end(context);
  if (env != NULL && QV_JNI(env)->ExceptionCheck(env)) QV_JNI(env)->ExceptionClear(env);
}

static void qv_free_target(qv_target* target) {
  QV_SLOT0(target->vm, Release);
  qv_drop_kit(target->kit);
  qv_free(target);
}

/* ---- exceptions of the host ---- */

static void qv_raise_text(qv_jnienv env, const qv_kit* kit, const wchar_t* text) {
  const qv_jni* const jni = QV_JNI(env);
  const qv_jstring string = qv_new_string(env, text);
  qv_jobject made = NULL;
  qv_value values[2];
  values[0].l = string;
  values[1].j = 0; /* it has no part of the host's */
  if (string != NULL) made = jni->NewObjectA(env, kit->exception, kit->make_exception, values);
  if (made != NULL) {
    jni->Throw(env, made);
  } else if (!jni->ExceptionCheck(env)) {
    jni->ThrowNew(env, kit->out_of_memory, "no memory for what a host's function failed with");
  }
  qv_delete_local(env, made);
  qv_delete_local(env, string);
}

static void qv_raise_status(qv_jnienv env, const qv_kit* kit, int32_t status) {
  wchar_t text[] = L"a function of the host failed with status 0x00000000";
  wchar_t* digit = text + sizeof text / sizeof text[0] - 2;
  uint32_t left;
  for (left = (uint32_t)status; left != 0; left >>= 4) *digit-- = L"0123456789ABCDEF"[left & 15];
  qv_raise_text(env, kit, text);
}

/* ---- the native methods of HostPart ---- */

static void qv_native_release(qv_jnienv env, qv_jclass cls, int64_t bits) {
  qv_target* const target = qv_target_of(bits);
  (void)cls;
  qv_end_context(env, target->end, target->context);
  qv_free_target(target);
}

/* One of Java's arguments, out of its box where the letter has none. False with the exception pending. */
static int qv_read_argument(qv_jnienv env, const qv_kit* kit, qv_jarray all, int32_t at, char letter, qv_value* value) {
  const qv_jni* const jni = QV_JNI(env);
  const qv_jobject element = jni->GetObjectArrayElement(env, all, at);
  qv_value asked[2];
  if (jni->ExceptionCheck(env)) return 0;
  value->l = element;
  if (letter == 'L') return 1;
  asked[0].c = (uint16_t)letter;
  asked[1].l = element;
  value->j = jni->CallStaticLongMethodA(env, kit->type, kit->type_bits, asked);
  qv_delete_local(env, element);
  return !jni->ExceptionCheck(env);
}

/* The first three arguments come apart, as objects and as bits. */
enum { QV_APART = 3 };

static int qv_read_arguments(qv_jnienv env, const qv_target* target, const qv_slot* slot, qv_jarray all,
                             const qv_jobject* objects, const int64_t* bits, qv_value* values) {
  int32_t i;
  if (slot->count > QV_APART && QV_JNI(env)->EnsureLocalCapacity(env, slot->count + 16) != 0) return 0;
  for (i = 0; i < slot->count; ++i) {
    if (i >= QV_APART) {
      if (!qv_read_argument(env, target->kit, all, i, slot->letters[i], &values[i])) return 0;
    } else if (slot->letters[i] == 'L') {
      values[i].l = objects[i];
    } else {
      values[i].j = bits[i];
    }
  }
  return 1;
}

static void qv_call_function(qv_jnienv env, const qv_target* target, const qv_slot* slot, qv_call* call) {
  const int32_t status = slot->call(call);
  if (status >= 0) return;
  call->result.j = 0;
  if (!QV_JNI(env)->ExceptionCheck(env)) qv_raise_status(env, target->kit, status);
}

static qv_value qv_native_call(qv_jnienv env, int64_t part, int32_t number, qv_jarray all, qv_jobject a, qv_jobject b,
                               qv_jobject c, int64_t x, int64_t y, int64_t z) {
  const qv_target* const target = qv_target_of(part);
  const qv_slot* const slot = &target->slots[number];
  qv_jobject objects[QV_APART];
  int64_t bits[QV_APART];
  qv_value few[8];
  qv_value* values = few;
  qv_call call;
  objects[0] = a;
  objects[1] = b;
  objects[2] = c;
  bits[0] = x;
  bits[1] = y;
  bits[2] = z;
  call.vm = target->vm;
  call.env = env;
  call.context = target->context;
  call.count = slot->count;
  call.result.j = 0;
  if (slot->count > 8) values = (qv_value*)qv_alloc((size_t)slot->count * sizeof(qv_value));
  call.arguments = values;
  if (values == NULL) {
    qv_throw_out_of_memory(env);
  } else if (qv_read_arguments(env, target, slot, all, objects, bits, values)) {
    qv_call_function(env, target, slot, &call);
  }
  if (values != few) qv_free(values);
  return call.result;
}

static qv_jobject qv_native_call_object(qv_jnienv env, qv_jclass cls, int64_t part, int32_t number, qv_jarray all,
                                        qv_jobject a, qv_jobject b, qv_jobject c, int64_t x, int64_t y, int64_t z) {
  (void)cls;
  return qv_native_call(env, part, number, all, a, b, c, x, y, z).l;
}

static int64_t qv_native_call_bits(qv_jnienv env, qv_jclass cls, int64_t part, int32_t number, qv_jarray all,
                                   qv_jobject a, qv_jobject b, qv_jobject c, int64_t x, int64_t y, int64_t z) {
  (void)cls;
  return qv_native_call(env, part, number, all, a, b, c, x, y, z).j;
}

/* Calls a method of an interface and not what overrides it; the result's bits. An exception stays pending. */
static qv_value qv_call_default(qv_jnienv env, qv_jobject on, qv_jclass in, qv_jmethod method, uint16_t letter,
                                const qv_value* values) {
  const qv_jni* const jni = QV_JNI(env);
  qv_value result;
  result.j = 0;
  switch (letter) {
#define QV_CALL(letter, member, Result, Type)                                        \
  case letter:                                                                       \
    result.member = jni->CallNonvirtual##Type##MethodA(env, on, in, method, values); \
    break;
    QV_PRIMITIVE_TYPES(QV_CALL)
#undef QV_CALL
    case 'V':
      jni->CallNonvirtualVoidMethodA(env, on, in, method, values);
      break;
    default:
      result.l = jni->CallNonvirtualObjectMethodA(env, on, in, method, values);
      break;
  }
  return result;
}

/* Its object; a primitive result's box. */
static qv_jobject qv_run_default(qv_jnienv env, const qv_kit* kit, qv_jobject on, qv_jobject reflected, qv_jclass in,
                                 const uint16_t* letters, int32_t count, qv_jarray all, qv_value* values) {
  const qv_jni* const jni = QV_JNI(env);
  qv_jmethod method;
  qv_value result[2];
  int32_t i;
  for (i = 0; i < count; ++i) {
    if (!qv_read_argument(env, kit, all, i, (char)letters[i], &values[i])) return NULL;
  }
  method = jni->FromReflectedMethod(env, reflected);
  if (method == NULL) return NULL;
  result[1] = qv_call_default(env, on, in, method, letters[count], values);
  if (jni->ExceptionCheck(env)) return NULL;
  if (letters[count] == 'L' || letters[count] == 'V') return result[1].l;
  result[0].c = letters[count];
  return jni->CallStaticObjectMethodA(env, kit->type, kit->type_box, result);
}

static qv_jobject qv_native_call_default(qv_jnienv env, qv_jclass cls, int64_t part, qv_jobject on,
                                         qv_jobject reflected, qv_jclass in, qv_jstring shape, qv_jarray all) {
  const int32_t count = QV_JNI(env)->GetStringLength(env, shape) - 1;
  qv_value* const values = (qv_value*)qv_alloc(((size_t)count + 1) * (sizeof(qv_value) + sizeof(uint16_t)));
  qv_jobject result = NULL;
  (void)cls;
  if (values == NULL) {
    qv_throw_out_of_memory(env);
  } else if (QV_JNI(env)->EnsureLocalCapacity(env, count + 16) == 0) {
    uint16_t* const letters = (uint16_t*)(values + count + 1);
    QV_JNI(env)->GetStringRegion(env, shape, 0, count + 1, letters);
    result = qv_run_default(env, qv_target_of(part)->kit, on, reflected, in, letters, count, all, values);
  }
  qv_free(values);
  return result;
}

/* ---- making the classes ---- */

/* Each one after those that it extends. */
static const struct qv_host_class {
  const char* name;
  const char* bytes;
  int32_t size;
} qv_host_classes[] = {
#include "qvjvm/client/host_classes.inc"
};

/* A class loader that has nothing but what is defined in it, and asks the system's: what the host's functions look up
   by JNI is looked up through it. Null with an exception pending. */
static qv_jobject qv_make_loader(qv_jnienv env) {
  const qv_jni* const jni = QV_JNI(env);
  const qv_jclass base = jni->FindClass(env, "java/lang/ClassLoader");
  const qv_jclass cls = base == NULL ? NULL : jni->FindClass(env, "java/net/URLClassLoader");
  const qv_jclass url = cls == NULL ? NULL : jni->FindClass(env, "java/net/URL");
  const qv_jmethod system =
      url == NULL ? NULL : jni->GetStaticMethodID(env, base, "getSystemClassLoader", "()Ljava/lang/ClassLoader;");
  const qv_jmethod make =
      system == NULL ? NULL : jni->GetMethodID(env, cls, "<init>", "([Ljava/net/URL;Ljava/lang/ClassLoader;)V");
  qv_value values[2];
  values[0].l = make == NULL ? NULL : jni->NewObjectArray(env, 0, url, NULL);
  if (values[0].l == NULL) return NULL;
  values[1].l = jni->CallStaticObjectMethodA(env, base, system, values);
  return jni->ExceptionCheck(env) ? NULL : jni->NewObjectA(env, cls, make, values);
}

/* Keeps a class by a global reference when it is the named one. */
static int qv_keep_class(qv_jnienv env, qv_jclass cls, const char* name, const char* wanted, qv_jclass* into) {
  if (strcmp(name, wanted) == 0) *into = QV_JNI(env)->NewGlobalRef(env, cls);
  return strcmp(name, wanted) != 0 || *into != NULL;
}

static int qv_define_classes(qv_jnienv env, qv_kit* kit) {
  const qv_jobject loader = qv_make_loader(env);
  size_t i;
  if (loader == NULL) return 0;
  for (i = 0; i < sizeof qv_host_classes / sizeof qv_host_classes[0]; ++i) {
    const struct qv_host_class* const each = &qv_host_classes[i];
    const qv_jclass cls = QV_JNI(env)->DefineClass(env, each->name, loader, each->bytes, each->size);
    if (cls == NULL || !qv_keep_class(env, cls, each->name, "qvjvm/HostPart", &kit->part) ||
        !qv_keep_class(env, cls, each->name, "qvjvm/HostWatcher", &kit->watcher) ||
        !qv_keep_class(env, cls, each->name, "qvjvm/HostType", &kit->type) ||
        !qv_keep_class(env, cls, each->name, "qvjvm/HostException", &kit->exception)) {
      return 0;
    }
    qv_delete_local(env, cls);
  }
  return 1;
}

static int qv_bind_part(qv_jnienv env, const qv_kit* kit) {
#define QV_CALL_ARGUMENTS "(JI[Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;Ljava/lang/Object;JJJ)"
  static const qv_native methods[] = {
      {"release", "(J)V", (void (*)(void))qv_native_release},
      {"callObject", QV_CALL_ARGUMENTS "Ljava/lang/Object;", (void (*)(void))qv_native_call_object},
      {"callBits", QV_CALL_ARGUMENTS "J", (void (*)(void))qv_native_call_bits},
      {"callDefault",
       "(JLjava/lang/Object;Ljava/lang/reflect/Method;Ljava/lang/Class;Ljava/lang/String;[Ljava/lang/Object;)"
       "Ljava/lang/Object;",
       (void (*)(void))qv_native_call_default},
  };
#undef QV_CALL_ARGUMENTS
  return QV_JNI(env)->RegisterNatives(env, kit->part, methods, (int32_t)(sizeof methods / sizeof methods[0])) == 0;
}

static int qv_find_methods(qv_jnienv env, qv_kit* kit) {
  const struct {
    qv_jmethod* into;
    qv_jclass cls;
    int is_static;
    const char* name;
    const char* signature;
  } methods[] = {
      {&kit->part_of, kit->part, 1, "of", "(Ljava/lang/Object;)Lqvjvm/HostPart;"},
      {&kit->part_revoke, kit->part, 0, "revoke", "()V"},
      {&kit->watcher_await, kit->watcher, 1, "await", "(Lqvjvm/HostPart;J)Z"},
      {&kit->watcher_close, kit->watcher, 1, "close", "(J)Z"},
      {&kit->type_make, kit->type, 1, "make",
       "([Ljava/lang/Class;[Ljava/lang/String;[Ljava/lang/String;[Ljava/lang/Class;)Ljava/lang/Object;"},
      {&kit->type_create, kit->type, 0, "create", "(J)Ljava/lang/Object;"},
      {&kit->type_bits, kit->type, 1, "bits", "(CLjava/lang/Object;)J"},
      {&kit->type_box, kit->type, 1, "box", "(CJ)Ljava/lang/Object;"},
      {&kit->make_exception, kit->exception, 0, "<init>", "(Ljava/lang/String;J)V"},
  };
  size_t i;
  for (i = 0; i < sizeof methods / sizeof methods[0]; ++i) {
    const qv_jni* const jni = QV_JNI(env);
    *methods[i].into = methods[i].is_static
                           ? jni->GetStaticMethodID(env, methods[i].cls, methods[i].name, methods[i].signature)
                           : jni->GetMethodID(env, methods[i].cls, methods[i].name, methods[i].signature);
    if (*methods[i].into == NULL) return 0;
  }
  return 1;
}

static int qv_fill_kit(qv_jnienv env, qv_kit* kit) {
  const qv_jni* const jni = QV_JNI(env);
  qv_jclass cls;
  int good;
  if (jni->PushLocalFrame(env, 32) != 0) return 0;
  cls = jni->FindClass(env, "java/lang/OutOfMemoryError"); /* wanted when Java has no memory to look it up */
  good = cls != NULL && (kit->out_of_memory = jni->NewGlobalRef(env, cls)) != NULL && qv_define_classes(env, kit) &&
         qv_bind_part(env, kit) && qv_find_methods(env, kit);
  jni->PopLocalFrame(env, NULL);
  return good;
}

/* The module's classes, made where there are none, with a count for the caller; null with the reason told. */
static qv_kit* qv_need_kit(const qv_scope* in, int32_t* status, IQvString** why) {
  qv_kit* kit = qv_get_kit();
  if (kit != NULL) return kit;
  kit = (qv_kit*)qv_alloc(sizeof(qv_kit));
  if (kit == NULL) {
    *status = qv_tell(in, QV_E_OUTOFMEMORY, L"no memory", why);
    return NULL;
  }
  kit->users = 1;
  kit->vm = in->vm;
  QV_SLOT0(in->vm, AddRef);
  if (qv_fill_kit(in->env, kit)) return qv_keep_kit(kit);
  *status = qv_fail_by_java(in, why);
  qv_drop_kit(kit);
  return NULL;
}

/* ---- signatures ---- */

/* The end of the type that begins there; null when none does. */
static const char* qv_skip_type(const char* at) {
  const char* name;
  while (*at == '[') ++at;
  if (*at != 'L') return *at != 0 && strchr("ZBCSIJFD", *at) != NULL ? at + 1 : NULL;
  name = ++at;
  while (*at != 0 && *at != ';') ++at;
  return *at == ';' && at != name ? at + 1 : NULL;
}

/* How many parameters a signature has; -1 for a malformed one. */
static int32_t qv_count_parameters(const char* signature) {
  const char* at = signature + 1;
  int32_t count = 0;
  if (signature[0] != '(') return -1;
  for (; *at != ')'; ++count) {
    at = qv_skip_type(at);
    if (at == NULL) return -1;
  }
  ++at;
  at = *at == 'V' ? at + 1 : qv_skip_type(at);
  return at != NULL && *at == 0 ? count : -1;
}

/* The letters of its types, the result's last. */
static void qv_write_letters(const char* signature, char* letters) {
  const char* at = signature + 1;
  for (; *at != 0; at = *at == 'V' ? at + 1 : qv_skip_type(at)) {
    if (*at == ')') ++at;
    *letters++ = *at == '[' ? 'L' : *at;
  }
}

/* ---- making an object ---- */

static const wchar_t* qv_misuse(const qv_implementation* what, const qv_jobject* object) {
  int32_t i;
  if (what == NULL || object == NULL) return L"null was given where something has to be";
  if (what->interfaces == NULL || what->interfaceCount <= 0) return L"an implementation names its interfaces";
  if (what->functions == NULL || what->functionCount <= 0) return L"an implementation has at least one function";
  for (i = 0; i < what->interfaceCount; ++i) {
    if (what->interfaces[i] == NULL) return L"the name of an interface is null";
  }
  for (i = 0; i < what->functionCount; ++i) {
    if (what->functions[i].call == NULL) return L"a function is null";
    if (what->functions[i].signature == NULL) return L"the signature of a function is null";
    if (qv_count_parameters(what->functions[i].signature) < 0) return L"the signature of a function is malformed";
  }
  return NULL;
}

/* A new target that takes over the count of the kit; null without memory. */
static qv_target* qv_make_target(const qv_scope* in, qv_kit* kit, const qv_implementation* what, void* context) {
  size_t letters = 0;
  qv_target* target;
  qv_slot* slots;
  char* text;
  int32_t i;
  for (i = 0; i < what->functionCount; ++i) letters += (size_t)qv_count_parameters(what->functions[i].signature) + 2;
  target =
      (qv_target*)qv_alloc(sizeof(qv_target) + (size_t)what->functionCount * sizeof(qv_slot) + letters * sizeof(char));
  if (target == NULL) return NULL;
  slots = (qv_slot*)(target + 1);
  text = (char*)(slots + what->functionCount);
  for (i = 0; i < what->functionCount; ++i) {
    slots[i].call = what->functions[i].call;
    slots[i].count = qv_count_parameters(what->functions[i].signature);
    slots[i].letters = text;
    qv_write_letters(what->functions[i].signature, text);
    text += slots[i].count + 2;
  }
  target->kit = kit;
  target->vm = in->vm;
  target->context = context;
  target->end = what->end;
  target->slots = slots;
  QV_SLOT0(in->vm, AddRef);
  return target;
}

/* A class of the service's own class path in a joined JVM; what raised before stays pending when it is not there
   either. */
static qv_jclass qv_find_class_of_service(const qv_scope* in, const char* name) {
  const qv_jni* const jni = QV_JNI(in->env);
  qv_jobject why;
  qv_jclass found = NULL;
  int32_t created = 0;
  if (QV_SLOT(in->vm, IsJVMCreated, &created) < 0 || created != 0) return NULL;
  why = jni->ExceptionOccurred(in->env);
  jni->ExceptionClear(in->env);
  if (QV_SLOT(in->vm, FindClass, &found, name) < 0) {
    found = NULL;
    jni->ExceptionClear(in->env);
    if (why != NULL) jni->Throw(in->env, why);
  }
  qv_delete_local(in->env, why);
  return found;
}

/* The name goes dotted. */
static qv_jclass qv_load_class(qv_jnienv env, qv_jobject loader, char* name) {
  const qv_jni* const jni = QV_JNI(env);
  const qv_jclass cls = jni->FindClass(env, "java/lang/Class");
  const qv_jmethod method = cls == NULL ? NULL
                                        : jni->GetStaticMethodID(env, cls, "forName",
                                                                 "(Ljava/lang/String;ZLjava/lang/ClassLoader;)"
                                                                 "Ljava/lang/Class;");
  qv_jclass found = NULL;
  qv_value values[3];
  char* unit;
  for (unit = name; *unit != 0; ++unit) {
    if (*unit == '/') *unit = '.';
  }
  values[0].l = method == NULL ? NULL : jni->NewStringUTF(env, name);
  values[1].z = 1;
  values[2].l = loader;
  if (values[0].l != NULL) {
    found = jni->CallStaticObjectMethodA(env, cls, method, values);
    if (jni->ExceptionCheck(env)) found = NULL;
  }
  qv_delete_local(env, values[0].l);
  qv_delete_local(env, cls);
  return found;
}

/* A class by a part of a text, a local reference; null with an exception pending. */
static qv_jclass qv_find_class(const qv_scope* in, qv_jobject loader, const char* begin, size_t length) {
  char* const name = (char*)qv_alloc(length + 1);
  qv_jclass found = NULL;
  if (name == NULL) {
    qv_throw_out_of_memory(in->env);
    return NULL;
  }
  memcpy(name, begin, length);
  if (loader != NULL) {
    found = qv_load_class(in->env, loader, name);
  } else {
    found = QV_JNI(in->env)->FindClass(in->env, name);
    if (found == NULL) found = qv_find_class_of_service(in, name);
  }
  qv_free(name);
  return found;
}

static qv_jarray qv_new_array(qv_jnienv env, const char* of, int32_t length) {
  const qv_jclass cls = QV_JNI(env)->FindClass(env, of);
  const qv_jarray array = cls == NULL ? NULL : QV_JNI(env)->NewObjectArray(env, length, cls, NULL);
  qv_delete_local(env, cls);
  return array;
}

/* Puts a reference into an array and gives it back. False for null and when there is an exception pending. */
static int qv_put(qv_jnienv env, qv_jarray array, int32_t at, qv_jobject element) {
  if (element == NULL) return 0;
  QV_JNI(env)->SetObjectArrayElement(env, array, at, element);
  qv_delete_local(env, element);
  return !QV_JNI(env)->ExceptionCheck(env);
}

/* The classes of a signature's types go into an array, from a place on. */
static int qv_put_types(const qv_scope* in, qv_jobject loader, const char* signature, qv_jarray types, int32_t at) {
  const char* type = signature + 1;
  const char* end;
  for (; *type != 0; type = end, ++at) {
    if (*type == ')') ++type;
    end = *type == 'V' ? type + 1 : qv_skip_type(type);
    if (*type == 'L') {
      if (!qv_put(in->env, types, at, qv_find_class(in, loader, type + 1, (size_t)(end - type) - 2))) return 0;
    } else if (*type == '[') {
      if (!qv_put(in->env, types, at, qv_find_class(in, loader, type, (size_t)(end - type)))) return 0;
    }
  }
  return 1;
}

/* The arrays that HostType.make wants. */
static int qv_fill_request(const qv_scope* in, const qv_implementation* what, const qv_target* target,
                           qv_value* arrays) {
  const qv_jnienv env = in->env;
  int32_t types = 0;
  int32_t i;
  for (i = 0; i < what->functionCount; ++i) types += target->slots[i].count + 1;
  arrays[0].l = qv_new_array(env, "java/lang/Class", what->interfaceCount);
  arrays[1].l = arrays[0].l == NULL ? NULL : qv_new_array(env, "java/lang/String", what->functionCount);
  arrays[2].l = arrays[1].l == NULL ? NULL : qv_new_array(env, "java/lang/String", what->functionCount);
  arrays[3].l = arrays[2].l == NULL ? NULL : qv_new_array(env, "java/lang/Class", types);
  if (arrays[3].l == NULL) return 0;
  for (i = 0; i < what->interfaceCount; ++i) {
    const char* const name = what->interfaces[i];
    if (!qv_put(env, arrays[0].l, i, qv_find_class(in, what->loader, name, strlen(name)))) return 0;
  }
  for (i = 0, types = 0; i < what->functionCount; types += target->slots[i++].count + 1) {
    const qv_function* const each = &what->functions[i];
    if (each->name != NULL && !qv_put(env, arrays[1].l, i, QV_JNI(env)->NewStringUTF(env, each->name))) return 0;
    if (!qv_put(env, arrays[2].l, i, QV_JNI(env)->NewStringUTF(env, target->slots[i].letters))) return 0;
    if (!qv_put_types(in, what->loader, each->signature, arrays[3].l, types)) return 0;
  }
  return 1;
}

/* The HostType of the object, a local reference; null with the reason told. */
static qv_jobject qv_make_type(const qv_scope* in, const qv_implementation* what, const qv_target* target,
                               int32_t* status, IQvString** why) {
  const qv_jni* const jni = QV_JNI(in->env);
  const qv_kit* const kit = target->kit;
  qv_jobject made = NULL;
  qv_value arrays[4];
  if (jni->PushLocalFrame(in->env, 32) != 0) {
    *status = qv_fail_by_java(in, why);
    return NULL;
  }
  if (qv_fill_request(in, what, target, arrays)) {
    made = jni->CallStaticObjectMethodA(in->env, kit->type, kit->type_make, arrays);
    if (jni->ExceptionCheck(in->env)) made = NULL;
  }
  if (made == NULL) {
    *status = qv_fail_by_java(in, why);
  } else if (!jni->IsInstanceOf(in->env, made, kit->type)) {
    *status = qv_tell_string(in, QV_E_INVALIDARG, made, why);
    made = NULL;
  }
  made = jni->PopLocalFrame(in->env, made);
  if (made == NULL && *status >= 0) *status = qv_fail_by_java(in, why);
  return made;
}

/* When it fails, the context is still the caller's. */
static int32_t qv_make_object(const qv_scope* in, const qv_implementation* what, void* context, qv_jobject* object,
                              IQvString** why) {
  const qv_jni* const jni = QV_JNI(in->env);
  int32_t status = QV_S_OK;
  qv_jobject made = NULL;
  qv_jobject type;
  qv_target* target;
  qv_value value;
  qv_kit* const kit = qv_need_kit(in, &status, why);
  if (kit == NULL) return status;
  target = qv_make_target(in, kit, what, context);
  if (target == NULL) {
    qv_drop_kit(kit);
    return qv_tell(in, QV_E_OUTOFMEMORY, L"no memory", why);
  }
  type = qv_make_type(in, what, target, &status, why);
  if (type != NULL) {
    value.j = qv_bits_of(target);
    made = jni->CallObjectMethodA(in->env, type, kit->type_create, &value);
    if (jni->ExceptionCheck(in->env) || made == NULL) status = qv_fail_by_java(in, why);
    qv_delete_local(in->env, type);
  }
  if (status < 0) {
    qv_free_target(target);
  } else {
    *object = made;
  }
  return status;
}

int32_t qv_implement(IQV_JavaVM* vm, const qv_implementation* what, void* context, qv_jobject* object,
                     IQvString** why) QV_NOEXCEPT {
  qv_scope in;
  const wchar_t* const misuse = qv_misuse(what, object);
  int32_t status = qv_enter(&in, vm);
  if (why != NULL) *why = NULL;
  if (object != NULL) *object = NULL;
  if (misuse != NULL) {
    status = in.env == NULL ? QV_E_INVALIDARG : qv_tell(&in, QV_E_INVALIDARG, misuse, why);
  } else if (status >= 0) {
    status = qv_make_object(&in, what, context, object, why);
  }
  if (status < 0 && what != NULL) qv_end_context(in.env, what->end, context);
  return qv_leave(&in, status);
}

/* ---- taking objects back ---- */

/* Begins a function about an object or its handle: its HostPart, a local reference, and the kit with a count. */
static int32_t qv_begin(qv_scope* in, IQV_JavaVM* vm, qv_jobject object, qv_kit** kit, qv_jobject* part) {
  const qv_jni* jni;
  qv_value value;
  int32_t status = qv_enter(in, vm);
  *kit = NULL;
  *part = NULL;
  if (status < 0) return status;
  *kit = object == NULL ? NULL : qv_get_kit();
  if (*kit == NULL) return QV_E_INVALIDARG;
  jni = QV_JNI(in->env);
  value.l = object;
  if (jni->IsInstanceOf(in->env, object, (*kit)->part)) {
    *part = object;
  } else {
    *part = jni->CallStaticObjectMethodA(in->env, (*kit)->part, (*kit)->part_of, &value);
  }
  if (jni->ExceptionCheck(in->env)) {
    jni->ExceptionClear(in->env);
    *part = NULL;
  }
  return *part == NULL ? QV_E_INVALIDARG : QV_S_OK;
}

static int32_t qv_finish(const qv_scope* in, qv_jobject object, qv_kit* kit, qv_jobject part, int32_t status) {
  if (in->env != NULL && QV_JNI(in->env)->ExceptionCheck(in->env)) status = qv_fail_by_java(in, NULL);
  if (part != object) qv_delete_local(in->env, part);
  if (kit != NULL) qv_drop_kit(kit);
  return qv_leave(in, status);
}

int32_t qv_get_handle(IQV_JavaVM* vm, qv_jobject object, qv_jobject* handle) QV_NOEXCEPT {
  qv_scope in;
  qv_kit* kit;
  qv_jobject part;
  int32_t status;
  if (handle == NULL) return QV_E_INVALIDARG;
  *handle = NULL;
  status = qv_begin(&in, vm, object, &kit, &part);
  if (status >= 0) {
    *handle = QV_JNI(in.env)->NewGlobalRef(in.env, part);
    if (*handle == NULL) status = QV_E_OUTOFMEMORY;
  }
  return qv_finish(&in, object, kit, part, status);
}

int32_t qv_revoke(IQV_JavaVM* vm, qv_jobject object) QV_NOEXCEPT {
  qv_scope in;
  qv_kit* kit;
  qv_jobject part;
  const int32_t status = qv_begin(&in, vm, object, &kit, &part);
  qv_value none;
  none.j = 0;
  if (status >= 0) QV_JNI(in.env)->CallVoidMethodA(in.env, part, kit->part_revoke, &none);
  return qv_finish(&in, object, kit, part, status);
}

int32_t qv_wait(IQV_JavaVM* vm, qv_jobject object, uint32_t milliseconds) QV_NOEXCEPT {
  qv_scope in;
  qv_kit* kit;
  qv_jobject part;
  int32_t status = qv_begin(&in, vm, object, &kit, &part);
  qv_value values[2];
  values[0].l = part;
  values[1].j = milliseconds;
  if (status >= 0 && !QV_JNI(in.env)->CallStaticBooleanMethodA(in.env, kit->watcher, kit->watcher_await, values)) {
    status = QV_E_TIMEOUT;
  }
  return qv_finish(&in, object, kit, part, status);
}

int32_t qv_close_callbacks(IQV_JavaVM* vm, uint32_t milliseconds) QV_NOEXCEPT {
  qv_scope in;
  int32_t status = qv_enter(&in, vm);
  qv_kit* const kit = status < 0 ? NULL : qv_get_kit();
  qv_value value;
  value.j = milliseconds;
  if (kit != NULL && !QV_JNI(in.env)->CallStaticBooleanMethodA(in.env, kit->watcher, kit->watcher_close, &value)) {
    status = QV_E_TIMEOUT;
  }
  if (kit != NULL && QV_JNI(in.env)->ExceptionCheck(in.env)) status = qv_fail_by_java(&in, NULL);
  if (kit != NULL && status >= 0) qv_forget_kit(kit);
  return qv_finish(&in, NULL, kit, NULL, status);
}

/* ---- exceptions and native methods ---- */

int32_t qv_raise(IQV_JavaVM* vm, int32_t status, const wchar_t* text) QV_NOEXCEPT {
  const qv_jnienv env = vm == NULL ? NULL : QV_THREAD_ENV(vm);
  int32_t made = QV_S_OK;
  qv_scope in;
  qv_kit* kit;
  if (status >= 0) status = QV_E_FAIL;
  if (env == NULL || QV_JNI(env)->ExceptionCheck(env)) return status;
  in.vm = vm;
  in.env = env;
  in.aside = NULL;
  kit = qv_need_kit(&in, &made, NULL);
  if (kit == NULL) {
    qv_throw_out_of_memory(env);
    return status;
  }
  if (text != NULL) {
    qv_raise_text(env, kit, text);
  } else {
    qv_raise_status(env, kit, status);
  }
  qv_drop_kit(kit);
  return status;
}

int32_t qv_register_natives(IQV_JavaVM* vm, qv_jclass cls, const qv_native* natives, int32_t count,
                            IQvString** why) QV_NOEXCEPT {
  qv_scope in;
  int32_t status = qv_enter(&in, vm);
  int32_t whole = cls != NULL && natives != NULL && count > 0;
  int32_t i;
  if (why != NULL) *why = NULL;
  for (i = 0; whole && i < count; ++i) {
    whole = natives[i].name != NULL && natives[i].signature != NULL && natives[i].function != NULL;
  }
  if (!whole) {
    status = in.env == NULL ? QV_E_INVALIDARG
                            : qv_tell(&in, QV_E_INVALIDARG, L"a class, name, signature or function is null", why);
  } else if (status >= 0 && (QV_JNI(in.env)->RegisterNatives(in.env, cls, natives, count) != 0 ||
                             QV_JNI(in.env)->ExceptionCheck(in.env))) {
    status = qv_fail_by_java(&in, why);
  }
  return qv_leave(&in, status);
}

int32_t qv_unregister_natives(IQV_JavaVM* vm, qv_jclass cls) QV_NOEXCEPT {
  qv_scope in;
  int32_t status = cls == NULL ? QV_E_INVALIDARG : qv_enter(&in, vm);
  if (cls == NULL) return status;
  if (status >= 0 && (QV_JNI(in.env)->UnregisterNatives(in.env, cls) != 0 || QV_JNI(in.env)->ExceptionCheck(in.env))) {
    status = qv_fail_by_java(&in, NULL);
  }
  return qv_leave(&in, status);
}

#undef QV_PRIMITIVE_TYPES
#undef QV_JNI
#undef QV_SLOT
#undef QV_SLOT0
#undef QV_THREAD_ENV

#if defined(__cplusplus)
}
#endif

#endif
