/** @file
 * Java that calls the host, in plain functions for C (C99 and later) and C++: Java interfaces that the host's functions
 * implement, and native methods. It needs qvjvm.h and no JDK.
 *
 * One source file of the host (each EXE or DLL that uses this has one) defines QVJVM_CALLBACKS_IMPLEMENTATION before it
 * includes this header, and gets the functions; that file includes windows.h too. C++ hosts have more comfort in
 * callbacks.hpp.
 *
 * @code
 * static int32_t Compare(qv_call* call) {
 *   const settings* my = call->context;
 *   call->result.i = my->order(call->arguments[0].l, call->arguments[1].l);
 *   return QV_S_OK;
 * }
 * static const char* const kInterfaces[] = {"java/util/Comparator"};
 * static const qv_function kFunctions[] = {{NULL, "(Ljava/lang/Object;Ljava/lang/Object;)I", Compare}};
 * static const qv_implementation kComparator = {kInterfaces, 1, kFunctions, 1, free, NULL};
 *
 * qv_jobject comparator = NULL;
 * IQvString* why = NULL;
 * if (qv_implement(vm, &kComparator, my, &comparator, &why) < 0) ...
 * @endcode
 *
 * Errors: a negative status is a failure. Where a function has an out-pointer for the reason, it gives a new text of
 * the caller there, of any length, which Release gives back; null on success, for a null service object, and without
 * memory. The pointer itself may be null. The service object's own error record stays as it is. A Java exception that
 * is pending when one of these functions is called stays pending, and none else does but qv_raise's. Threads: every
 * function may run on any thread, which is joined to the JVM at its first use.
 */
#ifndef QVJVM_CALLBACKS_H
#define QVJVM_CALLBACKS_H

#include "qvjvm/qvjvm.h"

