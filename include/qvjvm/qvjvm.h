/* qvjvm.h: the binary interface of the Java VM Service, qvjvm.dll, for C and C++ hosts on 64-bit Windows.
 *
 * Self-contained: it needs neither a JDK nor another header of this product. Every table below is a COM-style table of
 * function pointers; each slot is written once and gives a C++ abstract class or, in C (or with QV_C_VIEW defined), a
 * struct of function pointers reached as  vm->lpVtbl->FindClass(vm, ...).
 *
 * Ownership: an object that comes back through an out-pointer belongs to the caller. IQvString objects are given back
 * with Release; Java references with DeleteLocalRef or DeleteGlobalRef. Local references belong to the thread that got
 * them and must not be used on another one.
 * Errors: a negative status is a failure. FindClass, the typed calls and the array operations leave a record that
 * GetErrorText and GetErrorCode read; the operations on references, strings and objects (slots 7 to 11 and 13 to 19)
 * and the queries (48 to 56) leave none, or an older one. Null: a null out-pointer, name or reference fails (deleting
 * null does not), with a record where the operation leaves one. The signature of a typed call goes to Java as it is and
 * must not be null. FindClass clears an exception that is pending. Threads: every operation may run on any thread; a
 * thread is attached to the JVM at its first Java operation and detached when it ends. One service object is meant to
 * be used by one thread at a time, because its error record is shared; make one object per thread with QV_CreateJavaVM
 * where several threads need texts.
 */
#ifndef QVJVM_QVJVM_H
#define QVJVM_QVJVM_H

#include <guiddef.h>
#include <stddef.h>
#include <stdint.h>

/* ---- version of this interface and of the library that it was made with ---- */

#define QVJVM_VERSION_MAJOR 1
#define QVJVM_VERSION_MINOR 1
#define QVJVM_VERSION_PATCH 0
/** All three in a number, for comparisons: 10203 is 1.2.3. The library that is there at run time says its own by
 *  qv_service_version of qvjvm/options.h, or qvjvm::service_version. */
#define QVJVM_VERSION (QVJVM_VERSION_MAJOR * 10000 + QVJVM_VERSION_MINOR * 100 + QVJVM_VERSION_PATCH)

/* ---- status codes ---- */

#define QV_S_OK ((int32_t)0)
/** QV_CreateJavaVM only: a good object, but the JVM ran already and did not get the extra class path. */
#define QV_S_CLASSPATH_IGNORED ((int32_t)8)
#define QV_E_NOTIMPL ((int32_t)0x80004001)
#define QV_E_NOINTERFACE ((int32_t)0x80004002)
#define QV_E_FAIL ((int32_t)0x80004005)
#define QV_E_OUTOFMEMORY ((int32_t)0x8007000E)
#define QV_E_INVALIDARG ((int32_t)0x80070057)

/** Code in the error record of a failed typed call or array operation; every other record has code 0. */
#define QV_CODE_CALL_FAILED ((int32_t)-1001)

/* ---- Java references, as opaque pointers; the same values as JNI's jobject and its kin ---- */

typedef void* qv_jobject;
typedef void* qv_jclass;
typedef void* qv_jstring;
typedef void* qv_jarray;
typedef void* qv_jnienv; /* JNIEnv* */

/* ---- how a table is written: once, for both languages ---- */

#if defined(__cplusplus) && !defined(QV_C_VIEW)
#define QV_CPP_VIEW 1
#define QV_TABLE_BEGIN(Interface) struct Interface {
#define QV_TABLE_END(Interface) \
 protected:                     \
  ~Interface() = default;       \
  }                             \
  ;
#define QV_METHOD(Result, Name) virtual Result Name
#define QV_THIS
#define QV_THIS_
#define QV_PURE noexcept = 0
#define QV_IIDREF const GUID&
#else
#define QV_CPP_VIEW 0
#define QV_TABLE_BEGIN(Interface)                 \
  typedef struct Interface Interface;             \
  typedef struct Interface##Vtbl Interface##Vtbl; \
  struct Interface {                              \
    const Interface##Vtbl* lpVtbl;                \
  };                                              \
  struct Interface##Vtbl {
#define QV_TABLE_END(Interface) \
  }                             \
  ;
#define QV_METHOD(Result, Name) Result(*Name)
#define QV_THIS QV_SELF* self
#define QV_THIS_ QV_SELF *self,
#define QV_PURE
#define QV_IIDREF const GUID*
#endif