#if defined(__cplusplus)
extern "C" {
#endif

/** The time is over, and what was waited for has not happened. */
#define QV_E_TIMEOUT ((int32_t)0x800705B4)

/** A Java value, by its letter in signatures: JNI's jvalue. */
typedef union qv_value {
  uint8_t z;    /**< boolean: 0 or 1 */
  int8_t b;     /**< byte */
  uint16_t c;   /**< char */
  int16_t s;    /**< short */
  int32_t i;    /**< int */
  int64_t j;    /**< long */
  float f;      /**< float */
  double d;     /**< double */
  qv_jobject l; /**< an object or an array, or null */
} qv_value;

/** A call of a host's function by Java. It, and every local reference in it, ends with the call. */
typedef struct qv_call {
  IQV_JavaVM* vm;            /**< the service object that qv_implement got; other calls use it at the same time, and its
                                  error record is one for all */
  qv_jnienv env;             /**< the calling thread's JNIEnv* */
  void* context;             /**< what qv_implement got */
  const qv_value* arguments; /**< as the function's signature has them */
  int32_t count;             /**< of the arguments */
  qv_value result;           /**< for the function to set, in the member of its signature's result; 0 and null before. A
                                  reference of any kind, which stays its owner's */
} qv_call;

/** A function of the host that Java calls: on whatever thread Java likes, on several at once, and within a call again.
 *  It may do what any code of the host may, but nothing may leave it by an exception of C++, longjmp or the end of its
 *  thread.
 *  @return QV_S_OK; or a negative status, which Java gets as an exception: one that is pending (see qv_raise), whatever
 * it is, else an unchecked one that tells the status. Java's own code turns a checked exception that its method does
 * not declare into an UndeclaredThrowableException. */
typedef int32_t (*qv_callback)(qv_call* call);

/** Which method a function implements. Where Java's method has a class and the signature a primitive type, the value
 *  comes out of its box and goes into one; where the signature has a narrower class, Java checks the arguments. */
typedef struct qv_function {
  const char* name;      /**< of the method; null for the one method that has to be implemented */
  const char* signature; /**< JNI's, "(ILjava/lang/String;)Z"; among overloads it chooses */
  qv_callback call;      /**< what Java calls */
} qv_function;

/** Called once, when an object's functions will not be called any more: gives the context back. It must not wait for
 *  long. An exception that it leaves pending is cleared. */
typedef void (*qv_end)(void* context);

/** How the host implements Java interfaces. Nothing of it is kept beyond the call that gets it, but the functions. */
typedef struct qv_implementation {
  const char* const* interfaces; /**< their names, "java/util/Comparator" */
  int32_t interfaceCount;        /**< at least 1 */
  const qv_function* functions;  /**< for methods of the interfaces, and of Object */
  int32_t functionCount;         /**< at least 1 */
  qv_end end;                    /**< or null */
  qv_jobject loader; /**< the class loader that is asked for all classes; null: they are found as slot FindClass
                          finds them */
} qv_implementation;

/** Makes a Java object whose methods are functions of the host. Default methods that have no function run as they are;
 * so do equals, hashCode and toString, by identity.
 *  @param vm       a service object, of which it takes a count.
 *  @param what     its interfaces and functions.
 *  @param context  for the functions. It belongs to the object from here on, whatever comes of it: `end` is called once
 *                  for it, when Java has forgotten the object (on a thread of Java's), when it was revoked and the last
 *                  call has left, or, when there is no object, before this function returns. With null for `what`
 * nothing is called.
 *  @param object   out: a local reference of the caller; null on failure.
 *  @param why      out: the reason of a failure, or null.
 *  @return QV_S_OK; QV_E_INVALIDARG for null, no interface, no function, a malformed signature, and when a method is
 * not there, has no function or other types, in Java's words for it; QV_E_OUTOFMEMORY; QV_E_FAIL with the text of a
 *          Java exception, for a class that is not there, and while qv_close_callbacks runs. */
int32_t qv_implement(IQV_JavaVM* vm, const qv_implementation* what, void* context, qv_jobject* object,
                     IQvString** why) QV_NOEXCEPT;

/** A reference with which any thread can revoke an object and wait for it, at any time: unlike the object itself it
 * does not keep it from being forgotten.
 *  @param vm      a service object.
 *  @param object  of this module's, from qv_implement.
 *  @param handle  out: a global reference of the caller, for DeleteGlobalRef; null on failure.
 *  @return QV_S_OK; QV_E_INVALIDARG for null and any other object; QV_E_OUTOFMEMORY; QV_E_FAIL. */
int32_t qv_get_handle(IQV_JavaVM* vm, qv_jobject object, qv_jobject* handle) QV_NOEXCEPT;

/** Takes an object back: later calls of it are an IllegalStateException in Java. `end` is called here, or on the thread
 *  of the last call that is still inside, when that leaves. Once is enough; waits for nothing.
 *  @param vm      a service object.
 *  @param object  the object, or its handle.
 *  @return QV_S_OK; QV_E_INVALIDARG for null and what is no object of this module's since qv_close_callbacks last
 *          succeeded; QV_E_FAIL. */
int32_t qv_revoke(IQV_JavaVM* vm, qv_jobject object) QV_NOEXCEPT;

/** Waits until an object that was revoked has ended: no call is inside, and `end` has returned. The caller must hold no
 *  lock that a function waits for.
 *  @param vm            a service object.
 *  @param object        the object, or its handle.
 *  @param milliseconds  how long at most; 0 only asks.
 *  @return QV_S_OK; QV_E_TIMEOUT, for one of the object's own functions always; the others as qv_revoke. */
int32_t qv_wait(IQV_JavaVM* vm, qv_jobject object, uint32_t milliseconds) QV_NOEXCEPT;

/** Takes back all objects that this module has given to Java, and waits until no call and no thread is in its code:
 * what a DLL does before it is unloaded. Objects that are made meanwhile are refused; afterwards new ones may be made.
 * Native methods are not among them. Never from DllMain, and needless at process end, where Java's threads may call
 * until the end.
 *  @return QV_S_OK, also when there was nothing; QV_E_TIMEOUT when a call or a thread is still inside, as it always is
 * for one of the module's own functions: objects stay refused until a later call succeeds; QV_E_INVALIDARG for null;
 *          QV_E_FAIL. */
int32_t qv_close_callbacks(IQV_JavaVM* vm, uint32_t milliseconds) QV_NOEXCEPT;

/** Raises an unchecked exception with that text in Java on the calling thread, where it stays pending: the last thing
 * that a function or a native method does. One that is pending already stays.
 *  @param vm      a service object.
 *  @param status  negative, what the function is going to return: `return qv_raise(call->vm, QV_E_FAIL, L"no disk");`
 *  @param text    UTF-16 up to its null, or null for a text that tells the status.
 *  @return the status; QV_E_FAIL for one that is not negative. */
int32_t qv_raise(IQV_JavaVM* vm, int32_t status, const wchar_t* text) QV_NOEXCEPT;

/** A native method of a Java class and its function: `JNIEnv*`, the object or the class, the arguments, all in JNI's
 *  types. JNI has no calling convention of its own on x64. */
typedef struct qv_native {
  const char* name;       /**< of the method */
  const char* signature;  /**< JNI's */
  void (*function)(void); /**< cast to this type */
} qv_native;

/** Binds native methods of a class to functions, until they are bound again or qv_unregister_natives. Java keeps the
 *  addresses as long as it keeps the class.
 *  @param vm       a service object.
 *  @param cls      the class; not kept.
 *  @param natives  of the class; the texts are not kept.
 *  @param count    of them.
 *  @param why      out: the reason of a failure, or null.
 *  @return QV_S_OK; QV_E_INVALIDARG for null and no method; QV_E_FAIL with Java's text when the class has no such
 * native method: those before it are bound then. */
int32_t qv_register_natives(IQV_JavaVM* vm, qv_jclass cls, const qv_native* natives, int32_t count,
                            IQvString** why) QV_NOEXCEPT;

/** Takes all native methods of a class back: later calls are an UnsatisfiedLinkError in Java. Waits for no call: a DLL
 *  that will be unloaded has to see itself that none is inside.
 *  @return QV_S_OK; QV_E_INVALIDARG for null; QV_E_FAIL. */
int32_t qv_unregister_natives(IQV_JavaVM* vm, qv_jclass cls) QV_NOEXCEPT;

#if defined(__cplusplus)
}
#endif

#endif

#if defined(QVJVM_CALLBACKS_IMPLEMENTATION)
#include "qvjvm/client/host_functions.h"
#endif