#if defined(__cplusplus)
#define QV_NOEXCEPT noexcept
extern "C" {
#else
#define QV_NOEXCEPT
#endif

/* ---- IQvString: immutable text of the host library ---- */

#define QV_SELF IQvString
/** Immutable text of the host library, reference-counted. Threads: any. */
QV_TABLE_BEGIN(IQvString)
/* 0 */ /** Answers IUnknown alone; anything else E_NOINTERFACE. */
QV_METHOD(int32_t, QueryInterface)(QV_THIS_ QV_IIDREF iid, void** object) QV_PURE;
/* 1 */ /** The count after the increment. */
QV_METHOD(uint32_t, AddRef)(QV_THIS) QV_PURE;
/* 2 */ /** The count after the decrement; at 0 the object is gone. */
QV_METHOD(uint32_t, Release)(QV_THIS) QV_PURE;
/* 3 */ /** Not for hosts. */
QV_METHOD(int32_t, Reserved3)(QV_THIS) QV_PURE;
/* 4 */ /** Not for hosts. */
QV_METHOD(int32_t, Reserved4)(QV_THIS) QV_PURE;
/* 5 */ /** Never null, null-terminated, valid while the object lives. */
QV_METHOD(const wchar_t*, GetText)(QV_THIS) QV_PURE;
/* 6 */ /** UTF-16 units including the terminating null: an empty text is 1. */
QV_METHOD(int32_t, GetLength)(QV_THIS) QV_PURE;
/* 7 */ /** Not for hosts. */
QV_METHOD(int32_t, Reserved7)(QV_THIS) QV_PURE;
/* 8 */ /** Not for hosts. */
QV_METHOD(int32_t, Reserved8)(QV_THIS) QV_PURE;
/* 9 */ /** A new object: this text followed by the right one's. Negative on failure, null then. */
QV_METHOD(int32_t, Concat)(QV_THIS_ IQvString* right, IQvString** joined) QV_PURE;
QV_TABLE_END(IQvString)
#undef QV_SELF

/* ---- IQV_JavaVM: the service object ---- */

/** What CaptureException hands out, one block of the host library's QvshrAlloc: free it with its QvshrFree. */
typedef struct ErrorRecord {
  wchar_t text[512]; /**< UTF-16, at most 511 units of message, the last unit always 0. */
  int32_t code;      /**< 0, or QV_CODE_CALL_FAILED for typed calls and array operations. */
} ErrorRecord;

/** {76C5133D-2502-4A2A-BC55-F03AFEB1B5AF} */
#define QV_IID_JAVAVM_INIT                                                         \
  {                                                                                \
    0x76C5133D, 0x2502, 0x4A2A, { 0xBC, 0x55, 0xF0, 0x3A, 0xFE, 0xB1, 0xB5, 0xAF } \
  }

#define QV_SELF IQV_JavaVM
/** The service object: one record of the last error, and the way into the process's Java VM. */
QV_TABLE_BEGIN(IQV_JavaVM)

/* -- identity and lifetime -- */

/* 0 */ /** Answers IUnknown and IQV_JavaVM; for any other id E_NOINTERFACE, and *object is left untouched. */
QV_METHOD(int32_t, QueryInterface)(QV_THIS_ QV_IIDREF iid, void** object) QV_PURE;
/* 1 */ /** The count after the increment. */
QV_METHOD(uint32_t, AddRef)(QV_THIS) QV_PURE;
/* 2 */ /** The count after the decrement; at 0 the object is gone. */
QV_METHOD(uint32_t, Release)(QV_THIS) QV_PURE;
/* 3 */ /** A second, independent hold count that starts at 0; hands out the object. Not interlocked. */
QV_METHOD(int32_t, AcquireService)(QV_THIS_ IQV_JavaVM** service) QV_PURE;
/* 4 */ /** Drops a hold and nulls *service; below 1 the object is destroyed, whatever its reference count. */
QV_METHOD(int32_t, ReleaseService)(QV_THIS_ IQV_JavaVM** service) QV_PURE;

/* -- the last error of this object -- */

/* 5 */ /** The error record's text as a new string of the caller; E_FAIL and null when there is no record. */
QV_METHOD(int32_t, GetErrorText)(QV_THIS_ IQvString** text) QV_PURE;
/* 6 */ /** The error record's code; E_FAIL and 0 when there is no record. */
QV_METHOD(int32_t, GetErrorCode)(QV_THIS_ int32_t* code) QV_PURE;

/* -- references, classes, strings, construction -- */

/* 7 */ /** Stores the reference unchanged; always S_OK. */
QV_METHOD(int32_t, CastReference)(QV_THIS_ qv_jobject* out, qv_jobject reference) QV_PURE;
/* 8 */ /** Deletes a local reference of the calling thread; null is a success. */
QV_METHOD(int32_t, DeleteLocalRef)(QV_THIS_ qv_jobject reference) QV_PURE;
/* 9 */ /** The same as DeleteLocalRef. */
QV_METHOD(int32_t, DeleteLocalRef2)(QV_THIS_ qv_jobject reference) QV_PURE;
/* 10 */ /** The same as DeleteLocalRef. */
QV_METHOD(int32_t, DeleteLocalRef3)(QV_THIS_ qv_jobject reference) QV_PURE;
/* 11 */ /** Deletes a global reference, on any thread; null is a success. */
QV_METHOD(int32_t, DeleteGlobalRef)(QV_THIS_ qv_jobject reference) QV_PURE;
/* 12 */ /** Name in JNI's form ("java/lang/String"). In a joined JVM the service's own class path is tried second. */
QV_METHOD(int32_t, FindClass)(QV_THIS_ qv_jclass* out, const char* name) QV_PURE;
/* 13 */ /** A global reference to the same object: valid on every thread until DeleteGlobalRef. */
QV_METHOD(int32_t, NewGlobalRef)(QV_THIS_ qv_jobject* out, qv_jobject reference) QV_PURE;
/* 14 */ /** A new Java string, a local reference of the caller; the text ends at its null. */
QV_METHOD(int32_t, NewString)(QV_THIS_ qv_jstring* out, const wchar_t* text) QV_PURE;
/* 15 */ /** UTF-16 units, no terminator counted. */
QV_METHOD(int32_t, GetStringLength)(QV_THIS_ int32_t* length, qv_jstring string) QV_PURE;
/* 16 */ /** Copies the whole string and a null. `sizeUnits` is not consulted: the buffer must hold length + 1 units. */
QV_METHOD(int32_t, GetStringChars)(QV_THIS_ wchar_t* buffer, int32_t* sizeUnits, qv_jstring string) QV_PURE;
/* 17 */ /** The Java string as a new text object of the caller; the text ends at an embedded null. */
QV_METHOD(int32_t, GetStringValue)(QV_THIS_ IQvString** text, qv_jstring string) QV_PURE;
/* 18 */ /** `signature` is the argument part alone, "(Ljava/lang/String;)". A constructor that throws gives S_OK and
          null and leaves the exception pending. */
QV_METHOD(int32_t, NewObject)(QV_THIS_ qv_jobject* out, qv_jclass cls, const char* signature, ...) QV_PURE;
/* 19 */ /** A new object by its constructor without arguments, else like NewObject. */
QV_METHOD(int32_t, NewDefaultObject)(QV_THIS_ qv_jobject* out, qv_jclass cls) QV_PURE;

/* -- typed calls: the Java arguments follow the signature in the widths of C's variadic calls. E_FAIL leaves a record
      with code -1001. Each "2" is a second entry of the slot before it. -- */

/* 20 */ /** Calls an instance method that gives int. */
QV_METHOD(int32_t, CallIntMethod)
(QV_THIS_ int32_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 21 */ /** The same as CallIntMethod. */
QV_METHOD(int32_t, CallIntMethod2)
(QV_THIS_ int32_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 22 */ /** Calls an instance method that gives short. */
QV_METHOD(int32_t, CallShortMethod)
(QV_THIS_ int16_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 23 */ /** The same as CallShortMethod. */
QV_METHOD(int32_t, CallShortMethod2)
(QV_THIS_ int16_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 24 */ /** Calls an instance method that gives float. */
QV_METHOD(int32_t, CallFloatMethod)
(QV_THIS_ float* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 25 */ /** The same as CallFloatMethod. */
QV_METHOD(int32_t, CallFloatMethod2)
(QV_THIS_ float* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 26 */ /** Calls an instance method that gives double. */
QV_METHOD(int32_t, CallDoubleMethod)
(QV_THIS_ double* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 27 */ /** The same as CallDoubleMethod. */
QV_METHOD(int32_t, CallDoubleMethod2)
(QV_THIS_ double* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 28 */ /** Calls an instance method that gives byte. */
QV_METHOD(int32_t, CallByteMethod)
(QV_THIS_ int8_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 29 */ /** The same as CallByteMethod. */
QV_METHOD(int32_t, CallByteMethod2)
(QV_THIS_ int8_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 30 */ /** Calls an instance method that gives nothing. */
QV_METHOD(int32_t, CallVoidMethod)
(QV_THIS_ qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 31 */ /** The same as CallVoidMethod. */
QV_METHOD(int32_t, CallVoidMethod2)
(QV_THIS_ qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 32 */ /** Calls an instance method that gives a reference, a new local reference of the caller. */
QV_METHOD(int32_t, CallObjectMethod)
(QV_THIS_ qv_jobject* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 33 */ /** The same as CallObjectMethod. */
QV_METHOD(int32_t, CallObjectMethod2)
(QV_THIS_ qv_jobject* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 34 */ /** The result is 0 or 1, as a 32-bit integer. */
QV_METHOD(int32_t, CallBooleanMethod)
(QV_THIS_ int32_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 35 */ /** The same as CallBooleanMethod. */
QV_METHOD(int32_t, CallBooleanMethod2)
(QV_THIS_ int32_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 36 */ /** Calls an instance method that gives long. */
QV_METHOD(int32_t, CallLongMethod)
(QV_THIS_ int64_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 37 */ /** The same as CallLongMethod. */
QV_METHOD(int32_t, CallLongMethod2)
(QV_THIS_ int64_t* result, qv_jclass cls, qv_jobject object, const char* name, const char* signature, ...) QV_PURE;
/* 38 */ /** Calls a static method that gives boolean. */
QV_METHOD(int32_t, CallStaticBooleanMethod)
(QV_THIS_ int32_t* result, qv_jclass cls, const char* name, const char* signature, ...) QV_PURE;
/* 39 */ /** Calls a static method that gives a reference, a new local reference of the caller. */
QV_METHOD(int32_t, CallStaticObjectMethod)
(QV_THIS_ qv_jobject* result, qv_jclass cls, const char* name, const char* signature, ...) QV_PURE;
/* 40 */ /** Calls a static method that gives nothing. */
QV_METHOD(int32_t, CallStaticVoidMethod)
(QV_THIS_ qv_jclass cls, const char* name, const char* signature, ...) QV_PURE;
/* 41 */ /** Reads a static field of type int. */
QV_METHOD(int32_t, GetStaticIntField)(QV_THIS_ int32_t* result, qv_jclass cls, const char* name) QV_PURE;
/* 42 */ /** Reads a static field of type short. */
QV_METHOD(int32_t, GetStaticShortField)(QV_THIS_ int16_t* result, qv_jclass cls, const char* name) QV_PURE;

/* -- arrays -- */

/* 43 */ /** Every element starts as the same empty string. */
QV_METHOD(int32_t, NewStringArray)(QV_THIS_ qv_jarray* out, int32_t length) QV_PURE;
/* 44 */ /** Stores a reference, which may be null; an index out of range is a failure with a record. */
QV_METHOD(int32_t, SetObjectArrayElement)(QV_THIS_ qv_jarray array, int32_t index, qv_jobject value) QV_PURE;
/* 45 */ /** A new byte array of so many elements, all 0; a negative length is a failure with a record. */
QV_METHOD(int32_t, NewByteArray)(QV_THIS_ qv_jarray* out, int32_t length) QV_PURE;
/* 46 */ /** Copies `count` bytes from element 0. The count is not checked against the array. */
QV_METHOD(int32_t, GetByteArrayData)(QV_THIS_ qv_jarray array, int32_t ignored, int32_t count, void* bytes) QV_PURE;
/* 47 */ /** Copies `count` bytes to element 0 and on. The count is not checked against the array. */
QV_METHOD(int32_t, SetByteArrayData)
(QV_THIS_ qv_jarray array, int32_t ignored, const void* bytes, int32_t count) QV_PURE;

/* -- environment, configuration, log -- */

/* 48 */ /** The calling thread's JNIEnv*, valid on this thread until it ends; a pending exception is cleared. */
QV_METHOD(int32_t, GetJNIEnv)(QV_THIS_ qv_jnienv* env) QV_PURE;
/* 49 */ /** The configured JDK location, a new text of the caller; E_FAIL when it is not configured. */
QV_METHOD(int32_t, GetJDKLocation)(QV_THIS_ IQvString** text) QV_PURE;
/* 50 */ /** The configured folder of the JVM, a new text of the caller; E_FAIL when it is not configured. */
QV_METHOD(int32_t, GetJREBinLocation)(QV_THIS_ IQvString** text) QV_PURE;
/* 51 */ /** Where the JVM's output goes, a new text of the caller. */
QV_METHOD(int32_t, GetLogFileName)(QV_THIS_ IQvString** text) QV_PURE;
/* 52 */ /** The next JVM message truncates this file and starts it anew; switches the log on. Always S_OK. */
QV_METHOD(int32_t, SetLogFileName)(QV_THIS_ const wchar_t* path) QV_PURE;
/* 53 */ /** 0 drops the JVM's output, anything else logs it. Process-wide. */
QV_METHOD(int32_t, SetJvmLogEnabled)(QV_THIS_ int32_t enabled) QV_PURE;
/* 54 */ /** 1 when this service created the JVM, 0 when it joined one. */
QV_METHOD(int32_t, IsJVMCreated)(QV_THIS_ int32_t* created) QV_PURE;
/* 55 */ /** java.class.path of a created JVM, the service's own class path in a joined one; a new text of the caller.
          */
QV_METHOD(int32_t, GetClassPath)(QV_THIS_ IQvString** text) QV_PURE;
/* 56 */ /** java.version of a created JVM, a new text of the caller; E_FAIL in a joined one. */
QV_METHOD(int32_t, GetJavaVersion)(QV_THIS_ IQvString** text) QV_PURE;

/* -- the object's own -- */

/* 57 */ /** Destroys the object; bit 0 of the flag also frees its memory. Hosts use Release. */
QV_METHOD(void*, Destroy)(QV_THIS_ uint32_t deleteFlag) QV_PURE;
/* 58 */ /** Clears a pending Java exception; a null environment is allowed. */
QV_METHOD(void, ExceptionClear)(QV_THIS_ qv_jnienv env) QV_PURE;
/* 59 */ /** 1 when a record was made (which may still be null without memory), 0 when no exception was pending. */
QV_METHOD(int32_t, CaptureException)(QV_THIS_ ErrorRecord** record, qv_jnienv env) QV_PURE;
#if !QV_CPP_VIEW
/* 60 */ /** The calling thread's JNIEnv*, or null with the reason in the error record; attaches on first use. */
QV_METHOD(qv_jnienv, AcquireThreadEnv)(QV_THIS) QV_PURE;
#endif
QV_TABLE_END(IQV_JavaVM)
#undef QV_SELF

/** Every service object has one more operation behind those of IQV_JavaVM. */
#define QV_SLOT_ACQUIRE_THREAD_ENV 60
#define QV_SLOT_COUNT 61

#if QV_CPP_VIEW
/** Slot 60: the calling thread's JNIEnv*, or null with the reason in the object's error record. */
inline qv_jnienv QV_AcquireThreadEnv(IQV_JavaVM* vm) noexcept {
  using Operation = qv_jnienv (*)(IQV_JavaVM*);
  return (*reinterpret_cast<Operation* const*>(vm))[QV_SLOT_ACQUIRE_THREAD_ENV](vm);
}
#endif

/* ---- exports ---- */

/** Starts or joins the process's JVM and hands out a new service object with reference count 1.
 *  @param javaVM     out; on failure left as it was, but null with E_OUTOFMEMORY.
 *  @param classPath  an extra class path for the JVM, or null; only the call that creates the JVM can use it.
 *  @return 0; 8 when the JVM had been created before and `classPath` came too late; E_INVALIDARG; E_FAIL;
 *          E_OUTOFMEMORY. A failed start is tried again by the next call.
 *  Threads: any; the start-up runs once, under a lock. Not from a DllMain. */
int32_t QV_CreateJavaVM(IQV_JavaVM** javaVM, const wchar_t* classPath) QV_NOEXCEPT;
/** 0 silences the JVM output log, anything else opens it again (the default). Before or after QV_CreateJavaVM. */
void QV_SetJavaVMDebugMode(uint8_t enabled) QV_NOEXCEPT;
int32_t DllRegisterServer(void) QV_NOEXCEPT;
int32_t DllUnregisterServer(void) QV_NOEXCEPT;

/* For GetProcAddress. */
typedef int32_t (*QV_CreateJavaVMFn)(IQV_JavaVM** javaVM, const wchar_t* classPath);
typedef void (*QV_SetJavaVMDebugModeFn)(uint8_t enabled);

#if defined(__cplusplus)
}
#endif

#undef QV_TABLE_BEGIN
#undef QV_TABLE_END
#undef QV_METHOD
#undef QV_THIS
#undef QV_THIS_
#undef QV_PURE
#undef QV_IIDREF

#endif
